// Operators that change nothing: of one and two operands, and ?:.
#pragma once

#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_matrices.h"

namespace ostra::kernellanguage {

class ResolveOperators : ResolvePart {
 public:
  ResolveOperators(const ResolveBasis& basis, ResolveExpressions& expressions, ResolveMatrices& matrices)
      : ResolvePart(basis), _expressions(expressions), _matrices(matrices) {}

  TypeIndex Unary(NodeIndex node);
  TypeIndex Binary(NodeIndex node);
  TypeIndex Conditional(NodeIndex node);
  // Says that a kBinary or kAssign is none for these types. kUnknownType.
  TypeIndex FailOperation(NodeIndex node, TypeIndex left, TypeIndex right, std::string_view hint = {});

 private:
  TypeIndex Not(NodeIndex node, TypeIndex type);
  TypeIndex SignOfVector(NodeIndex node, TypeIndex type);
  TypeIndex Logical(NodeIndex node);
  TypeIndex BinaryOfScalars(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex BinaryOfVectors(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex CompareVectors(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex ConvertOperands(NodeIndex node, Scalar scalar, UInt32 count);
  TypeIndex ChooseOfVectors(NodeIndex node, TypeIndex a, TypeIndex b);
  TypeIndex GetCommonVector(TypeIndex left, TypeIndex right) const;
  TypeIndex SetComputed(NodeIndex node, TypeIndex computed) { return SetComputed(node, computed, computed); }
  TypeIndex SetComputed(NodeIndex node, TypeIndex computed, TypeIndex result) {
    _resolved.computed[node] = computed;
    return result;
  }

  ResolveExpressions& _expressions;
  ResolveMatrices& _matrices;
};

}  // namespace ostra::kernellanguage
