#include "parallelprogram/kernellanguage/resolve_matrices.h"

namespace ostra::kernellanguage {

TypeIndex ResolveMatrices::Compute(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Operation operation = OperationOf(node);
  const Bool isSum = operation == Operation::kAdd || operation == Operation::kSubtract;
  if (isSum && left == right && Get(left).kind == TypeKind::kMatrix) {
    Extend(node);
    return _resolved.computed[node] = left;
  }
  if (operation != Operation::kMultiply && operation != Operation::kDivide) return kUnknownType;
  const TypeIndex scaled = Scale(node, left, right);
  if (scaled != kUnknownType || operation == Operation::kDivide) return scaled;
  return Multiply(node, left, right);
}

// A matrix and a number, which meets every component.
TypeIndex ResolveMatrices::Scale(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Bool isLeft = Get(left).kind == TypeKind::kMatrix && IsScalar(right);
  const Bool isRight =
      OperationOf(node) == Operation::kMultiply && IsScalar(left) && Get(right).kind == TypeKind::kMatrix;
  if (!isLeft && !isRight) return kUnknownType;
  Extend(node);
  SetConverted(Child(node, isLeft ? 1 : 0), kFloatType);
  return _resolved.computed[node] = isLeft ? left : right;
}

TypeIndex ResolveMatrices::Multiply(NodeIndex node, TypeIndex left, TypeIndex right) {
  const auto toFloats = [this](TypeIndex type) {
    return IsVector(type) ? GetVectorType(Scalar::kFloat32, Get(type).count) : type;
  };
  const auto overloads = GetOverloads(WordId::kMul);
  for (std::size_t i = 0; i < overloads.size(); ++i) {
    const Overload& overload = overloads[i];
    if (overload.parameters[0] != toFloats(left) || overload.parameters[1] != toFloats(right)) continue;
    Extend(node);
    SetConverted(Child(node, 0), overload.parameters[0]);
    SetConverted(Child(node, 1), overload.parameters[1]);
    SetWord(node, WordId::kMul, i);
    return overload.result;
  }
  return kUnknownType;
}

}  // namespace ostra::kernellanguage
