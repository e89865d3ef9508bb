// What a run did, for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "apps/ostra/run/run_plan.h"

namespace ostra::tool {

struct RunReport {
  std::string kernel;
  Bool wasCompiled = false;
  Int threadCount = 1;
  std::vector<Float64> milliseconds;                     // of every repetition, in order; at least one
  std::vector<std::pair<std::string, UInt32>> counters;  // their values at the end
};

// A table of what was run, how long it took, what was written and what was counted.
Result<std::string> FormatRunReport(const RunReport& report, const RunOptions& options, const RunPlan& plan);

// The same as one JSON object and a line end.
Result<std::string> FormatRunReportAsJson(const RunReport& report, const RunOptions& options, const RunPlan& plan);

}  // namespace ostra::tool
