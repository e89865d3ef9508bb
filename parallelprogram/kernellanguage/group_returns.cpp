// Invocations that return below a condition around a barrier, while others go on behind it: `if (u) {
// groupSharedBarrier; if (k == 0u) return; } rest`. The piece with the return and the rest are loops of their own, so
// it is kept who has returned.
#include "parallelprogram/kernellanguage/group_printer.h"

namespace ostra::kernellanguage {
namespace {

NodeIndex FindReturn(const SyntaxTree& tree, NodeIndex node) {
  if (node == kNoNode || IsExpression(tree.nodes[node].kind)) return kNoNode;
  if (tree.Is(node, NodeKind::kReturn)) return node;
  for (const NodeIndex child : tree.GetChildren(node)) {
    if (const NodeIndex found = FindReturn(tree, child); found != kNoNode) return found;
  }
  return kNoNode;
}

}  // namespace

// `isFollowed`: more comes behind the outermost cut `if` around `node`, or behind one inside of it.
NodeIndex GroupPrinter::FindEarlyReturn(NodeIndex node, Bool isInIf, Bool isFollowed) const {
  if (node == kNoNode) return kNoNode;
  if (!_isCut[node] && node != Child(_tree.kernel, 0)) return isInIf && isFollowed ? FindReturn(_tree, node) : kNoNode;
  const auto children = _tree.GetChildren(node);
  const Bool isIf = KindOf(node) == NodeKind::kIf, isBlock = KindOf(node) == NodeKind::kBlock;
  if (!isIf && !isBlock) return kNoNode;
  for (std::size_t i = isIf ? 1 : 0; i < children.size(); ++i) {
    const Bool isLast =
        isIf || i + 1 == children.size() || KindOf(children[i]) != NodeKind::kIf || !_isCut[children[i]];
    const NodeIndex found = FindEarlyReturn(children[i], isInIf || isIf, isFollowed || !isLast);
    if (found != kNoNode) return found;
  }
  return kNoNode;
}

}  // namespace ostra::kernellanguage
