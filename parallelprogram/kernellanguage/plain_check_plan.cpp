#include "parallelprogram/kernellanguage/plain_check_plan.h"

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/plain_report_layout.h"

namespace ostra::kernellanguage {

Bool CheckPlan::NeedsCheck(NodeIndex node) const {
  if (!_kernel.options.hasChecks) return false;
  switch (_kernel.GetKind(node)) {
    case NodeKind::kIndex:
      return !IndexSize(node).empty();
    case NodeKind::kBinary:
    case NodeKind::kAssign:
      return _kernel.IsDivision(node);
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      return true;
    case NodeKind::kCall:
      return _kernel.resolved.meaning[node].word == WordId::kSampleTextureLayer ||
             _kernel.resolved.meaning[node].word == WordId::kFetchTextureLayer;
    default:
      return false;
  }
}

Bool CheckPlan::NeedsRounds(NodeIndex node) const {
  return _kernel.options.hasChecks && IsLoop(_kernel.GetKind(node)) && HasBarrier(node);
}

Bool CheckPlan::HasRounds(NodeIndex node) const {
  if (node == kNoNode || IsExpression(_kernel.GetKind(node))) return false;
  if (NeedsRounds(node)) return true;
  for (const NodeIndex child : _kernel.tree.GetChildren(node))
    if (HasRounds(child)) return true;
  return false;
}

std::string CheckPlan::ReportedSize(std::string_view parameter) const {
  for (std::size_t i = 0; i < _kernel.resolved.parameters.size(); ++i)
    if (_kernel.tree.GetName(_kernel.resolved.parameters[i]) == parameter)
      return Join({kReportBuffer, "[", std::to_string(kFirstReportedSize + i), "]"});
  return "";
}

std::string CheckPlan::IndexSize(NodeIndex node) const {
  const NodeIndex container = _kernel.GetChild(node, 0), index = _kernel.GetChild(node, 1);
  const TypeIndex indexType = _kernel.resolved.converted[index];
  if (indexType != kIntType && indexType != kUIntType) return "";
  if (_kernel.GetKind(container) == NodeKind::kBuffer) return ReportedSize(_kernel.tree.GetName(container));
  const Type& type = _kernel.types[_kernel.resolved.converted[container]];
  const Bool isRow = type.kind == TypeKind::kArray || type.kind == TypeKind::kVector || type.kind == TypeKind::kMatrix;
  if (!isRow || _kernel.FindNumber(index).value_or(type.count) < type.count) return "";
  return Join({std::to_string(type.count), "u"});
}

Bool CheckPlan::HasBarrier(NodeIndex node) const {
  if (node == kNoNode) return false;
  if (_kernel.GetKind(node) == NodeKind::kBarrier || IsGroupWord(_kernel.resolved.meaning[node].word)) return true;
  for (const NodeIndex child : _kernel.tree.GetChildren(node))
    if (HasBarrier(child)) return true;
  return false;
}

}  // namespace ostra::kernellanguage
