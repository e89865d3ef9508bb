#include "parallelprogram/kernellanguage/resolve_members.h"

namespace ostra::kernellanguage {
namespace {

struct Swizzle {
  UInt32 count = 0;       // 0: there are no such components
  UInt32 components = 0;  // 2 bits each
  Bool isExtension = false, isPrintable = false;
};

// The components of halves of a vector; the name itself for others.
std::string_view GetHalf(std::string_view name, UInt32 width) {
  if (width == 2) return name == "lo" || name == "even" ? "x" : name == "hi" || name == "odd" ? "y" : name;
  if (width != 4) return name;
  return name == "lo" ? "xy" : name == "hi" ? "zw" : name == "even" ? "xz" : name == "odd" ? "yw" : name;
}

// Components of a vector with `width` of them: "xy", "bgr", "s0", "lo"; all letters are of one set.
Swizzle ReadSwizzle(std::string_view word, UInt32 width) {
  const std::string_view name = GetHalf(word, width);
  const Bool isHalf = name.data() != word.data();
  constexpr std::string_view kSets[] = {"xyzw", "rgba", "stpq", "0123"};
  for (const std::string_view set : kSets) {
    const Bool isNumbers = set == "0123";
    std::string_view letters = name;
    if (isNumbers && (letters.size() < 2 || (letters[0] != 's' && letters[0] != 'S'))) continue;
    if (isNumbers) letters.remove_prefix(1);
    if (letters.empty() || letters.size() > 4) continue;
    Swizzle swizzle;
    for (const char letter : letters) {
      const std::size_t component = set.find(letter);
      if (component >= width) break;
      swizzle.components |= static_cast<UInt32>(component) << (2 * swizzle.count++);
    }
    if (swizzle.count != letters.size()) continue;
    // The components of vectors in C++ have the first three names, too.
    swizzle.isPrintable = swizzle.count == 1 && !isNumbers && !isHalf;
    swizzle.isExtension = !swizzle.isPrintable || set == "stpq";
    return swizzle;
  }
  return {};
}

}  // namespace

TypeIndex ResolveMembers::MemberOf(NodeIndex node) {
  const NodeIndex operand = Child(node, 0);
  const TypeIndex type = _expressions.Expression(operand);
  if (type == kUnknownType || IsStopped()) return kUnknownType;
  _resolved.isPlace[node] = _resolved.isPlace[operand];
  switch (Get(type).kind) {
    case TypeKind::kVector:
      return ComponentOf(node, type);
    case TypeKind::kMatrix:
    case TypeKind::kAffineMatrix:
      return ColumnOf(node, type);
    case TypeKind::kStruct:
      return StructMemberOf(node, type);
    case TypeKind::kScalar:
      return Fail(node, Join({"a ", TypeName(type), " has no components"}));
    default:
      return Stop(node, Join({"a member of a ", TypeName(type)}));
  }
}

TypeIndex ResolveMembers::ComponentOf(NodeIndex node, TypeIndex vector) {
  const Type& kind = Get(vector);
  const Swizzle swizzle = ReadSwizzle(NameOf(node), kind.count);
  if (swizzle.count == 0) return Fail(node, Join({"a ", TypeName(vector), " has no component \"", NameOf(node), "\""}));
  if (swizzle.isExtension) Extend(node, swizzle.isPrintable);
  if (swizzle.count == 1) {
    _resolved.meaning[node] = {.kind = MeaningKind::kComponent, .number = swizzle.components};
  } else {
    _resolved.meaning[node] = {.kind = MeaningKind::kSwizzle, .number = swizzle.components | swizzle.count << 8};
  }
  return GetVectorType(kind.scalar, swizzle.count);
}

TypeIndex ResolveMembers::ColumnOf(NodeIndex node, TypeIndex matrix) {
  const Type& kind = Get(matrix);
  const std::string_view name = NameOf(node);
  const Bool isAffine = kind.kind == TypeKind::kAffineMatrix;
  const UInt32 number = name == "off" ? 0 : name.size() == 2 && name[0] == 'v' ? static_cast<UInt32>(name[1] - '0') : 9;
  const Bool isKnown =
      isAffine ? (name == "off" || (number >= 1 && number <= 3)) : (name != "off" && number < kind.count);
  if (!isKnown) return Fail(node, Join({"a ", TypeName(matrix), " has no column \"", name, "\""}));
  _resolved.meaning[node] = {.kind = MeaningKind::kComponent, .number = number};
  return GetVectorType(Scalar::kFloat32, isAffine ? 3 : kind.count);
}

TypeIndex ResolveMembers::StructMemberOf(NodeIndex node, TypeIndex type) {
  const NodeIndex declaration = Get(type).declaration;
  const auto members = _tree.GetChildren(declaration);
  for (UInt32 i = 0; i < members.size(); ++i) {
    if (NameOf(members[i]) != NameOf(node)) continue;
    _resolved.meaning[node] = {.kind = MeaningKind::kMember, .number = i, .target = members[i]};
    return _resolved.type[members[i]];
  }
  return Fail(node, Join({"a ", TypeName(type), " has no member \"", NameOf(node), "\""}),
              {{GetOffset(declaration), Join({TypeName(type), " is declared here"})}});
}

TypeIndex ResolveMembers::Index(NodeIndex node) {
  const NodeIndex operand = Child(node, 0), index = Child(node, 1);
  const TypeIndex type = _expressions.Expression(operand), indexType = _expressions.Expression(index);
  if (type == kUnknownType || indexType == kUnknownType || IsStopped()) return kUnknownType;
  const Type kind = Get(type);
  const Bool isInteger = IsScalar(indexType) && IsInteger(Get(indexType).scalar);
  if (kind.kind == TypeKind::kVector) {
    if (!isInteger) return Stop(index, Join({"an index of type ", TypeName(indexType)}));
    return IndexComponents(node, GetScalarType(kind.scalar));
  }
  if (kind.kind == TypeKind::kMatrix && isInteger) {
    Extend(node);
    return IndexComponents(node, GetVectorType(Scalar::kFloat32, kind.count));
  }
  if (kind.kind != TypeKind::kArray && kind.kind != TypeKind::kBuffer && kind.kind != TypeKind::kMatrix)
    return Fail(node, Join({"a ", TypeName(type), " has no elements"}));
  if (!isInteger) return FailIndex(index, type);
  _resolved.isPlace[node] = true;
  return kind.element;
}

TypeIndex ResolveMembers::IndexComponents(NodeIndex node, TypeIndex result) {
  _resolved.isPlace[node] = _resolved.isPlace[Child(node, 0)];
  SetConverted(Child(node, 1), kIntType);
  return result;
}

// An index that is no whole number.
TypeIndex ResolveMembers::FailIndex(NodeIndex index, TypeIndex operand) {
  const TypeIndex type = _resolved.type[index];
  // Checked accesses to buffers take every number.
  const Bool isOfBuffer = Get(operand).kind == TypeKind::kBuffer && IsScalar(type);
  if (isOfBuffer || type == kHalfType) return Stop(index, Join({"an index of type ", TypeName(type)}));
  return Fail(index, Join({"an index must be a whole number, not a ", TypeName(type)}));
}

}  // namespace ostra::kernellanguage
