// The places of a kernel that report, as the table from which the host reads reports.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "parallelprogram/kernellanguage/plain_report_layout.h"
#include "parallelprogram/kernellanguage/plain_report_plan.h"
#include "parallelprogram/kernellanguage/plain_trace_plan.h"

namespace ostra::kernellanguage {

class ReportSites {
 public:
  // All must outlive the sites.
  ReportSites(const PlainKernel& kernel, const ReportPlan& plan, const TracePlan& traces)
      : _kernel(kernel), _reportPlan(plan), _tracePlan(traces) {}

  // The number of a new site. `types`: codes of the numbers behind its head (ReportWords), separated by commas.
  std::size_t AddSite(NodeIndex node, std::string_view kind, std::string_view types, std::string_view text);
  // A place that is written several times is one.
  std::size_t AddCheck(NodeIndex node, std::string_view kind, std::string_view types, std::string_view text);

  Int GetFirstFailure() const;
  Int GetFirstRecord() const { return GetFirstFailure() + kMaxFailures * kWordsOfFailure; }
  // Empty for a kernel that reports nothing.
  std::string MakeReportTable() const;

 private:
  const PlainKernel& _kernel;
  const ReportPlan& _reportPlan;
  const TracePlan& _tracePlan;
  std::string _sites;  // lines of the table
  std::size_t _siteCount = 0;
  std::map<NodeIndex, std::size_t> _checkSites;
};

}  // namespace ostra::kernellanguage
