// Calls of words that have overloads: max(a, b), dot(u, v), groupReduceAdd(x).
#pragma once

#include "parallelprogram/kernellanguage/resolve_conversions.h"
#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_group_calls.h"
#include "parallelprogram/kernellanguage/resolve_places.h"

namespace ostra::kernellanguage {

class ResolveWordCalls : ResolvePart {
 public:
  struct Uses {
    ResolveConversions& conversions;
    ResolvePlaces& places;
    ResolveGroupCalls& groupCalls;
    ResolveExpressions& expressions;
  };

  ResolveWordCalls(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  TypeIndex Call(NodeIndex node, WordId word);

 private:
  using Overloads = std::span<const Overload>;

  // min, max, clamp, abs and sign of 64-bit integers.
  TypeIndex CallOfLongs(NodeIndex node, WordId word, const TypeList& types);
  Bool CheckWidths(NodeIndex node, Overloads overloads, const TypeList& types);
  // The number of the overload; nothing with a message. `isPlain`: C++ takes it, too, and cuts nothing.
  std::optional<std::size_t> ChooseOverload(NodeIndex node, WordId word, Overloads overloads, const TypeList& types,
                                            Bool& isPlain);
  Bool ConvertArguments(NodeIndex node, const Overload& overload);
  TypeIndex FailOverload(NodeIndex node, Overloads overloads, const TypeList& types);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
