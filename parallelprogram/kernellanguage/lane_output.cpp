#include "parallelprogram/kernellanguage/lane_output.h"

#include <utility>

#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

void LaneOutput::Line(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _text += part;
  _text += '\n';
}

void LaneOutput::MarkLine(NodeIndex node) { _text += MakeLineDirective(_sources.Locate(_tree.nodes[node].offset)); }

std::string LaneOutput::NewName(std::string_view stem) { return Join({"ostra_", stem, std::to_string(_nameCount++)}); }

void LaneOutput::Refuse(NodeIndex node, std::string reason) {
  if (_refusal) return;
  _refusal = NotUnderstood{node == kNoNode ? kNoOffset : _tree.nodes[node].offset, std::move(reason)};
}

LaneCode LaneOutput::Take() {
  if (_refusal) _text.clear();
  return {std::exchange(_text, {}), std::exchange(_refusal, std::nullopt)};
}

}  // namespace ostra::kernellanguage
