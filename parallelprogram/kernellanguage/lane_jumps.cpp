#include "parallelprogram/kernellanguage/lane_jumps.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

Bool LaneJumps::HasReturn(NodeIndex node) const {
  if (KindOf(node) == NodeKind::kReturn) return true;
  if (IsExpression(KindOf(node))) return false;
  const auto children = _tree.GetChildren(node);
  return std::any_of(children.begin(), children.end(),
                     [this](NodeIndex child) { return child != kNoNode && HasReturn(child); });
}

Bool LaneJumps::HasJump(NodeIndex node, NodeKind kind, Bool isMasked, Bool isBelow) const {
  const NodeKind own = KindOf(node);
  if (own == kind) return !isMasked || isBelow;
  if (IsExpression(own)) return false;
  if (IsLoop(own)) return false;
  if (own == NodeKind::kSwitch && kind == NodeKind::kBreak) return false;
  const Bool differs =
      (own == NodeKind::kIf || own == NodeKind::kSwitch) && FormOf(Child(node, 0)) != LaneForm::kShared;
  for (const NodeIndex child : _tree.GetChildren(node)) {
    if (child != kNoNode && HasJump(child, kind, isMasked, isBelow || differs)) return true;
  }
  return false;
}

Bool LaneJumps::HasExit(NodeIndex node) const {
  return HasReturn(node) || HasJump(node, NodeKind::kBreak, false) || HasJump(node, NodeKind::kContinue, false);
}

Bool LaneJumps::IsMaskedLoop(NodeIndex node) const {
  const LoopParts loop = GetLoopParts(_tree, node);
  if (loop.condition != kNoNode && FormOf(loop.condition) != LaneForm::kShared) return true;
  return HasJump(loop.body, NodeKind::kBreak, true) ||
         (HasJump(loop.body, NodeKind::kContinue, true) && HasJump(loop.body, NodeKind::kBreak, false)) ||
         // The step comes after `continue`, too, which is no C++ expression then.
         (loop.step != kNoNode && !IsSharedEffect(loop.step) && HasJump(loop.body, NodeKind::kContinue, false));
}

Bool LaneJumps::IsSharedEffect(NodeIndex node) const {
  const auto children = _tree.GetChildren(node);
  switch (KindOf(node)) {
    case NodeKind::kComma:
      return IsSharedEffect(children[0]) && IsSharedEffect(children[1]);
    case NodeKind::kAssign:
      if (FormOf(children[1]) != LaneForm::kShared) return false;
      break;
    case NodeKind::kPostfix:
      break;
    case NodeKind::kUnary:
      if (!IsStep(OperationOf(node))) return false;
      break;
    default:
      return false;
  }
  const Meaning& meaning = _resolved.meaning[children[0]];
  return KindOf(children[0]) == NodeKind::kName && meaning.kind == MeaningKind::kVariable &&
         FormOf(meaning.target) != LaneForm::kLanes;
}

}  // namespace ostra::kernellanguage
