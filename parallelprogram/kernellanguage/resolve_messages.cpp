#include "parallelprogram/kernellanguage/resolve_messages.h"

namespace ostra::kernellanguage {

void ResolveMessages::Stop(NodeIndex node, std::string reason) {
  if (_silence == 0 && !IsStopped()) _notUnderstood = NotUnderstood{_tree.nodes[node].offset, std::move(reason)};
}

void ResolveMessages::Fail(NodeIndex node, std::string text, std::vector<DiagnosticNote> notes) {
  if (_silence == 0 && !IsStopped())
    _errors.push_back({.offset = _tree.nodes[node].offset, .text = std::move(text), .notes = std::move(notes)});
}

}  // namespace ostra::kernellanguage
