// Operators that change their operand: = and its relatives, ++ and --.
#pragma once

#include "parallelprogram/kernellanguage/resolve_conversions.h"
#include "parallelprogram/kernellanguage/resolve_operators.h"
#include "parallelprogram/kernellanguage/resolve_places.h"

namespace ostra::kernellanguage {

class ResolveAssignments : ResolvePart {
 public:
  struct Uses {
    ResolveConversions& conversions;
    ResolvePlaces& places;
    ResolveExpressions& expressions;
    ResolveOperators& operators;
    ResolveMatrices& matrices;
  };

  ResolveAssignments(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  TypeIndex Assign(NodeIndex node);
  TypeIndex Step(NodeIndex node);  // ++ and --, before and after

 private:
  void Compute(NodeIndex node, TypeIndex target, TypeIndex value);
  void ComputeScalars(NodeIndex node, TypeIndex target, TypeIndex value);
  void ComputeVectors(NodeIndex node, TypeIndex target, TypeIndex value);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
