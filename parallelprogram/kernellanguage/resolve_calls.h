// Calls: which of the things that can be called a name stands for, and words that are like no other.
#pragma once

#include "parallelprogram/kernellanguage/resolve_atomic_calls.h"
#include "parallelprogram/kernellanguage/resolve_function_calls.h"
#include "parallelprogram/kernellanguage/resolve_texture_calls.h"
#include "parallelprogram/kernellanguage/resolve_word_calls.h"

namespace ostra::kernellanguage {

class ResolveCalls : ResolvePart {
 public:
  struct Uses {
    const ResolveNames& names;
    ResolveUnknownNames& unknownNames;
    ResolveConversions& conversions;
    ResolveExpressions& expressions;
    ResolveFunctionCalls& functionCalls;
    ResolveWordCalls& wordCalls;
    ResolveTextureCalls& textureCalls;
    ResolveAtomicCalls& atomicCalls;
  };

  ResolveCalls(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  TypeIndex Call(NodeIndex node);

 private:
  TypeIndex CallWord(NodeIndex node, const Word& word);
  TypeIndex LinearInvocation(NodeIndex node);
  TypeIndex SampleGradient(NodeIndex node);
  TypeIndex RenderNoise(NodeIndex node);
  // Whether the file declares a function by this name below, before which the word of the language must not step in.
  Bool IsDeclaredLater(std::string_view name) const;

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
