// SampleTexture(image, position) and its relatives.
#pragma once

#include "parallelprogram/kernellanguage/resolve_conversions.h"
#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_parameter_words.h"

namespace ostra::kernellanguage {

class ResolveTextureCalls : ResolvePart {
 public:
  struct Uses {
    const ResolveNames& names;
    ResolveConversions& conversions;
    ResolveExpressions& expressions;
    ResolveParameterWords& parameterWords;
  };

  ResolveTextureCalls(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  TypeIndex Call(NodeIndex node, WordId word);

 private:
  // The parameter that is the first argument; kNoNode with a message.
  NodeIndex ReadTexture(NodeIndex node, WordId word);
  Bool ReadCoordinates(NodeIndex node, const Type& texture, Bool isSample);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
