// Values that are made of others: vec4(v.xy, z, 1.0), mat3(1.0), Particle(a, b), (float)x, { 1, 2 }.
#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/resolver.h"

namespace ostra::kernellanguage {

TypeIndex Resolver::Construct(NodeIndex node) {
  const auto children = _tree.GetChildren(node);
  const TypeIndex type = ReadType(children[0]);
  if (IsStopped()) return kUnknownType;
  const auto arguments = children.subspan(1);
  Bool isKnown = false;
  const Types types = ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  const Type kind = Get(type);
  if (kind.kind == TypeKind::kVoid || kind.kind == TypeKind::kGradient || kind.kind == TypeKind::kCounter)
    return Stop(node, Join({"a value of type ", TypeName(type)}));
  if (arguments.empty()) return type;
  if (arguments.size() == 1 && types[0] == type) return type;
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

TypeIndex Resolver::ConstructScalar(NodeIndex node, TypeIndex type, Arguments arguments) {
  if (arguments.size() != 1)
    return Fail(node, Join({"a ", TypeName(type), " is made of one value, not of ", std::to_string(arguments.size())}));
  const TypeIndex given = _resolved.type[arguments[0]];
  if (!IsScalar(given))
    return Fail(arguments[0], Join({"a ", TypeName(type), " cannot be made of a ", TypeName(given)}));
  SetConverted(arguments[0], type);
  return type;
}

// The components that all arguments have together, those of the matrices included; 0 with an error.
UInt32 Resolver::CountComponents(TypeIndex type, Arguments arguments) {
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

// Makes the arguments be wanted with the scalar of the value that is made of them.
void Resolver::ConvertComponents(Arguments arguments, Scalar scalar) {
  for (const NodeIndex argument : arguments) {
    const Type& given = Get(_resolved.type[argument]);
    if (given.kind != TypeKind::kMatrix) SetConverted(argument, GetVectorType(scalar, given.count));
  }
}

TypeIndex Resolver::ConstructVector(NodeIndex node, TypeIndex type, Arguments arguments) {
  const Type kind = Get(type);
  const UInt32 components = CountComponents(type, arguments);
  if (components == 0) return kUnknownType;
  const Bool isOne = arguments.size() == 1;
  Bool isPlain = true;
  for (const NodeIndex argument : arguments) {
    const Type& given = Get(_resolved.type[argument]);
    const Bool isOther = (given.scalar == Scalar::kHalf) != (kind.scalar == Scalar::kHalf);
    const Bool isRounded = isOne && given.kind == TypeKind::kScalar && kind.scalar == Scalar::kHalf;
    if (given.kind == TypeKind::kMatrix || (isOther && (given.kind == TypeKind::kVector || isRounded))) isPlain = false;
  }
  const Type only = Get(_resolved.type[arguments[0]]);
  const Bool isSpread = isOne && only.kind == TypeKind::kScalar;
  const Bool isCut = isOne && only.kind == TypeKind::kVector && components > kind.count;
  if (!isSpread && !isCut && components != kind.count) {
    return Fail(node, Join({"a ", TypeName(type), " has ", std::to_string(kind.count), " components, here are ",
                            std::to_string(components)}));
  }
  if (isCut) isPlain = isPlain && only.scalar == kind.scalar;
  if (!isPlain)
    Extend(node);
  else if (isSpread)
    Extend(node, true);
  ConvertComponents(arguments, kind.scalar);
  return type;
}

TypeIndex Resolver::ConstructColumns(NodeIndex node, TypeIndex type, Arguments arguments, UInt32 count, UInt32 height) {
  if (arguments.size() != count)
    return Fail(node, Join({"a ", TypeName(type), " is made of ", std::to_string(count), " columns"}));
  for (const NodeIndex argument : arguments) {
    if (!Convert(argument, GetVectorType(Scalar::kFloat32, height), "a column")) return kUnknownType;
  }
  return type;
}

TypeIndex Resolver::ConstructMatrix(NodeIndex node, TypeIndex type, Arguments arguments) {
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

TypeIndex Resolver::ConstructStruct(NodeIndex node, TypeIndex type, Arguments arguments) {
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
    if (!Convert(arguments[i], _resolved.type[members[i]], Join({"the member \"", NameOf(members[i]), "\""})))
      return kUnknownType;
  }
  Extend(node);
  return type;
}

TypeIndex Resolver::Cast(NodeIndex node) {
  const NodeIndex typeNode = _tree.GetChild(node, 0), operand = _tree.GetChild(node, 1);
  const TypeIndex type = ReadType(typeNode);
  if (IsStopped()) return kUnknownType;
  const TypeIndex given = Expression(operand);
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
TypeIndex Resolver::CastToVector(NodeIndex node, TypeIndex type) {
  const NodeIndex operand = _tree.GetChild(node, 1);
  const Type kind = Get(type), given = Get(_resolved.type[operand]);
  if (given.kind == TypeKind::kVector && given.count < kind.count)
    return Stop(node, Join({"a cast of a ", TypeName(_resolved.type[operand]), " to ", TypeName(type)}));
  Extend(node);
  SetConverted(operand, GetVectorType(kind.scalar, given.count));
  return type;
}

}  // namespace ostra::kernellanguage
