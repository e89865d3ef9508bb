// What `ostra parity` has found out, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "conformance/conformance_row.h"
#include "ostra/core/result.h"

namespace ostra::tool {

struct ParityReport {
  std::string device, language;
  std::vector<conformance::ConformanceRow> rows;
};

// A table with what was promised and what was reached, group after group.
std::string FormatParityReport(const ParityReport& report);
// The same as one JSON object and a line end.
std::string FormatParityReportAsJson(const ParityReport& report);

// Error: illegal state with the number of rows that are not held.
Result<void> CheckParityReport(const ParityReport& report);

}  // namespace ostra::tool
