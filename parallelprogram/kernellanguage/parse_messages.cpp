#include "parallelprogram/kernellanguage/parse_messages.h"

namespace ostra::kernellanguage {

void ParseMessages::Stop(SourceOffset offset, std::string reason) {
  if (!IsStopped()) _notUnderstood = NotUnderstood{offset, std::move(reason)};
}

void ParseMessages::Fail(SourceOffset offset, std::string text, std::vector<DiagnosticNote> notes) {
  if (IsBroken()) return;
  _isBroken = true;
  if (!_errors.empty() && !_tokens.HasLineStartSince(_lastError)) return;
  _lastError = _tokens.GetPosition();
  _errors.push_back({.offset = offset, .text = std::move(text), .notes = std::move(notes)});
  _isFull = _errors.size() == kMaxErrors;
}

}  // namespace ostra::kernellanguage
