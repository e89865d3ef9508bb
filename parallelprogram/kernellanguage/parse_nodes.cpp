#include "parallelprogram/kernellanguage/parse_nodes.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/parse.h"

namespace ostra::kernellanguage {

NodeIndex ParseNodes::Add(NodeKind kind, SourceOffset offset, std::string_view name, const NodeList& children,
                          UInt16 flags, Operation operation) {
  if (_messages.IsStopped()) return kNoNode;
  UInt16 height = 0;
  for (const NodeIndex child : children) {
    if (child != kNoNode) height = std::max(height, _heights[child]);
  }
  if (height >= kMaxTreeHeight) {
    _messages.Stop(offset, Join({"a tree higher than ", std::to_string(kMaxTreeHeight), " nodes"}));
    return kNoNode;
  }
  _heights.push_back(static_cast<UInt16>(height + 1));
  return _tree.Add({.kind = kind,
                    .operation = operation,
                    .flags = flags,
                    .offset = offset,
                    .name = name.empty() ? 0 : _tree.AddName(name)},
                   children);
}

Bool ParseNodes::CheckDepth(SourceOffset offset) {
  if (_depth <= kMaxNesting) return true;
  _messages.Stop(offset, Join({"code nested deeper than ", std::to_string(kMaxNesting)}));
  return false;
}

}  // namespace ostra::kernellanguage
