// AtomicAdd(place, value, old) and its relatives.
#pragma once

#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_parameter_words.h"
#include "parallelprogram/kernellanguage/resolve_places.h"

namespace ostra::kernellanguage {

class ResolveAtomicCalls : ResolvePart {
 public:
  struct Uses {
    const ResolveNames& names;
    ResolvePlaces& places;
    ResolveExpressions& expressions;
    ResolveParameterWords& parameterWords;
  };

  ResolveAtomicCalls(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  TypeIndex Call(NodeIndex node, WordId word);

 private:
  // The type of what is changed; kUnknownType with a message.
  TypeIndex ReadPlace(NodeIndex place);
  TypeIndex ReadCounter(NodeIndex place);
  // Whether the values have the type of the last one, which gets what was there before.
  Bool CheckValues(std::span<const NodeIndex> values, const TypeList& types);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
