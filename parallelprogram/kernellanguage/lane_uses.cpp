// Variables that lanes do not read again once they have left a branch or loop. Lanes that are off may compute on with
// such a variable: no step of a loop has to wait until it is known which lanes it is for.
#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

void LanePrinter::FindUses(NodeIndex node, NodeIndex loop, UInt32& position) {
  ++position;
  _uses.loop[node] = loop;
  const NodeKind kind = KindOf(node);
  const Meaning& meaning = _resolved.meaning[node];
  if (kind == NodeKind::kName && meaning.kind == MeaningKind::kVariable) _uses.last[meaning.target] = position;
  // A place, as of an assignment, or of an argument that may be handed back.
  if (kind == NodeKind::kAssign || kind == NodeKind::kPostfix || kind == NodeKind::kUnary || kind == NodeKind::kCall) {
    const Bool isCall = kind == NodeKind::kCall;
    for (const NodeIndex place : _tree.GetChildren(node).first(isCall ? _tree.GetChildren(node).size() : 1)) {
      if (KindOf(place) == NodeKind::kName && _resolved.meaning[place].kind == MeaningKind::kVariable)
        _uses.isChanged[_resolved.meaning[place].target] = true;
    }
  }
  const Bool isLoop = kind == NodeKind::kFor || kind == NodeKind::kWhile || kind == NodeKind::kDoWhile;
  // What a `for` begins with is done once.
  const NodeIndex start = kind == NodeKind::kFor ? Child(node, 0) : kNoNode;
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) FindUses(child, isLoop && child != start ? node : loop, position);
  }
  // Those of a variable come behind its declaration.
  _uses.last[node] = position;
}

void LanePrinter::FindUses() {
  _uses.last.assign(_tree.nodes.size(), 0);
  _uses.loop.assign(_tree.nodes.size(), kNoNode);
  _uses.isChanged.assign(_tree.nodes.size(), false);
  UInt32 position = 0;
  for (const NodeIndex function : _resolved.functions) FindUses(function, kNoNode, position);
  FindUses(_tree.kernel, kNoNode, position);
}

Bool LanePrinter::MayBeReadLater(NodeIndex variable) const {
  const auto depth = _variableDepths.find(variable);
  if (depth == _variableDepths.end()) return true;
  // Parameters that are handed back have no depth: the caller reads them.
  if (depth->second == 0) return true;
  if (depth->second >= static_cast<int>(_masks.size())) return false;
  const NodeIndex region = _masks.back().region;
  return region == kNoNode || _uses.loop[region] != _uses.loop[variable] || _uses.last[variable] > _uses.last[region];
}

}  // namespace ostra::kernellanguage
