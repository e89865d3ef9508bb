// Checked kernels: what would leave a buffer, an array or a texture, divide by zero or not end becomes a failure of the
// report (plain_reports.h), and something harmless is done in its place. Texts are given back as they are where nothing
// is checked.
#pragma once

#include "parallelprogram/kernellanguage/plain_groups.h"
#include "parallelprogram/kernellanguage/plain_reports.h"
#include "parallelprogram/kernellanguage/plain_values.h"

namespace ostra::kernellanguage {

class PlainChecks : PlainPart {
 public:
  PlainChecks(const PlainBasis& basis, const CheckPlan& plan, ReportSites& sites, PlainReports& reports,
              PlainValues& values, const PlainGroups& groups)
      : PlainPart(basis), _checkPlan(plan), _sites(sites), _reports(reports), _values(values), _groups(groups) {}

  std::string CheckIndex(NodeIndex node, const std::string& index);
  std::string CheckLayer(NodeIndex call, const std::string& layer);
  // The divisor, with 1 in the place of 0, and of -1 for the least number. `dividend` is written twice.
  std::string CheckDivisor(NodeIndex division, const std::string& divisor, const std::string& dividend);
  // A division whose dividend cannot be written twice is a function.
  std::string CallQuotient(NodeIndex division, const std::string& left, const std::string& right);
  // The condition of a loop, which ends when its invocation has taken too many steps.
  std::string CheckStep(NodeIndex loop, const std::string& condition);
  // Lines behind a loop.
  void PrintLoopEnd(NodeIndex loop);
  // Lines at the beginning of the kernel, before and behind those of the report: steps of loops with barriers, and how
  // many there may be, the same number for all of the group.
  void PrintRoundMemory();
  void PrintRoundStart();

 private:
  std::string CallIndexCheck(NodeIndex node, TypeIndex type, std::size_t site, const std::string& index,
                             const std::string& size);
  std::string WholeNumber(std::string_view digits, Scalar scalar) const;
  std::string DivisorCheckName(TypeIndex left, TypeIndex right) const;
  void WriteDivisorCheck(TypeIndex left, TypeIndex right);

  const CheckPlan& _checkPlan;
  ReportSites& _sites;
  PlainReports& _reports;
  PlainValues& _values;
  const PlainGroups& _groups;
};

}  // namespace ostra::kernellanguage
