#include "parallelprogram/kernellanguage/resolve_operators.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

TypeIndex ResolveOperators::Unary(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const Operation operation = OperationOf(node);
  const TypeIndex type = _expressions.Expression(operand);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  const Type& kind = Get(type);
  if (operation == Operation::kNot) return Not(node, type);
  const Bool isComplement = operation == Operation::kComplement;
  if (kind.kind == TypeKind::kVector) return SignOfVector(node, type);
  if (kind.kind == TypeKind::kMatrix && !isComplement) {
    Extend(node);
    return type;
  }
  if (kind.kind != TypeKind::kScalar)
    return Fail(node, Join({"there is no \"", GetSpelling(operation), "\" for a ", TypeName(type)}));
  if (isComplement && IsFloating(kind.scalar))
    return Fail(node, Join({"\"~\" needs a whole number, not a ", TypeName(type)}));
  const TypeIndex result = GetScalarType(Promote(kind.scalar));
  SetConverted(operand, result);
  return result;
}

TypeIndex ResolveOperators::Not(NodeIndex node, TypeIndex type) {
  const NodeIndex operand = Child(node, 0);
  if (IsVector(type) && Get(type).scalar == Scalar::kBool) {
    Extend(node);
    return type;
  }
  if (!IsScalar(type)) return Fail(operand, Join({"\"!\" needs a bool or a number, not a ", TypeName(type)}));
  SetConverted(operand, kBoolType);
  return kBoolType;
}

TypeIndex ResolveOperators::SignOfVector(NodeIndex node, TypeIndex type) {
  const Operation operation = OperationOf(node);
  const Type& kind = Get(type);
  if (kind.scalar == Scalar::kBool || (operation == Operation::kComplement && IsFloating(kind.scalar)))
    return Stop(node, Join({"\"", GetSpelling(operation), "\" of a ", TypeName(type)}));
  if (kind.scalar != Scalar::kHalf) return type;
  // Halves are computed as floats.
  Extend(node);
  const TypeIndex result = GetVectorType(Scalar::kFloat32, kind.count);
  SetConverted(Child(node, 0), result);
  return result;
}

TypeIndex ResolveOperators::Binary(NodeIndex node) {
  const NodeIndex leftNode = Child(node, 0), rightNode = Child(node, 1);
  const TypeIndex left = _expressions.Expression(leftNode), right = _expressions.Expression(rightNode);
  if (left == kUnknownType || right == kUnknownType || IsStopped()) return kUnknownType;
  const Operation operation = OperationOf(node);
  if (IsLogical(operation)) return Logical(node);
  if (IsScalar(left) && IsScalar(right)) return BinaryOfScalars(node, left, right);
  if (IsMatrix(left) || IsMatrix(right)) {
    const TypeIndex result = _matrices.Compute(node, left, right);
    if (result != kUnknownType) return result;
  } else if (IsVector(left) || IsVector(right)) {
    return BinaryOfVectors(node, left, right);
  }
  if (IsEquality(operation) && left == right) return Stop(node, Join({"a comparison of ", TypeName(left)}));
  return FailOperation(node, left, right);
}

TypeIndex ResolveOperators::Logical(NodeIndex node) {
  for (const NodeIndex operand : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.type[operand];
    if (IsVector(type)) return Stop(node, "a logical operation of vectors");
    if (!IsScalar(type)) {
      return Fail(operand,
                  Join({"\"", GetSpelling(OperationOf(node)), "\" needs bools or numbers, not a ", TypeName(type)}));
    }
    SetConverted(operand, kBoolType);
  }
  return SetComputed(node, kBoolType);
}

TypeIndex ResolveOperators::FailOperation(NodeIndex node, TypeIndex left, TypeIndex right, std::string_view hint) {
  const std::string_view sign = GetSpelling(OperationOf(node));
  const std::string_view end = _tree.Is(node, NodeKind::kAssign) ? "=" : "";
  return Fail(node, Join({"there is no \"", sign, end, "\" for ", TypeName(left), " and ", TypeName(right), hint}));
}

TypeIndex ResolveOperators::BinaryOfScalars(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Operation operation = OperationOf(node);
  const NodeIndex leftNode = Child(node, 0), rightNode = Child(node, 1);
  const Scalar a = Get(left).scalar, b = Get(right).scalar;
  if (IsOfIntegers(operation) && (IsFloating(a) || IsFloating(b))) {
    const std::string_view hint = operation == Operation::kRemainder ? "; mod(x, y) is that of floats" : "";
    return Fail(node, Join({"\"", GetSpelling(operation), "\" needs whole numbers, not ", TypeName(left), " and ",
                            TypeName(right), hint}));
  }
  if (IsShift(operation)) {
    const TypeIndex result = GetScalarType(Promote(a));
    SetConverted(leftNode, result);
    SetConverted(rightNode, GetScalarType(Promote(b)));
    return _resolved.computed[node] = result;
  }
  const TypeIndex common = GetScalarType(GetCommonScalar(a, b));
  SetConverted(leftNode, common);
  SetConverted(rightNode, common);
  _resolved.computed[node] = common;
  return IsComparison(operation) ? kBoolType : common;
}

