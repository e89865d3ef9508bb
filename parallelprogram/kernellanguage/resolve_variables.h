// Declarations of variables and of arrays in group memory.
#pragma once

#include "parallelprogram/kernellanguage/resolve_conversions.h"
#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_lists.h"
#include "parallelprogram/kernellanguage/resolve_types.h"

namespace ostra::kernellanguage {

class ResolveVariables : ResolvePart {
 public:
  struct Uses {
    ResolveNames& names;
    ResolveConstants& constants;
    ResolveTypes& types;
    ResolveConversions& conversions;
    ResolveExpressions& expressions;
    ResolveLists& lists;
  };

  ResolveVariables(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  void ReadDeclaration(NodeIndex statement);
  void ReadSharedArray(NodeIndex node);

 private:
  Bool HasParentheses(NodeIndex size) const;
  void ReadVariable(NodeIndex variable);
  void ReadValue(NodeIndex variable, TypeIndex type, NodeIndex value);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
