#include "parallelprogram/kernellanguage/plain_report_sites.h"

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

// A field of a table whose fields and lines are separated by tabs and line ends.
std::string MakeField(std::string_view text) {
  std::string field(text);
  for (char& c : field)
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  return field;
}

}  // namespace

std::size_t ReportSites::AddSite(NodeIndex node, std::string_view kind, std::string_view types, std::string_view text) {
  const SourceLocation place = _kernel.sources.Locate(_kernel.tree.nodes[node].offset);
  _sites += Join({kind, "\t", MakeField(place.file), "\t", std::to_string(place.line), "\t",
                  std::to_string(place.column), "\t", types, "\t", MakeField(text), "\n"});
  return _siteCount++;
}

std::size_t ReportSites::AddCheck(NodeIndex node, std::string_view kind, std::string_view types,
                                  std::string_view text) {
  const auto known = _checkSites.find(node);
  if (known != _checkSites.end()) return known->second;
  const std::size_t site = AddSite(node, kind, types, text);
  _checkSites.emplace(node, site);
  return site;
}

Int ReportSites::GetFirstFailure() const {
  return static_cast<Int>(kFirstReportedSize) +
         (_kernel.options.hasChecks ? static_cast<Int>(_kernel.resolved.parameters.size()) : 0) +
         _tracePlan.CountTraceWords();
}

std::string ReportSites::MakeReportTable() const {
  if (!_reportPlan.IsReporting()) return "";
  std::string names;
  for (const NodeIndex parameter : _kernel.resolved.parameters)
    if (_kernel.options.hasChecks) names += Join({"\t", _kernel.tree.GetName(parameter)});
  names += _tracePlan.MakeTraceNames();
  return Join({std::to_string(GetFirstFailure()), "\t", std::to_string(kMaxFailures), "\t",
               std::to_string(GetFirstRecord()), names, "\n", _sites});
}

}  // namespace ostra::kernellanguage
