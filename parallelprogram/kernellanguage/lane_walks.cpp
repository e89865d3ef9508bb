#include "parallelprogram/kernellanguage/lane_walks.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {
namespace {

// So many operations for each element are worth it.
constexpr int kOperationsPerElement = 8;

}  // namespace

void LaneWalks::FindMoved(NodeIndex node, LaneWalk& walk) const {
  const NodeKind kind = KindOf(node);
  const Operation operation = OperationOf(node);
  const Bool isStep = IsStep(operation);
  if (kind == NodeKind::kVariable) walk.own.push_back(node);
  if (kind == NodeKind::kAssign || kind == NodeKind::kPostfix || (kind == NodeKind::kUnary && isStep)) {
    const NodeIndex target = Child(node, 0);
    const Meaning& meaning = _resolved.meaning[target];
    if (KindOf(target) == NodeKind::kName && meaning.kind == MeaningKind::kVariable &&
        FormOf(meaning.target) == LaneForm::kLanes)
      walk.moved.push_back(meaning.target);
  }
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) FindMoved(child, walk);
  }
}

// Whether the loop takes another value for `node` in each turn, from the one that it had.
Bool LaneWalks::IsMoved(NodeIndex node, const LaneWalk& walk) const {
  const auto has = [](const std::vector<NodeIndex>& variables, NodeIndex variable) {
    return std::binary_search(variables.begin(), variables.end(), variable);
  };
  if (KindOf(node) == NodeKind::kName && _resolved.meaning[node].kind == MeaningKind::kVariable) {
    const NodeIndex variable = _resolved.meaning[node].target;
    return has(walk.moved, variable) && !has(walk.own, variable);
  }
  const auto children = _tree.GetChildren(node);
  return std::any_of(children.begin(), children.end(),
                     [&](NodeIndex child) { return child != kNoNode && IsMoved(child, walk); });
}

void LaneWalks::CountWork(NodeIndex node, LaneWalk& walk) const {
  switch (KindOf(node)) {
    case NodeKind::kIndex:
      if (KindOf(Child(node, 0)) == NodeKind::kBuffer && FormOf(Child(node, 1)) == LaneForm::kLanes &&
          IsMoved(Child(node, 1), walk))
        ++walk.elementCount;
      break;
    case NodeKind::kAssign:
    case NodeKind::kBinary:
    case NodeKind::kCall:
    case NodeKind::kConditional:
    case NodeKind::kPostfix:
    case NodeKind::kUnary:
      if (FormOf(node) == LaneForm::kLanes)
        walk.operationCount += std::max(1, static_cast<int>(_types[TypeOf(node)].count));
      break;
    default:
      break;
  }
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode) CountWork(child, walk);
  }
}

Bool LaneWalks::IsSlowWalk(NodeIndex loop) const {
  const LoopParts parts = GetLoopParts(_tree, loop);
  LaneWalk walk;
  for (const NodeIndex part : {parts.condition, parts.step, parts.body}) {
    if (part != kNoNode) FindMoved(part, walk);
  }
  std::sort(walk.moved.begin(), walk.moved.end());
  std::sort(walk.own.begin(), walk.own.end());
  for (const NodeIndex part : {parts.condition, parts.step, parts.body}) {
    if (part != kNoNode) CountWork(part, walk);
  }
  return walk.elementCount > 0 && walk.operationCount < kOperationsPerElement * walk.elementCount;
}

}  // namespace ostra::kernellanguage
