// Types of expressions, and of what all expressions are made of: literals and names. Other parts know the other kinds.
#pragma once

#include "parallelprogram/kernellanguage/resolve_unknown_names.h"

namespace ostra::kernellanguage {

class ResolveAssignments;
class ResolveCalls;
class ResolveConstruction;
class ResolveMembers;
class ResolveOperators;
class ResolveParameterWords;

class ResolveExpressions : ResolvePart {
 public:
  struct Uses {
    const ResolveNames& names;
    ResolveUnknownNames& unknownNames;
    ResolveParameterWords& parameterWords;
    ResolveMembers& members;
    ResolveOperators& operators;
    ResolveAssignments& assignments;
    ResolveConstruction& construction;
    ResolveCalls& calls;
  };

  ResolveExpressions(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  // Finds the type of an expression and all below it, and notes it.
  TypeIndex Expression(NodeIndex node);
  // Those of several; `isKnown`: of all, and reading goes on.
  TypeList ReadArguments(std::span<const NodeIndex> arguments, Bool& isKnown);
  // Of a statement or of "?:".
  void Condition(NodeIndex expression);

 private:
  TypeIndex ExpressionItself(NodeIndex node);
  TypeIndex Literal(NodeIndex node);
  TypeIndex Name(NodeIndex node);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
