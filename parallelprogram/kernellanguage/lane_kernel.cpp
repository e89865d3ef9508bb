#include "parallelprogram/kernellanguage/lane_kernel.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/operations.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kComponents[] = {"x", "y", "z", "w"};

}  // namespace

LaneForm LaneKernel::FormOf(NodeIndex node) const {
  const Uniformity& value = uniformity.Get(node);
  if (value.IsSame()) return LaneForm::kShared;
  return value.variance == Variance::kLinear ? LaneForm::kLinear : LaneForm::kLanes;
}

Bool LaneKernel::IsCount(NodeIndex name) const {
  const Meaning& meaning = resolved.meaning[name];
  return tree.Is(name, NodeKind::kName) && meaning.kind == MeaningKind::kVariable &&
         uniformity.isCounter[meaning.target] && FormOf(name) == LaneForm::kShared;
}

Bool LaneKernel::IsHarmless(NodeIndex node) const {
  switch (tree.nodes[node].kind) {
    case NodeKind::kAssign:
    case NodeKind::kPostfix:
    case NodeKind::kIndex:
    case NodeKind::kLocalData:
      return false;
    case NodeKind::kUnary:
      if (IsStep(tree.nodes[node].operation)) return false;
      break;
    case NodeKind::kBinary: {
      const Operation operation = tree.nodes[node].operation;
      const Bool isDivision = operation == Operation::kDivide || operation == Operation::kRemainder;
      if (isDivision && !IsFloating(types[resolved.computed[node]].scalar)) return false;
      break;
    }
    case NodeKind::kCall:
      if (resolved.meaning[node].kind != MeaningKind::kWord || GetOverloads(resolved.meaning[node].word).empty())
        return false;
      break;
    default:
      break;
  }
  for (const NodeIndex child : tree.GetChildren(node)) {
    if (child != kNoNode && !IsHarmless(child)) return false;
  }
  return true;
}

Bool LaneKernel::IsDivisor(NodeIndex node) const {
  LiteralValue value;
  if (tree.nodes[node].kind != NodeKind::kLiteral || !ParseLiteral(tree.GetName(node), value)) return false;
  return (value.scalar == Scalar::kInt32 || value.scalar == Scalar::kUInt32) && value.integer != 0;
}

Bool LaneKernel::ChangesArguments(NodeIndex call) const {
  if (tree.nodes[call].kind != NodeKind::kCall || resolved.meaning[call].kind != MeaningKind::kFunction) return false;
  const auto parameters = tree.GetChildren(resolved.meaning[call].target);
  return std::any_of(parameters.begin() + 1, parameters.end() - 1,
                     [this](NodeIndex parameter) { return SetsArgument(tree.nodes[parameter].flags); });
}

Bool LaneKernel::HasChangingCall(NodeIndex expression) const {
  const auto children = tree.GetChildren(expression);
  return ChangesArguments(expression) || std::any_of(children.begin(), children.end(), [this](NodeIndex child) {
           return child != kNoNode && HasChangingCall(child);
         });
}

std::string_view LaneKernel::PartName(NodeIndex node) const {
  return types.IsVector(resolved.type[tree.GetChild(node, 0)]) ? kComponents[resolved.meaning[node].number & 3]
                                                               : tree.GetName(node);
}

NodeIndex LaneKernel::FindRoot(NodeIndex place) const {
  while (tree.nodes[place].kind == NodeKind::kMemberOf || tree.nodes[place].kind == NodeKind::kIndex)
    place = tree.GetChild(place, 0);
  return resolved.meaning[place].target;
}

NodeIndex LaneKernel::FindElement(NodeIndex place, std::string& path) const {
  path.clear();
  for (; tree.nodes[place].kind == NodeKind::kMemberOf || tree.nodes[place].kind == NodeKind::kIndex;
       place = tree.GetChild(place, 0)) {
    if (tree.nodes[place].kind == NodeKind::kMemberOf) {
      path.insert(0, Join({".", PartName(place)}));
      continue;
    }
    if (names.IsMemory(tree.GetChild(place, 0))) return place;
    if (tree.nodes[tree.GetChild(place, 1)].kind != NodeKind::kLiteral) return kNoNode;
    path.insert(0, Join({"[", tree.GetName(tree.GetChild(place, 1)), "]"}));
  }
  return kNoNode;
}

}  // namespace ostra::kernellanguage
