#include "parallelprogram/kernellanguage/plain_names.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/shader_words.h"

namespace ostra::kernellanguage {
namespace {

Bool IsDeclaration(NodeKind kind) {
  return kind == NodeKind::kVariable || kind == NodeKind::kFunctionParameter || kind == NodeKind::kFunction ||
         kind == NodeKind::kSharedArray;
}

Bool NeedsAnotherName(std::string_view name) { return IsShaderWord(name) || FindTypeWord(name) != kUnknownType; }

}  // namespace

Bool NeedsAnotherMemberName(std::string_view name) {
  return IsShaderMemberWord(name) || FindTypeWord(name) != kUnknownType;
}

PlainNames::PlainNames(const PlainKernel& kernel) : _kernel(kernel) {
  std::set<std::string_view> declared;
  const auto count = static_cast<NodeIndex>(_kernel.tree.nodes.size());
  for (NodeIndex node = 0; node < count; ++node) {
    if (IsDeclaration(_kernel.GetKind(node))) declared.insert(_kernel.tree.GetName(node));
  }
  for (NodeIndex node = 0; node < count; ++node) {
    const std::string_view name = _kernel.tree.GetName(node);
    if (!IsDeclaration(_kernel.GetKind(node)) || !NeedsAnotherName(name)) continue;
    std::string other = Join({name, "_"});
    while (declared.contains(other)) other += '_';
    _names.emplace(node, std::move(other));
  }
  if (!_kernel.options.isForGpu) return;
  for (const NodeIndex declaration : _kernel.resolved.structs)
    for (const NodeIndex member : _kernel.tree.GetChildren(declaration))
      if (NeedsAnotherMemberName(_kernel.tree.GetName(member)))
        _names.emplace(member, Join({kMemberPrefix, _kernel.tree.GetName(member)}));
}

std::string PlainNames::NameOf(NodeIndex declaration) const {
  const auto found = _names.find(declaration);
  return found == _names.end() ? std::string(_kernel.tree.GetName(declaration)) : found->second;
}

std::string PlainNames::TypeName(TypeIndex type) const {
  while (_kernel.types[type].kind == TypeKind::kArray) type = _kernel.types[type].element;
  if (_kernel.types[type].kind == TypeKind::kStruct) return NameOf(_kernel.types[type].declaration);
  if (_kernel.IsMatrix(type) && _kernel.types[type].count == 2) return "vec4";
  if (_kernel.IsBoolVector(type))
    return _kernel.types.GetName(GetVectorType(Scalar::kInt32, _kernel.types[type].count));
  if (_kernel.IsSmall(type)) return "int";
  return _kernel.types.GetName(type);
}

std::string PlainNames::ArraySizes(TypeIndex type) const {
  const Type& kind = _kernel.types[type];
  if (kind.kind != TypeKind::kArray) return "";
  return Join({"[", std::to_string(kind.count), "]", ArraySizes(kind.element)});
}

std::string PlainNames::HelperWord(TypeIndex type) const {
  std::string word = _kernel.types.GetName(type);
  std::replace_if(
      word.begin(), word.end(), [](char c) { return c == '<' || c == '>' || c == ' ' || c == '['; }, '_');
  std::erase(word, ']');
  return word;
}

std::string PlainNames::ParameterType(NodeIndex type) const {
  std::string name(_kernel.tree.GetName(type));
  TypeIndex value = _kernel.resolved.type[type];
  if (IsExtendedType(name) && _kernel.IsBoolVector(value))
    value = GetVectorType(Scalar::kInt32, _kernel.types[value].count);
  const Bool isWide =
      (_kernel.types.IsScalar(value) && GetSize(_kernel.types[value].scalar) == 8) || _kernel.IsSmall(value);
  if (_kernel.options.isForGpu &&
      (value == kBoolType || isWide || (_kernel.types.IsVector(value) && IsInteger(_kernel.types[value].scalar))))
    return _kernel.types.GetName(value);
  const Type& kind = _kernel.types[value];
  if (IsExtendedType(name) && kind.kind == TypeKind::kScalar)
    name = GetCppName(kind.scalar);
  else if (IsExtendedType(name))
    name = Join({"Vec", std::to_string(kind.count), "<", GetCppName(kind.scalar), ">"});
  const auto arguments = _kernel.tree.GetChildren(type);
  for (std::size_t i = 0; i < arguments.size(); ++i) name += Join({i == 0 ? "<" : ", ", ParameterType(arguments[i])});
  if (!arguments.empty()) name += ">";
  return Join(
      {_kernel.tree.HasFlag(type, kIsConst) ? "const " : "", name, _kernel.tree.HasFlag(type, kIsPointer) ? "*" : ""});
}

}  // namespace ostra::kernellanguage
