#include "parallelprogram/kernellanguage/resolve_construction.h"

#include <algorithm>

namespace ostra::kernellanguage {

TypeIndex ResolveConstruction::Construct(NodeIndex node) {
  const auto children = _tree.GetChildren(node);
  const TypeIndex type = _types.ReadType(children[0]);
  if (IsStopped()) return kUnknownType;
  const auto arguments = children.subspan(1);
  Bool isKnown = false;
  const TypeList types = _expressions.ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  const Type kind = Get(type);
  if (kind.kind == TypeKind::kVoid || kind.kind == TypeKind::kGradient || kind.kind == TypeKind::kCounter)
    return Stop(node, Join({"a value of type ", TypeName(type)}));
  if (arguments.empty()) return type;
  if (arguments.size() == 1 && types[0] == type) {
    if (kind.kind == TypeKind::kStruct) Extend(node, true);
    return type;
  }
  switch (kind.kind) {
    case TypeKind::kScalar:
      return ConstructScalar(node, type, arguments);
    case TypeKind::kVector:
      return ConstructVector(node, type, arguments);
    case TypeKind::kMatrix:
      return ConstructMatrix(node, type, arguments);
    case TypeKind::kAffineMatrix:
      return ConstructColumns(node, type, arguments, 4, 3);
    case TypeKind::kStruct:
      return ConstructStruct(node, type, arguments);
    default:
      return Stop(node, Join({"a value of type ", TypeName(type), " made of others"}));
  }
}

TypeIndex ResolveConstruction::ConstructScalar(NodeIndex node, TypeIndex type, Arguments arguments) {
  if (arguments.size() != 1)
    return Fail(node, Join({"a ", TypeName(type), " is made of one value, not of ", std::to_string(arguments.size())}));
  const TypeIndex given = _resolved.type[arguments[0]];
  if (!IsScalar(given))
    return Fail(arguments[0], Join({"a ", TypeName(type), " cannot be made of a ", TypeName(given)}));
  SetConverted(arguments[0], type);
  return type;
}

UInt32 ResolveConstruction::CountComponents(TypeIndex type, Arguments arguments) {
  UInt32 count = 0;
  for (const NodeIndex argument : arguments) {
    const Type& given = Get(_resolved.type[argument]);
    const Bool isMatrix = given.kind == TypeKind::kMatrix;
    if (!isMatrix && given.kind != TypeKind::kScalar && given.kind != TypeKind::kVector) {
      Fail(argument, Join({"a ", TypeName(type), " cannot be made of a ", TypeName(_resolved.type[argument])}));
      return 0;
    }
    count += isMatrix ? given.count * given.count : given.count;
  }
  return count;
}

void ResolveConstruction::ConvertComponents(Arguments arguments, Scalar scalar) {
  for (const NodeIndex argument : arguments) {
    const Type& given = Get(_resolved.type[argument]);
    if (given.kind != TypeKind::kMatrix) SetConverted(argument, GetVectorType(scalar, given.count));
  }
}

Bool ResolveConstruction::IsPlainVector(TypeIndex type, Arguments arguments) const {
  const Bool isHalf = Get(type).scalar == Scalar::kHalf;
  return std::none_of(arguments.begin(), arguments.end(), [&](NodeIndex argument) {
    const Type& given = Get(_resolved.type[argument]);
    const Bool isOther = (given.scalar == Scalar::kHalf) != isHalf;
    const Bool isRounded = arguments.size() == 1 && given.kind == TypeKind::kScalar && isHalf;
    return given.kind == TypeKind::kMatrix || (isOther && (given.kind == TypeKind::kVector || isRounded));
  });
}

TypeIndex ResolveConstruction::ConstructVector(NodeIndex node, TypeIndex type, Arguments arguments) {
  const Type kind = Get(type);
  const UInt32 components = CountComponents(type, arguments);
  if (components == 0) return kUnknownType;
  const Type only = Get(_resolved.type[arguments[0]]);
  const Bool isSpread = arguments.size() == 1 && only.kind == TypeKind::kScalar;
  const Bool isCut = arguments.size() == 1 && only.kind == TypeKind::kVector && components > kind.count;
  if (!isSpread && !isCut && components != kind.count) {
    return Fail(node, Join({"a ", TypeName(type), " has ", std::to_string(kind.count), " components, here are ",
                            std::to_string(components)}));
  }
  const Bool isPlain = IsPlainVector(type, arguments) && (!isCut || only.scalar == kind.scalar);
  if (!isPlain)
    Extend(node);
  else if (isSpread)
    Extend(node, true);
  ConvertComponents(arguments, kind.scalar);
  return type;
}

TypeIndex ResolveConstruction::ConstructColumns(NodeIndex node, TypeIndex type, Arguments arguments, UInt32 count,
                                                UInt32 height) {
  if (arguments.size() != count)
    return Fail(node, Join({"a ", TypeName(type), " is made of ", std::to_string(count), " columns"}));
  for (const NodeIndex argument : arguments) {
    if (!_conversions.Convert(argument, GetVectorType(Scalar::kFloat32, height), "a column")) return kUnknownType;
  }
  return type;
}

TypeIndex ResolveConstruction::ConstructMatrix(NodeIndex node, TypeIndex type, Arguments arguments) {
  const UInt32 count = Get(type).count;
  const auto isVector = [this](NodeIndex argument) { return IsVector(_resolved.type[argument]); };
  if (arguments.size() == count && std::all_of(arguments.begin(), arguments.end(), isVector))
    return ConstructColumns(node, type, arguments, count, count);
  const UInt32 components = CountComponents(type, arguments);
  if (components == 0) return kUnknownType;
  const Type only = Get(_resolved.type[arguments[0]]);
  const Bool isOne = arguments.size() == 1 && only.kind != TypeKind::kVector;
  if (!isOne && components != count * count) {
    return Fail(node, Join({"a ", TypeName(type), " is made of ", std::to_string(count), " columns or ",
                            std::to_string(count * count), " components, here are ", std::to_string(components)}));
  }
  Extend(node);
  ConvertComponents(arguments, Scalar::kFloat32);
  return type;
}

TypeIndex ResolveConstruction::ConstructStruct(NodeIndex node, TypeIndex type, Arguments arguments) {
  const NodeIndex declaration = Get(type).declaration;
  const auto members = _tree.GetChildren(declaration);
  if (arguments.size() < members.size())  // the rest is 0 in C++
    return Stop(node, Join({"a ", TypeName(type), " without all its members"}));
  if (arguments.size() > members.size()) {
    return Fail(node,
                Join({"a ", TypeName(type), " has ", std::to_string(members.size()),
                      members.size() == 1 ? " member" : " members", ", here are ", std::to_string(arguments.size())}),
                {{GetOffset(declaration), Join({TypeName(type), " is declared here"})}});
  }
  for (std::size_t i = 0; i < members.size(); ++i) {
    if (!_conversions.Convert(arguments[i], _resolved.type[members[i]],
                              Join({"the member \"", NameOf(members[i]), "\""})))
      return kUnknownType;
  }
  Extend(node);
  return type;
}

TypeIndex ResolveConstruction::Cast(NodeIndex node) {
  const NodeIndex typeNode = Child(node, 0), operand = Child(node, 1);
  const TypeIndex type = _types.ReadType(typeNode);
  if (IsStopped()) return kUnknownType;
  const TypeIndex given = _expressions.Expression(operand);
  if (given == kUnknownType || IsStopped()) return kUnknownType;
  if ((_tree.nodes[typeNode].flags & (kIsReference | kIsPointer)) != 0) return Stop(node, "a cast to this type");
  if (given == type) return type;
  if (IsVector(type) && (IsScalar(given) || IsVector(given))) return CastToVector(node, type);
  if (!IsScalar(type) || !IsScalar(given))
    return Stop(node, Join({"a cast of a ", TypeName(given), " to ", TypeName(type)}));
  SetConverted(operand, type);
  return type;
}

// As the shading languages read it: (vec3)x is vec3(x).
TypeIndex ResolveConstruction::CastToVector(NodeIndex node, TypeIndex type) {
  const NodeIndex operand = Child(node, 1);
  const Type kind = Get(type), given = Get(_resolved.type[operand]);
  if (given.kind == TypeKind::kVector && given.count < kind.count)
    return Stop(node, Join({"a cast of a ", TypeName(_resolved.type[operand]), " to ", TypeName(type)}));
  Extend(node);
  SetConverted(operand, GetVectorType(kind.scalar, given.count));
  return type;
}

}  // namespace ostra::kernellanguage
