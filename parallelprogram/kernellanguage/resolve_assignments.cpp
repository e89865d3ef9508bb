#include "parallelprogram/kernellanguage/resolve_assignments.h"

#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

TypeIndex ResolveAssignments::Step(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const std::string_view sign = GetSpelling(OperationOf(node));
  const TypeIndex type = _uses.expressions.Expression(operand);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  const Type& kind = Get(type);
  if (!_uses.places.CheckPlace(operand, Join({"\"", sign, "\""}))) return kUnknownType;
  if ((IsScalar(type) || IsVector(type)) && kind.scalar == Scalar::kHalf) {
    Extend(node);
    _resolved.computed[node] = GetVectorType(Scalar::kFloat32, kind.count);
  } else if (kind.kind == TypeKind::kVector && kind.scalar != Scalar::kBool) {
    _resolved.computed[node] = type;
  } else if (kind.kind == TypeKind::kScalar && kind.scalar != Scalar::kBool) {
    _resolved.computed[node] = GetScalarType(Promote(kind.scalar));
  } else if (kind.scalar == Scalar::kBool && (IsScalar(type) || IsVector(type))) {
    return Fail(node, Join({"there is no \"", sign, "\" for a ", TypeName(type)}));
  } else {
    return Stop(node, Join({"\"", sign, "\" of a ", TypeName(type)}));
  }
  if (_tree.Is(node, NodeKind::kUnary)) _resolved.isPlace[node] = true;
  return type;
}

TypeIndex ResolveAssignments::Assign(NodeIndex node) {
  const NodeIndex target = Child(node, 0), valueNode = Child(node, 1);
  const TypeIndex type = _uses.expressions.Expression(target);
  const TypeIndex value = _uses.expressions.Expression(valueNode);
  if (type == kUnknownType || value == kUnknownType || IsStopped()) return kUnknownType;
  if (Get(type).kind == TypeKind::kBuffer)
    return Fail(target, Join({"an element of the buffer is missing: UNIFORM_BUFFER(", NameOf(target), ")[index]"}));
  if (Get(type).kind == TypeKind::kArray) return Fail(target, "an array cannot be assigned as a whole");
  if (!_uses.places.CheckPlace(target, "an assignment")) return kUnknownType;
  if (OperationOf(node) == Operation::kNone)
    _uses.conversions.Convert(valueNode, type, "what is assigned to");
  else
    Compute(node, type, value);
  _resolved.isPlace[node] = true;
  return type;
}

// += and its relatives.
void ResolveAssignments::Compute(NodeIndex node, TypeIndex target, TypeIndex value) {
  if (IsScalar(target) && IsScalar(value)) return ComputeScalars(node, target, value);
  if (IsMatrix(target) || IsMatrix(value)) {
    if (_uses.matrices.Compute(node, target, value) != target) _uses.operators.FailOperation(node, target, value);
    return;
  }
  if (IsVector(target)) return ComputeVectors(node, target, value);
  _uses.operators.FailOperation(node, target, value);
}

void ResolveAssignments::ComputeScalars(NodeIndex node, TypeIndex target, TypeIndex value) {
  const Operation operation = OperationOf(node);
  const Scalar a = Get(target).scalar, b = Get(value).scalar;
  if (a == Scalar::kBool) {
    Stop(node, "arithmetic with a bool as its target");
    return;
  }
  if (IsOfIntegers(operation) && (IsFloating(a) || IsFloating(b))) {
    Fail(node, Join({"\"", GetSpelling(operation), "=\" needs whole numbers, not ", TypeName(target), " and ",
                     TypeName(value)}));
    return;
  }
  const TypeIndex computed = GetScalarType(IsShift(operation) ? Promote(a) : GetCommonScalar(a, b));
  if (a == Scalar::kHalf) Extend(node);
  _resolved.computed[node] = computed;
  SetConverted(Child(node, 1), IsShift(operation) ? GetScalarType(Promote(b)) : computed);
}

// The target is a vector, the value is no matrix.
void ResolveAssignments::ComputeVectors(NodeIndex node, TypeIndex target, TypeIndex value) {
  const Type &a = Get(target), &b = Get(value);
  const NodeIndex valueNode = Child(node, 1);
  if (a.scalar == Scalar::kBool || (IsOfIntegers(OperationOf(node)) && IsFloating(a.scalar))) {
    Stop(node, "this operation of vectors");
    return;
  }
  const Bool isWide = a.scalar == Scalar::kHalf && b.scalar == Scalar::kFloat64;
  if ((IsVector(value) ? b.count != a.count : !IsScalar(value)) || isWide) {
    _uses.operators.FailOperation(node, target, value);
    return;
  }
  if (a.scalar == Scalar::kHalf) {
    Extend(node);
    _resolved.computed[node] = GetVectorType(Scalar::kFloat32, a.count);
    SetConverted(valueNode, GetVectorType(Scalar::kFloat32, b.count));
    return;
  }
  if (IsVector(value) && b.scalar == Scalar::kHalf) Extend(node);
  // Vectors convert the other operand to their own component before they compute.
  _resolved.computed[node] = target;
  SetConverted(valueNode, IsVector(value) ? target : GetScalarType(a.scalar));
}

}  // namespace ostra::kernellanguage
