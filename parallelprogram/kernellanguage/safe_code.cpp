#include "parallelprogram/kernellanguage/safe_code.h"

#include <algorithm>

namespace ostra::kernellanguage {

Bool RunsWithAnyValues(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node) {
  switch (tree.nodes[node].kind) {
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
    case NodeKind::kIndex:
    case NodeKind::kLocalData:
      return false;
    case NodeKind::kCall:
      if (resolved.meaning[node].kind == MeaningKind::kFunction) return false;
      break;
    default:
      break;
  }
  const Operation operation = tree.nodes[node].operation;
  if (operation == Operation::kDivide || operation == Operation::kRemainder) return false;
  const auto children = tree.GetChildren(node);
  return std::all_of(children.begin(), children.end(),
                     [&](NodeIndex child) { return child == kNoNode || RunsWithAnyValues(tree, resolved, child); });
}

}  // namespace ostra::kernellanguage
