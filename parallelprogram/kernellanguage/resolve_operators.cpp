// Operators: of one and two operands, assignments, ++, -- and ?:.
#include <algorithm>

#include "parallelprogram/kernellanguage/conversions.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/resolver.h"

namespace ostra::kernellanguage {
namespace {

Bool IsComparison(Operation operation) { return operation >= Operation::kLess && operation <= Operation::kNotEqual; }
Bool IsShift(Operation operation) { return operation == Operation::kShiftLeft || operation == Operation::kShiftRight; }
Bool IsLogical(Operation operation) {
  return operation == Operation::kLogicalAnd || operation == Operation::kLogicalOr;
}
// Operators of whole numbers only.
Bool IsOfIntegers(Operation operation) {
  return operation == Operation::kRemainder || IsShift(operation) ||
         (operation >= Operation::kBitAnd && operation <= Operation::kBitXor);
}

}  // namespace

TypeIndex Resolver::Unary(NodeIndex node) {
  const NodeIndex operand = _tree.GetChild(node, 0);
  const Operation operation = _tree.nodes[node].operation;
  const TypeIndex type = Expression(operand);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  const std::string_view sign = GetSpelling(operation);
  const Type& kind = Get(type);
  if (operation == Operation::kNot) {
    if (IsVector(type) && kind.scalar == Scalar::kBool) {
      Extend(node);
      return type;
    }
    if (!IsScalar(type)) return Fail(operand, Join({"\"!\" needs a bool or a number, not a ", TypeName(type)}));
    SetConverted(operand, kBoolType);
    return kBoolType;
  }
  const Bool isComplement = operation == Operation::kComplement;
  if (kind.kind == TypeKind::kVector) {
    if (kind.scalar == Scalar::kBool || (isComplement && IsFloating(kind.scalar)))
      return Stop(node, Join({"\"", sign, "\" of a ", TypeName(type)}));
    if (kind.scalar != Scalar::kHalf) return type;
    // Halves are computed as floats.
    Extend(node);
    const TypeIndex result = GetVectorType(Scalar::kFloat32, kind.count);
    SetConverted(operand, result);
    return result;
  }
  if (kind.kind == TypeKind::kMatrix && !isComplement) {
    Extend(node);
    return type;
  }
  if (kind.kind != TypeKind::kScalar) {
    return Fail(node, Join({"there is no \"", sign, "\" for a ", TypeName(type)}));
  }
  if (isComplement && IsFloating(kind.scalar))
    return Fail(node, Join({"\"~\" needs a whole number, not a ", TypeName(type)}));
  const TypeIndex result = GetScalarType(Promote(kind.scalar));
  SetConverted(operand, result);
  return result;
}

// ++ and --, before and after.
TypeIndex Resolver::Step(NodeIndex node) {
  const NodeIndex operand = _tree.GetChild(node, 0);
  const std::string_view sign = GetSpelling(_tree.nodes[node].operation);
  const TypeIndex type = Expression(operand);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  const Type& kind = Get(type);
  if (!CheckPlace(operand, Join({"\"", sign, "\""}))) return kUnknownType;
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

TypeIndex Resolver::Binary(NodeIndex node) {
  const NodeIndex leftNode = _tree.GetChild(node, 0), rightNode = _tree.GetChild(node, 1);
  const TypeIndex left = Expression(leftNode), right = Expression(rightNode);
  if (left == kUnknownType || right == kUnknownType || IsStopped()) return kUnknownType;
  const Operation operation = _tree.nodes[node].operation;
  if (IsLogical(operation)) {
    for (const NodeIndex operand : {leftNode, rightNode}) {
      const TypeIndex type = _resolved.type[operand];
      if (IsVector(type)) return Stop(node, "a logical operation of vectors");
      if (!IsScalar(type))
        return Fail(operand, Join({"\"", GetSpelling(operation), "\" needs bools or numbers, not a ", TypeName(type)}));
      SetConverted(operand, kBoolType);
    }
    _resolved.computed[node] = kBoolType;
    return kBoolType;
  }
  if (IsScalar(left) && IsScalar(right)) return BinaryOfScalars(node, left, right);
  if (IsMatrix(left) || IsMatrix(right)) {
    const TypeIndex result = ComputeMatrices(node, left, right);
    if (result != kUnknownType) return result;
  } else if (IsVector(left) || IsVector(right)) {
    return BinaryOfVectors(node, left, right);
  }
  const Bool isEquality = operation == Operation::kEqual || operation == Operation::kNotEqual;
  if (isEquality && left == right) return Stop(node, Join({"a comparison of ", TypeName(left)}));
  return FailOperation(node, left, right);
}

TypeIndex Resolver::FailOperation(NodeIndex node, TypeIndex left, TypeIndex right, std::string_view hint) {
  const std::string_view sign = GetSpelling(_tree.nodes[node].operation);
  const std::string_view end = _tree.Is(node, NodeKind::kAssign) ? "=" : "";
  return Fail(node, Join({"there is no \"", sign, end, "\" for ", TypeName(left), " and ", TypeName(right), hint}));
}

TypeIndex Resolver::BinaryOfScalars(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Operation operation = _tree.nodes[node].operation;
  const NodeIndex leftNode = _tree.GetChild(node, 0), rightNode = _tree.GetChild(node, 1);
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

TypeIndex Resolver::BinaryOfVectors(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Operation operation = _tree.nodes[node].operation;
  const Type a = Get(left), b = Get(right);
  const auto isNumber = [](const Type& type) {
    return type.kind == TypeKind::kScalar || type.kind == TypeKind::kVector;
  };
  if (IsComparison(operation)) {
    const Bool isEquality = operation == Operation::kEqual || operation == Operation::kNotEqual;
    if (!isEquality)
      return FailOperation(node, left, right,
                           ": vectors are compared component by component, with lessThan(a, b) and its relatives");
    if (a.kind != b.kind || a.count != b.count) return Stop(node, "this comparison of vectors");
    if (left == right && a.scalar == Scalar::kBool) Extend(node);
    if (left == right && a.scalar != Scalar::kHalf) return SetComputed(node, left, kBoolType);
    return SetComputed(node, ConvertOperands(node, GetCommonScalar(a.scalar, b.scalar), a.count), kBoolType);
  }
  const Type& vector = a.kind == TypeKind::kVector ? a : b;
  if (vector.scalar == Scalar::kBool) return Stop(node, "arithmetic of these vectors");
  if (!isNumber(a) || !isNumber(b)) return FailOperation(node, left, right);
  if (a.kind == b.kind && a.count != b.count) return FailOperation(node, left, right);
  const Bool isPlain = a.scalar == b.scalar && a.scalar != Scalar::kHalf;
  const Scalar common = isPlain              ? a.scalar
                        : IsShift(operation) ? Promote(a.scalar)
                                             : GetCommonScalar(a.scalar, b.scalar);
  if (IsOfIntegers(operation) && (IsFloating(a.scalar) || IsFloating(b.scalar)))
    return isPlain ? Stop(node, "this operation of vectors of floats") : FailOperation(node, left, right);
  if (!isPlain && GetSize(common) == 8)
    return FailOperation(node, left, right, Join({"; write ", kernellanguage::GetName(vector.scalar), "( )"}));
  if (isPlain) return SetComputed(node, a.kind == TypeKind::kVector ? left : right);
  return SetComputed(node, ConvertOperands(node, common, vector.count));
}

// Makes both operands, vectors or scalars, have the scalar; gives the vector of it with `count` components.
TypeIndex Resolver::ConvertOperands(NodeIndex node, Scalar scalar, UInt32 count) {
  Extend(node);
  for (const NodeIndex operand : _tree.GetChildren(node))
    SetConverted(operand, GetVectorType(scalar, Get(_resolved.type[operand]).count));
  return GetVectorType(scalar, count);
}

// Linear algebra, for kBinary and kAssign; kUnknownType where there is none.
TypeIndex Resolver::ComputeMatrices(NodeIndex node, TypeIndex left, TypeIndex right) {
  const Operation operation = _tree.nodes[node].operation;
  const Bool isSum = operation == Operation::kAdd || operation == Operation::kSubtract;
  if (isSum && left == right && Get(left).kind == TypeKind::kMatrix) {
    Extend(node);
    return SetComputed(node, left);
  }
  if (operation == Operation::kMultiply || operation == Operation::kDivide) {
    const Bool isLeft = Get(left).kind == TypeKind::kMatrix && IsScalar(right);
    const Bool isRight = operation == Operation::kMultiply && IsScalar(left) && Get(right).kind == TypeKind::kMatrix;
    if (isLeft || isRight) {
      Extend(node);
      SetConverted(_tree.GetChild(node, isLeft ? 1 : 0), kFloatType);
      return SetComputed(node, isLeft ? left : right);
    }
  }
  return operation == Operation::kMultiply ? MultiplyMatrices(node, left, right) : kUnknownType;
}

TypeIndex Resolver::MultiplyMatrices(NodeIndex node, TypeIndex left, TypeIndex right) {
  const auto toFloats = [this](TypeIndex type) {
    return IsVector(type) ? GetVectorType(Scalar::kFloat32, Get(type).count) : type;
  };
  const auto overloads = GetOverloads(WordId::kMul);
  for (std::size_t i = 0; i < overloads.size(); ++i) {
    const Overload& overload = overloads[i];
    if (overload.parameters[0] != toFloats(left) || overload.parameters[1] != toFloats(right)) continue;
    Extend(node);
    SetConverted(_tree.GetChild(node, 0), overload.parameters[0]);
    SetConverted(_tree.GetChild(node, 1), overload.parameters[1]);
    _resolved.meaning[node] = {.kind = MeaningKind::kWord, .word = WordId::kMul, .overload = static_cast<UInt16>(i)};
    return overload.result;
  }
  return kUnknownType;
}

TypeIndex Resolver::Assign(NodeIndex node) {
  const NodeIndex target = _tree.GetChild(node, 0), valueNode = _tree.GetChild(node, 1);
  const TypeIndex type = Expression(target);
  const TypeIndex value = Expression(valueNode);
  if (type == kUnknownType || value == kUnknownType || IsStopped()) return kUnknownType;
  if (Get(type).kind == TypeKind::kBuffer)
    return Fail(target, Join({"an element of the buffer is missing: UNIFORM_BUFFER(", NameOf(target), ")[index]"}));
  if (Get(type).kind == TypeKind::kArray) return Fail(target, "an array cannot be assigned as a whole");
  if (!CheckPlace(target, "an assignment")) return kUnknownType;
  if (_tree.nodes[node].operation == Operation::kNone)
    Convert(valueNode, type, "what is assigned to");
  else
    AssignComputed(node, type, value);
  _resolved.isPlace[node] = true;
  return type;
}

// += and its relatives.
void Resolver::AssignComputed(NodeIndex node, TypeIndex target, TypeIndex value) {
  const Operation operation = _tree.nodes[node].operation;
  const NodeIndex valueNode = _tree.GetChild(node, 1);
  const Type a = Get(target), b = Get(value);
  const auto refuse = [&] { FailOperation(node, target, value); };
  if (a.kind == TypeKind::kScalar && b.kind == TypeKind::kScalar) {
    if (a.scalar == Scalar::kBool) {
      Stop(node, "arithmetic with a bool as its target");
      return;
    }
    if (IsOfIntegers(operation) && (IsFloating(a.scalar) || IsFloating(b.scalar))) {
      Fail(node, Join({"\"", GetSpelling(operation), "=\" needs whole numbers, not ", TypeName(target), " and ",
                       TypeName(value)}));
      return;
    }
    const TypeIndex computed =
        GetScalarType(IsShift(operation) ? Promote(a.scalar) : GetCommonScalar(a.scalar, b.scalar));
    if (a.scalar == Scalar::kHalf) Extend(node);
    _resolved.computed[node] = computed;
    SetConverted(valueNode, IsShift(operation) ? GetScalarType(Promote(b.scalar)) : computed);
    return;
  }
  if (IsMatrix(target) || IsMatrix(value)) {
    if (ComputeMatrices(node, target, value) != target) refuse();
    return;
  }
  if (a.kind != TypeKind::kVector) return refuse();
  if (a.scalar == Scalar::kBool || (IsOfIntegers(operation) && IsFloating(a.scalar))) {
    Stop(node, "this operation of vectors");
    return;
  }
  if (b.kind == TypeKind::kVector ? b.count != a.count : b.kind != TypeKind::kScalar) return refuse();
  if (a.scalar == Scalar::kHalf) {
    if (b.scalar == Scalar::kFloat64) return refuse();
    Extend(node);
    _resolved.computed[node] = GetVectorType(Scalar::kFloat32, a.count);
    SetConverted(valueNode, GetVectorType(Scalar::kFloat32, b.count));
    return;
  }
  if (b.kind == TypeKind::kVector && b.scalar == Scalar::kHalf) Extend(node);
  // Vectors convert the other operand to their own component before they compute.
  _resolved.computed[node] = target;
  SetConverted(valueNode, b.kind == TypeKind::kVector ? target : GetScalarType(a.scalar));
}

// The vector that both become, one of which may be a number for all components; kUnknownType: there is none.
TypeIndex Resolver::GetCommonVector(TypeIndex left, TypeIndex right) const {
  const Type &a = Get(left), &b = Get(right);
  const Bool isVectors = IsVector(left) && IsVector(right) && a.count == b.count;
  const Bool isMixed = (IsVector(left) && IsScalar(right)) || (IsScalar(left) && IsVector(right));
  const Bool hasBool = a.scalar == Scalar::kBool || b.scalar == Scalar::kBool;
  if ((!isVectors && !isMixed) || hasBool) return kUnknownType;
  return GetVectorType(GetCommonScalar(a.scalar, b.scalar), std::max(a.count, b.count));
}

TypeIndex Resolver::Conditional(NodeIndex node) {
  Condition(_tree.GetChild(node, 0));
  const NodeIndex first = _tree.GetChild(node, 1), second = _tree.GetChild(node, 2);
  const TypeIndex a = Expression(first), b = Expression(second);
  if (a == kUnknownType || b == kUnknownType || IsStopped()) return kUnknownType;
  if (a == b) {
    _resolved.isPlace[node] = false;
    return a == kVoidType || Get(a).kind == TypeKind::kArray ? Stop(node, "values of this type after \"?\"") : a;
  }
  if (!IsScalar(a) || !IsScalar(b)) {
    if (const TypeIndex common = GetCommonVector(a, b); common != kUnknownType) {
      Extend(node);
      SetConverted(first, common);
      SetConverted(second, common);
      return common;
    }
    if (IsVector(a) && IsVector(b)) return Stop(node, "vectors of different types after \"?\"");
    return Fail(node, Join({"the values of \"?\" have different types: ", TypeName(a), " and ", TypeName(b)}));
  }
  if (a == kHalfType || b == kHalfType) {
    if (a != kFloatType && b != kFloatType) return Stop(node, "a half beside another number after \"?\"");
  }
  const TypeIndex common = GetScalarType(GetCommonScalar(Get(a).scalar, Get(b).scalar));
  SetConverted(first, common);
  SetConverted(second, common);
  return common;
}

}  // namespace ostra::kernellanguage
