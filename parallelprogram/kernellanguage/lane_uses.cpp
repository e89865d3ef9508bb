#include "parallelprogram/kernellanguage/lane_uses.h"

namespace ostra::kernellanguage {

LaneUses::LaneUses(const LaneKernel& kernel)
    : LaneQuery(kernel),
      _last(kernel.tree.nodes.size(), 0),
      _loop(kernel.tree.nodes.size(), kNoNode),
      _isChanged(kernel.tree.nodes.size(), false) {
  UInt32 position = 0;
  for (const NodeIndex function : _resolved.functions) Find(function, kNoNode, position);
  Find(_tree.kernel, kNoNode, position);
}

void LaneUses::Find(NodeIndex node, NodeIndex loop, UInt32& position) {
  ++position;
  _loop[node] = loop;
  const NodeKind kind = KindOf(node);
  const Meaning& meaning = _resolved.meaning[node];
  if (kind == NodeKind::kName && meaning.kind == MeaningKind::kVariable) _last[meaning.target] = position;
  // A place, as of an assignment, or of an argument that may be handed back.
  if (kind == NodeKind::kAssign || kind == NodeKind::kPostfix || kind == NodeKind::kUnary || kind == NodeKind::kCall) {
    const Bool isCall = kind == NodeKind::kCall;
    for (const NodeIndex place : _tree.GetChildren(node).first(isCall ? _tree.GetChildren(node).size() : 1)) {
      if (KindOf(place) == NodeKind::kName && _resolved.meaning[place].kind == MeaningKind::kVariable)
        _isChanged[_resolved.meaning[place].target] = true;
    }
  }
  const Bool isLoop = IsLoop(kind);
  // What a `for` begins with is done once.
  const NodeIndex start = kind == NodeKind::kFor ? Child(node, 0) : kNoNode;
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) Find(child, isLoop && child != start ? node : loop, position);
  }
  // Those of a variable come behind its declaration.
  _last[node] = position;
}

}  // namespace ostra::kernellanguage
