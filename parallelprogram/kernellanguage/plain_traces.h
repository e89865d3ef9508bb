// Traced kernels: one invocation records the values that it writes, line by line, and every invocation that stores into
// one watched element of a buffer, or changes a watched counter, records that. The records are those of PRINT
// (plain_reports.h), with the text "name = %v"; in functions "Function: name = %v". Nothing in kernels that are not
// traced.
#pragma once

#include "parallelprogram/kernellanguage/plain_report_words.h"
#include "parallelprogram/kernellanguage/plain_reports.h"

namespace ostra::kernellanguage {

class PlainExpressions;

class PlainTraces : PlainPart {
 public:
  PlainTraces(const PlainBasis& basis, const TracePlan& tracePlan, ReportSites& sites, ReportWords& words,
              PlainReports& reports, PlainExpressions& expressions)
      : PlainPart(basis),
        _tracePlan(tracePlan),
        _sites(sites),
        _words(words),
        _reports(reports),
        _expressions(expressions) {}

  // Records of what stands before: of a declared variable, of what an expression changes, of the parameters of a
  // function, of these variables and places, of a value that is returned under this name.
  void TraceVariable(NodeIndex variable);
  void TraceChanged(NodeIndex expression);
  void TraceParameters(NodeIndex function);
  void TraceAll(const std::vector<NodeIndex>& traced);
  void TraceReturned(NodeIndex node, const std::string& name, TypeIndex type);

 private:
  struct TracedValue {
    std::string format, types;
    std::vector<std::string> words;
  };
  void AddTraced(const std::string& value, TypeIndex type, TracedValue& traced);
  std::string NamePlace(NodeIndex place, TracedValue& indices);
  std::string MakeWatchCondition(NodeIndex place);
  std::string MakeWatchTest(std::string_view parameter, const std::string& element) const;
  std::string PrefixOfTrace() const;
  void TraceValue(NodeIndex node, const std::string& name, TracedValue indices, const std::string& value,
                  TypeIndex type, const std::string& watched = {});
  void OpenRecord(NodeIndex node, const std::string& watched);
  void CloseRecord(NodeIndex node, const TracedValue& traced);
  void TracePlace(NodeIndex place, const std::vector<NodeIndex>& changed);
  void TraceCounted(NodeIndex atomic, const std::vector<NodeIndex>& changed);

  const TracePlan& _tracePlan;
  ReportSites& _sites;
  ReportWords& _words;
  PlainReports& _reports;
  PlainExpressions& _expressions;
};

}  // namespace ostra::kernellanguage
