#include "parallelprogram/kernellanguage/plain_printer.h"
#include "parallelprogram/kernellanguage/shader_words.h"

namespace ostra::kernellanguage {
namespace {

Bool IsDeclaration(NodeKind kind) {
  return kind == NodeKind::kVariable || kind == NodeKind::kFunctionParameter || kind == NodeKind::kFunction ||
         kind == NodeKind::kSharedArray;
}

Bool NeedsAnotherName(std::string_view name) { return IsShaderWord(name) || FindTypeWord(name) != kUnknownType; }

// "length" of a struct is that of an array in GLSL.
Bool NeedsAnotherMemberName(std::string_view name) { return NeedsAnotherName(name) || name == "length"; }

// Members of structs that lie in no buffer: those of buffers are compared with the members that the host has.
std::vector<NodeIndex> ListMembersToRename(const SyntaxTree& tree, const ResolvedTree& resolved) {
  const std::set<NodeIndex> ofBuffers = FindStoredStructs(tree, resolved);
  std::vector<NodeIndex> members;
  for (const NodeIndex declaration : resolved.structs) {
    if (ofBuffers.contains(declaration)) continue;
    for (const NodeIndex member : tree.GetChildren(declaration))
      if (NeedsAnotherMemberName(tree.GetName(member))) members.push_back(member);
  }
  return members;
}

}  // namespace

void PlainPrinter::FindNames() {
  const auto count = static_cast<NodeIndex>(_tree.nodes.size());
  for (NodeIndex node = 0; node < count; ++node) {
    if (IsDeclaration(KindOf(node))) _declaredNames.insert(_tree.GetName(node));
  }
  for (NodeIndex node = 0; node < count; ++node) {
    const std::string_view name = _tree.GetName(node);
    if (!IsDeclaration(KindOf(node)) || !NeedsAnotherName(name)) continue;
    std::string other = Join({name, "_"});
    while (_declaredNames.contains(other)) other += '_';
    _names.emplace(node, std::move(other));
  }
  if (!_options.isForGpu) return;
  for (const NodeIndex member : ListMembersToRename(_tree, _resolved))
    _names.emplace(member, Join({"ostra_member_", _tree.GetName(member)}));
}

std::string PlainPrinter::NameOf(NodeIndex declaration) const {
  const auto found = _names.find(declaration);
  return found == _names.end() ? std::string(_tree.GetName(declaration)) : found->second;
}

}  // namespace ostra::kernellanguage
