#include "parallelprogram/kernellanguage/plain_report_plan.h"

namespace ostra::kernellanguage {
ReportPlan::ReportPlan(const PlainKernel& kernel, const CheckPlan& checks) : _kernel(kernel), _checkPlan(checks) {
  FindReports();
}

Bool ReportPlan::IsReport(NodeIndex node, ReportUse use) const {
  const NodeKind kind = _kernel.GetKind(node);
  if (_kernel.options.isTraced) return false;
  if (kind == NodeKind::kPrint) return _kernel.options.hasReports && use != ReportUse::kFailure;
  if (use == ReportUse::kPrint) return false;
  return (kind == NodeKind::kAssert && _kernel.options.hasReports) || _checkPlan.NeedsCheck(node);
}

Bool ReportPlan::Contains(NodeIndex node, const std::set<NodeIndex>& functions, ReportUse use) const {
  if (node == kNoNode) return false;
  if (IsReport(node, use)) return true;
  if (_kernel.resolved.meaning[node].kind == MeaningKind::kFunction &&
      functions.contains(_kernel.resolved.meaning[node].target))
    return true;
  for (const NodeIndex child : _kernel.tree.GetChildren(node))
    if (Contains(child, functions, use)) return true;
  return false;
}

// Functions stand in front of those that call them.
void ReportPlan::FindReports() {
  if (_kernel.options.isTraced) {
    _isReporting = true;
    for (const NodeIndex function : _kernel.resolved.functions)
      if (_kernel.isUsed[function]) _printingFunctions.insert(function);
    _reportingFunctions = _printingFunctions;
    return;
  }
  if (!_kernel.options.hasReports && !_kernel.options.hasChecks) return;
  for (const NodeIndex function : _kernel.resolved.functions) {
    if (!_kernel.isUsed[function]) continue;
    const NodeIndex body = _kernel.tree.GetChildren(function).back();
    if (Contains(body, _printingFunctions, ReportUse::kPrint)) _printingFunctions.insert(function);
    if (Contains(body, _failingFunctions, ReportUse::kFailure)) _failingFunctions.insert(function);
    if (Contains(body, _reportingFunctions, ReportUse::kAny)) _reportingFunctions.insert(function);
  }
  _isReporting = Contains(_kernel.tree.kernel, _reportingFunctions, ReportUse::kAny);
  _hasFailures = Contains(_kernel.tree.kernel, _failingFunctions, ReportUse::kFailure);
}

}  // namespace ostra::kernellanguage
