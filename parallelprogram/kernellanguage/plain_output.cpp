#include "parallelprogram/kernellanguage/plain_output.h"

#include <utility>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

void PlainOutput::Line(std::initializer_list<std::string_view> parts) {
  _text.append(_depth, '\t');
  for (const std::string_view part : parts) _text += part;
  _text += '\n';
}

void PlainOutput::Open() {
  Line({"{"});
  Indent();
}

void PlainOutput::Close() {
  Outdent();
  Line({"}"});
}

std::string PlainOutput::TakeText() { return std::exchange(_text, {}); }

std::string PlainOutput::NewName(std::string_view what) { return Join({"ostra", what, std::to_string(++_nameCount)}); }

void PlainOutput::Refuse(SourceOffset place, std::string reason) {
  if (!_refusal) _refusal = NotUnderstood{place, std::move(reason)};
}

}  // namespace ostra::kernellanguage
