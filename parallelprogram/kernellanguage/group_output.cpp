#include "parallelprogram/kernellanguage/group_output.h"

#include <utility>

#include "parallelprogram/kernellanguage/cpp_text.h"

namespace ostra::kernellanguage {

void GroupOutput::Line(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _piece += part;
  _piece += '\n';
}

std::string GroupOutput::TakePiece() { return std::exchange(_piece, {}); }

void GroupOutput::Write(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _text += part;
}

void GroupOutput::AddConstant(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _constants += part;
}

std::string GroupOutput::GetLineMark(NodeIndex node) const {
  return MakeLineDirective(_sources.Locate(_tree.nodes[node].offset));
}

void GroupOutput::Refuse(NodeIndex node, std::string reason) {
  if (!_refusal) _refusal = NotUnderstood{_tree.nodes[node].offset, std::move(reason)};
}

}  // namespace ostra::kernellanguage
