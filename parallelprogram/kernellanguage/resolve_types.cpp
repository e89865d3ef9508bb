#include "parallelprogram/kernellanguage/resolve_types.h"

#include "parallelprogram/kernellanguage/resolve.h"

namespace ostra::kernellanguage {

// kUnknownType for a word that names none.
TypeIndex ResolveTypes::FindType(NodeIndex node) const {
  const std::string_view name = NameOf(node);
  const auto arguments = _tree.GetChildren(node);
  if (arguments.empty()) {
    const TypeIndex found = _names.FindStruct(name);
    return found != kUnknownType ? found : FindTypeWord(name);
  }
  if (name.size() != 4 || !name.starts_with("Vec") || arguments.size() != 1) return kUnknownType;
  Scalar scalar{};
  if (!_tree.GetChildren(arguments[0]).empty() || !FindElementWord(NameOf(arguments[0]), scalar)) return kUnknownType;
  return GetVectorType(scalar, static_cast<UInt32>(name[3] - '0'));
}

TypeIndex ResolveTypes::ReadType(NodeIndex node) {
  if (_resolved.type[node] != kUnknownType) return _resolved.type[node];
  const std::string_view name = NameOf(node);
  const TypeIndex type = FindType(node);
  if (type == kUnknownType) return Stop(node, Join({"the type \"", name, "\" here"}));
  const Bool isStruct = Get(type).kind == TypeKind::kStruct;
  if (_tree.GetChildren(node).empty() && IsExtendedType(name) && !isStruct) Extend(node);
  // GPUs compute with others, or have no such word.
  const Bool isSmall =
      IsScalar(type) && IsInteger(Get(type).scalar) && type != kBoolType && GetSize(Get(type).scalar) < 4;
  if (isSmall || IsCpuVector(Get(type)) || (name == "Int" && !isStruct)) Extend(node, true);
  return _resolved.type[node] = type;
}

TypeIndex ResolveTypes::ReadBufferType(NodeIndex node) {
  const NodeIndex elementNode = Child(node, 0);
  const TypeIndex element = ReadType(elementNode);
  if (IsStopped()) return kUnknownType;
  const TypeKind kind = Get(element).kind;
  if (kind == TypeKind::kVoid || kind == TypeKind::kGradient || kind == TypeKind::kCounter)
    return Stop(elementNode, "elements of this type");
  return _resolved.types.GetBuffer(element, _tree.HasFlag(node, kIsConst) || _tree.HasFlag(elementNode, kIsConst));
}

// Of a parameter that is neither buffer nor texture.
TypeIndex ResolveTypes::ReadValueType(NodeIndex node) {
  const TypeIndex type = ReadType(node);
  if (type == kVoidType) return Stop(node, "a parameter without a value");
  if (_tree.HasFlag(node, kIsPointer) && type != kCounterType) return Stop(node, "a pointer");
  return type;
}

TypeIndex ResolveTypes::ReadParameterType(NodeIndex node) {
  const std::string_view name = NameOf(node);
  const auto arguments = _tree.GetChildren(node);
  TypeIndex type = kUnknownType;
  if ((name == "Block" || name == "BaseArray") && arguments.size() == 1)
    type = ReadBufferType(node);
  else if (Type texture; ParseTextureType(name, texture))
    type = _resolved.types.GetTexture(texture.dimensions, texture.count, texture.scalar, texture.isLinear);
  else if (name.starts_with("TextureSampler"))
    return Stop(node, "a texture type that kernels on the CPU do not have");
  else
    type = ReadValueType(node);
  if (IsStopped()) return kUnknownType;
  CheckParameterType(node);
  if (arguments.empty() || Get(type).kind == TypeKind::kVector) ExtendParameterType(node, type);
  return _resolved.type[node] = type;
}

// What a host cannot give. A vector of bools is one of ints, but not as an element.
void ResolveTypes::CheckParameterType(NodeIndex node, Bool isElement) {
  for (const NodeIndex argument : _tree.GetChildren(node)) CheckParameterType(argument, true);
  const std::string_view name = NameOf(node);
  const TypeIndex type = FindTypeWord(name);
  if (!IsExtendedType(name) || _names.FindStruct(name) != kUnknownType) return;
  if (type == kMatrix2Type || (isElement && Get(type).scalar == Scalar::kBool))
    Fail(node, Join({"a ", TypeName(type), " is no type of a parameter: it is for values inside of a kernel"}));
}

// The translation for GPUs knows these from the plain form alone.
void ResolveTypes::ExtendParameterType(NodeIndex node, TypeIndex type) {
  const Scalar scalar = Get(type).scalar;
  const Bool isOfIntegers = scalar == Scalar::kInt32 || scalar == Scalar::kUInt32;
  const Bool isShortVector = IsVector(type) && (isOfIntegers || scalar == Scalar::kHalf) && Get(type).count < 4;
  const Bool isWide = IsScalar(type) && GetSize(scalar) == 8;
  if (type == kBoolType || isShortVector || isWide) Extend(node, true);
}

// Of the dimension number `index`; nothing if it is not known.
std::optional<Int64> ResolveTypes::ReadLength(NodeIndex dimensions, std::size_t index, NodeIndex list) const {
  const NodeIndex size = Child(dimensions, index);
  if (size != kNoNode) return _constants.Evaluate(size);
  if (index == 0 && _tree.Is(list, NodeKind::kInitializerList))
    return static_cast<Int64>(_tree.GetChildren(list).size());
  return std::nullopt;
}

TypeIndex ResolveTypes::ReadArray(TypeIndex element, NodeIndex dimensions, NodeIndex list) {
  if (dimensions == kNoNode || IsStopped()) return element;
  const auto sizes = _tree.GetChildren(dimensions);
  for (std::size_t i = sizes.size(); i-- > 0;) {
    const auto count = ReadLength(dimensions, i, list);
    if (!count && sizes[i] != kNoNode && _constants.IsComputed(sizes[i]))
      return Fail(sizes[i], "the length of an array is a constant: this is known only when the kernel runs");
    if (!count || *count < 1 || *count > 0x7fffffff)
      return Stop(sizes[i] == kNoNode ? dimensions : sizes[i], "the length of this array");
    element = _resolved.types.GetArray(element, static_cast<UInt32>(*count));
  }
  return CheckTypeCount(dimensions) ? element : kUnknownType;
}

Bool ResolveTypes::CheckTypeCount(NodeIndex node) {
  if (_resolved.types.GetCount() <= kMaxTypes) return true;
  Stop(node, Join({"more than ", std::to_string(kMaxTypes), " types"}));
  return false;
}

}  // namespace ostra::kernellanguage
