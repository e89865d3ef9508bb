#include "parallelprogram/kernellanguage/plain_hoist_plan.h"

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {

Bool HoistPlan::FindNeed(NodeIndex node) const {
  const Operation operation = _kernel.tree.nodes[node].operation;
  switch (_kernel.GetKind(node)) {
    case NodeKind::kUnary:
    case NodeKind::kPostfix:
      return IsStep(operation) &&
             (IsPart(_kernel.GetChild(node, 0)) || _kernel.IsSmall(_kernel.resolved.type[_kernel.GetChild(node, 0)]) ||
              _kernel.types[_kernel.resolved.type[_kernel.GetChild(node, 0)]].scalar == Scalar::kHalf);
    case NodeKind::kAssign: {
      const TypeIndex type = _kernel.resolved.type[node];
      const Bool isComputed = operation != Operation::kNone;
      // The least number is looked for in the place before.
      const Bool isLookedAt = _kernel.options.hasChecks && _kernel.MayOverflow(node);
      const Bool isWrittenTwice =
          (isLookedAt || _kernel.IsOpenRemainder(node)) && !_kept.IsSimpleValue(_kernel.GetChild(node, 0));
      return isWrittenTwice || (_kernel.options.isForGpu && _kernel.IsValueFirst(node)) ||
             IsPart(_kernel.GetChild(node, 0)) || _kernel.IsStoredSmall(_kernel.GetChild(node, 0)) ||
             (isComputed && (_kernel.resolved.computed[node] != type || _kernel.IsMatrix(type)));
    }
    case NodeKind::kCall: {
      const auto arguments = _kernel.tree.GetChildren(node);
      for (std::size_t i = 0; i < arguments.size(); ++i)
        if (IsChangedArgument(_kernel.tree, _kernel.resolved, node, i) && IsCopied(arguments[i])) return true;
      return _tracePlan.IsUnorderedCall(node);
    }
    case NodeKind::kConstruct:
      return _kernel.IsStructOfArrays(node);
    default:
      return false;
  }
}

Bool HoistPlan::HasInnerHoists(NodeIndex node, NodeIndex whole) const {
  for (const NodeIndex child : _kernel.tree.GetChildren(node))
    if (child == whole ? HasInnerHoists(child, whole) : HasHoists(child)) return true;
  return false;
}

NodeIndex HoistPlan::FindWholeCall(NodeIndex expression) const {
  if (expression == kNoNode) return kNoNode;
  const Bool isAssigned = _kernel.GetKind(expression) == NodeKind::kAssign;
  if (_kernel.IsValueFirst(expression)) return kNoNode;
  const NodeIndex call = isAssigned ? _kernel.GetChild(expression, 1) : expression;
  if (_kernel.GetKind(call) != NodeKind::kCall) return kNoNode;
  std::set<NodeIndex> changed, names;
  if (!isAssigned || !_needsHoist[call]) return call;
  CollectChanges(call, changed);
  _kernel.CollectNames(_kernel.GetChild(expression, 0), names);
  for (const NodeIndex name : names)
    if (changed.contains(name)) return kNoNode;
  return call;
}

Bool HoistPlan::IsCopied(NodeIndex argument) const {
  return _kernel.GetKind(argument) != NodeKind::kName && (IsPart(argument) || _kernel.options.isForGpu);
}

void HoistPlan::CollectChanges(NodeIndex node, std::set<NodeIndex>& changed) const {
  if (!HasHoists(node)) return;
  const auto children = _kernel.tree.GetChildren(node);
  const NodeKind kind = _kernel.GetKind(node);
  if (_needsHoist[node] && kind != NodeKind::kCall && kind != NodeKind::kConstruct)
    changed.insert(_kernel.FindRoot(children[0]));
  if (_needsHoist[node] && kind == NodeKind::kCall && !_tracePlan.IsUnorderedCall(node))
    for (std::size_t i = 0; i < children.size(); ++i)
      if (IsChangedArgument(_kernel.tree, _kernel.resolved, node, i)) changed.insert(_kernel.FindRoot(children[i]));
  for (const NodeIndex child : children) CollectChanges(child, changed);
}

// Whether the place has no plain name that can be assigned to.
Bool HoistPlan::IsPart(NodeIndex place) const {
  return _kernel.resolved.meaning[place].kind == MeaningKind::kSwizzle || IsInColumn(place) ||
         _kernel.IsBoolComponent(place);
}

// Whether the place is a column without a plain name, or a part of one.
Bool HoistPlan::IsInColumn(NodeIndex place) const {
  for (; _kernel.GetKind(place) == NodeKind::kMemberOf || _kernel.GetKind(place) == NodeKind::kIndex;
       place = _kernel.GetChild(place, 0)) {
    const NodeIndex matrix = _kernel.GetChild(place, 0);
    if (_kernel.GetKind(place) != NodeKind::kIndex || !_kernel.IsMatrix(_kernel.resolved.converted[matrix])) continue;
    return _kernel.types[_kernel.resolved.converted[matrix]].count == 2 ||
           !_kernel.FindNumber(_kernel.GetChild(place, 1)) || !_kept.IsSimple(matrix);
  }
  return false;
}

HoistPlan::HoistPlan(const PlainKernel& kernel, const TracePlan& traces, const KeptValues& kept)
    : _kernel(kernel), _tracePlan(traces), _kept(kept) {
  // Children come before their parents.
  _needsHoist.assign(_kernel.tree.nodes.size(), false);
  _hasHoists.assign(_kernel.tree.nodes.size(), false);
  for (NodeIndex node = 0; node < _kernel.tree.nodes.size(); ++node) {
    _needsHoist[node] = FindNeed(node);
    Bool has = _needsHoist[node];
    for (const NodeIndex child : _kernel.tree.GetChildren(node)) has = has || (child != kNoNode && _hasHoists[child]);
    _hasHoists[node] = has;
  }
}

}  // namespace ostra::kernellanguage
