// Parts of values: v.x, v.zyx, m.v1, s.field, a[i].
#pragma once

#include "parallelprogram/kernellanguage/resolve_expressions.h"

namespace ostra::kernellanguage {

class ResolveMembers : ResolvePart {
 public:
  ResolveMembers(const ResolveBasis& basis, ResolveExpressions& expressions)
      : ResolvePart(basis), _expressions(expressions) {}

  TypeIndex MemberOf(NodeIndex node);
  TypeIndex Index(NodeIndex node);

 private:
  TypeIndex ComponentOf(NodeIndex node, TypeIndex vector);
  TypeIndex ColumnOf(NodeIndex node, TypeIndex matrix);
  TypeIndex StructMemberOf(NodeIndex node, TypeIndex type);
  // Of a vector or matrix, which take an int.
  TypeIndex IndexComponents(NodeIndex node, TypeIndex result);
  TypeIndex FailIndex(NodeIndex index, TypeIndex operand);

  ResolveExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
