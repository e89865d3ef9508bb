#include "parallelprogram/kernellanguage/plain_printer.h"
#include "parallelprogram/kernellanguage/shader_words.h"

namespace ostra::kernellanguage {
namespace {

Bool IsDeclaration(NodeKind kind) {
  return kind == NodeKind::kVariable || kind == NodeKind::kFunctionParameter || kind == NodeKind::kFunction ||
         kind == NodeKind::kSharedArray;
}

Bool NeedsAnotherName(std::string_view name) { return IsShaderWord(name) || FindTypeWord(name) != kUnknownType; }

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
}

std::string PlainPrinter::NameOf(NodeIndex declaration) const {
  const auto found = _names.find(declaration);
  return found == _names.end() ? std::string(_tree.GetName(declaration)) : found->second;
}

}  // namespace ostra::kernellanguage
