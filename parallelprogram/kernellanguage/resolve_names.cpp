#include "parallelprogram/kernellanguage/resolve_names.h"

#include "parallelprogram/kernellanguage/shader_words.h"

namespace ostra::kernellanguage {

ResolveNames::ResolveNames(const ResolveBasis& basis)
    : ResolvePart(basis), _visible(basis.tree.names.size(), kNoNode), _declaredIn(basis.tree.nodes.size(), 0) {}

void ResolveNames::CloseScope() {
  for (; _hidden.size() > _scopes.back(); _hidden.pop_back()) _visible[_hidden.back().name] = _hidden.back().before;
  _scopes.pop_back();
}

void ResolveNames::Declare(NodeIndex node) {
  CheckName(node);
  const NameIndex name = _tree.nodes[node].name;
  const NodeIndex before = _visible[name];
  const auto scope = static_cast<UInt32>(_scopes.size());
  if (before != kNoNode && _declaredIn[before] == scope) {
    Fail(node, Join({"\"", NameOf(node), "\" is declared a second time"}), {{GetOffset(before), "the first time"}});
    return;
  }
  _hidden.push_back({name, before});
  _visible[name] = node;
  _declaredIn[node] = scope;
}

std::vector<std::string_view> ResolveNames::ListVariables() const {
  std::vector<std::string_view> names;
  for (NameIndex name = 1; name < _visible.size(); ++name) {
    if (_visible[name] != kNoNode) names.push_back(_tree.GetText(name));
  }
  return names;
}

void ResolveNames::AddFunction(NodeIndex function) { _functions[NameOf(function)].push_back(function); }

Bool ResolveNames::AddStruct(NodeIndex declaration, TypeIndex type) {
  return _structs.emplace(NameOf(declaration), type).second;
}

Bool ResolveNames::AddParameter(NodeIndex parameter) {
  return _parameters.emplace(NameOf(parameter), parameter).second;
}

std::span<const NodeIndex> ResolveNames::FindFunctions(std::string_view name) const {
  const auto found = _functions.find(name);
  return found == _functions.end() ? std::span<const NodeIndex>() : std::span<const NodeIndex>(found->second);
}

TypeIndex ResolveNames::FindStruct(std::string_view name) const {
  const auto found = _structs.find(name);
  return found == _structs.end() ? kUnknownType : found->second;
}

NodeIndex ResolveNames::FindParameter(std::string_view name) const {
  const auto found = _parameters.find(name);
  return found == _parameters.end() ? kNoNode : found->second;
}

void ResolveNames::CheckName(NodeIndex node) {
  if (FindTypeWord(NameOf(node)) != kUnknownType)
    Extend(node, IsExtendedType(NameOf(node)));
  else if (IsShaderWord(NameOf(node)))
    Extend(node, true);
}

}  // namespace ostra::kernellanguage