TypeIndex ResolveOperators::CompareVectors(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Type &a = Get(left), &b = Get(right);
  if (!IsEquality(OperationOf(node)))
    return FailOperation(node, left, right,
                         ": vectors are compared component by component, with lessThan(a, b) and its relatives");
  if (a.kind != b.kind || a.count != b.count) return Stop(node, "this comparison of vectors");
  if (left == right && a.scalar == Scalar::kBool) Extend(node);
  if (left == right && a.scalar != Scalar::kHalf) return SetComputed(node, left, kBoolType);
  return SetComputed(node, ConvertOperands(node, GetCommonScalar(a.scalar, b.scalar), a.count), kBoolType);
}

TypeIndex ResolveOperators::BinaryOfVectors(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Operation operation = OperationOf(node);
  if (IsComparison(operation)) return CompareVectors(node, left, right);
  const Type &a = Get(left), &b = Get(right);
  const Type& vector = IsVector(left) ? a : b;
  if (vector.scalar == Scalar::kBool) return Stop(node, "arithmetic of these vectors");
  const Bool areNumbers = (IsScalar(left) || IsVector(left)) && (IsScalar(right) || IsVector(right));
  if (!areNumbers || (a.kind == b.kind && a.count != b.count)) return FailOperation(node, left, right);
  const Bool isPlain = a.scalar == b.scalar && a.scalar != Scalar::kHalf;
  const Scalar common = isPlain              ? a.scalar
                        : IsShift(operation) ? Promote(a.scalar)
                                             : GetCommonScalar(a.scalar, b.scalar);
  if (IsOfIntegers(operation) && (IsFloating(a.scalar) || IsFloating(b.scalar)))
    return isPlain ? Stop(node, "this operation of vectors of floats") : FailOperation(node, left, right);
  if (!isPlain && GetSize(common) == 8)
    return FailOperation(node, left, right, Join({"; write ", GetName(vector.scalar), "( )"}));
  if (isPlain) return SetComputed(node, IsVector(left) ? left : right);
  return SetComputed(node, ConvertOperands(node, common, vector.count));
}

// Makes both operands, vectors or scalars, have the scalar; gives the vector of it with `count` components.
TypeIndex ResolveOperators::ConvertOperands(NodeIndex node, Scalar scalar, UInt32 count) {
  Extend(node);
  for (const NodeIndex operand : _tree.GetChildren(node))
    SetConverted(operand, GetVectorType(scalar, Get(_resolved.type[operand]).count));
  return GetVectorType(scalar, count);
}

// The vector that both become, one of which may be a number for all components; kUnknownType: there is none.
TypeIndex ResolveOperators::GetCommonVector(TypeIndex left, TypeIndex right) const {
  const Type &a = Get(left), &b = Get(right);
  const Bool isVectors = IsVector(left) && IsVector(right) && a.count == b.count;
  const Bool isMixed = (IsVector(left) && IsScalar(right)) || (IsScalar(left) && IsVector(right));
  const Bool hasBool = a.scalar == Scalar::kBool || b.scalar == Scalar::kBool;
  if ((!isVectors && !isMixed) || hasBool) return kUnknownType;
  return GetVectorType(GetCommonScalar(a.scalar, b.scalar), std::max(a.count, b.count));
}

// ?: of values that are not both numbers.
TypeIndex ResolveOperators::ChooseOfVectors(NodeIndex node, TypeIndex a, TypeIndex b) {
  if (const TypeIndex common = GetCommonVector(a, b); common != kUnknownType) {
    Extend(node);
    SetConverted(Child(node, 1), common);
    SetConverted(Child(node, 2), common);
    return common;
  }
  if (IsVector(a) && IsVector(b)) return Stop(node, "vectors of different types after \"?\"");
  return Fail(node, Join({"the values of \"?\" have different types: ", TypeName(a), " and ", TypeName(b)}));
}

TypeIndex ResolveOperators::Conditional(NodeIndex node) {
  _expressions.Condition(Child(node, 0));
  const NodeIndex first = Child(node, 1), second = Child(node, 2);
  const TypeIndex a = _expressions.Expression(first), b = _expressions.Expression(second);
  if (a == kUnknownType || b == kUnknownType || IsStopped()) return kUnknownType;
  if (a == b) {
    _resolved.isPlace[node] = false;
    return a == kVoidType || Get(a).kind == TypeKind::kArray ? Stop(node, "values of this type after \"?\"") : a;
  }
  if (!IsScalar(a) || !IsScalar(b)) return ChooseOfVectors(node, a, b);
  if ((a == kHalfType || b == kHalfType) && a != kFloatType && b != kFloatType)
    return Stop(node, "a half beside another number after \"?\"");
  const TypeIndex common = GetScalarType(GetCommonScalar(Get(a).scalar, Get(b).scalar));
  SetConverted(first, common);
  SetConverted(second, common);
  return common;
}

}  // namespace ostra::kernellanguage
