#include "parallelprogram/kernellanguage/group_returns.h"

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

class EarlyReturns {
 public:
  EarlyReturns(const SyntaxTree& tree, const std::vector<Bool>& isCut) : _tree(tree), _isCut(isCut) {}

  // `isFollowed`: more comes behind the outermost cut `if` around `node`, or behind one inside of it.
  NodeIndex Find(NodeIndex node, Bool isInIf, Bool isFollowed) const {
    if (node == kNoNode) return kNoNode;
    if (!_isCut[node] && node != _tree.GetChild(_tree.kernel, 0))
      return isInIf && isFollowed ? FindReturn(_tree, node) : kNoNode;
    const auto children = _tree.GetChildren(node);
    const Bool isIf = _tree.Is(node, NodeKind::kIf), isBlock = _tree.Is(node, NodeKind::kBlock);
    if (!isIf && !isBlock) return kNoNode;
    for (std::size_t i = isIf ? 1 : 0; i < children.size(); ++i) {
      const Bool isLast =
          isIf || i + 1 == children.size() || !_tree.Is(children[i], NodeKind::kIf) || !_isCut[children[i]];
      const NodeIndex found = Find(children[i], isInIf || isIf, isFollowed || !isLast);
      if (found != kNoNode) return found;
    }
    return kNoNode;
  }

 private:
  const SyntaxTree& _tree;
  const std::vector<Bool>& _isCut;
};

}  // namespace

NodeIndex FindEarlyReturn(const SyntaxTree& tree, const std::vector<Bool>& isCut) {
  return EarlyReturns(tree, isCut).Find(tree.GetChild(tree.kernel, 0), false, false);
}

}  // namespace ostra::kernellanguage
