// What a kernel reports, and which functions do: PRINT, ASSERT, failed checks and the records of traced kernels.
#pragma once

#include <set>

#include "parallelprogram/kernellanguage/plain_check_plan.h"

namespace ostra::kernellanguage {

class ReportPlan {
 public:
  // Both must outlive the plan.
  ReportPlan(const PlainKernel& kernel, const CheckPlan& checks);

  Bool IsReporting() const { return _isReporting; }
  Bool HasFailures() const { return _hasFailures; }
  // Whether functions write records, by themselves or by what they call.
  Bool HasPrintingFunctions() const { return !_printingFunctions.empty(); }
  // Whether records may be written at or below the node.
  Bool HasPrints(NodeIndex node) const { return Contains(node, _printingFunctions, ReportUse::kPrint); }
  Bool IsReportingFunction(NodeIndex function) const { return _reportingFunctions.contains(function); }

 private:
  enum class ReportUse : UInt8 { kPrint, kFailure, kAny };

  Bool IsReport(NodeIndex node, ReportUse use) const;
  // Whether such a report, or a call of one of these functions, is at or below `node`.
  Bool Contains(NodeIndex node, const std::set<NodeIndex>& functions, ReportUse use) const;
  void FindReports();

  const PlainKernel& _kernel;
  const CheckPlan& _checkPlan;
  Bool _isReporting = false, _hasFailures = false;
  // By themselves or by what they call.
  std::set<NodeIndex> _printingFunctions, _failingFunctions, _reportingFunctions;
};

}  // namespace ostra::kernellanguage
