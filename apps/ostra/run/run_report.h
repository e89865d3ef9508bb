// What a run did, for people and for programs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/ostra/run/first_difference.h"
#include "apps/ostra/run/lane_report.h"
#include "apps/ostra/run/show_prints.h"
#include "plans/profile/profile.h"
#include "plans/run/run_plan.h"

namespace ostra::tool {

// How far the results of the GPU are from those of the CPU.
struct RunDifference {
  Float64 largest = 0;  // distance of two numbers; infinite when one of them is no number
  std::string place;    // of that, as "result[12]"; empty when all bits are the same
};

struct RunReport {
  std::string kernel;
  Bool wasCompiled = false;
  Int threadCount = 1;
  std::optional<LaneReport> lanes;                       // when it was asked for
  std::vector<Float64> milliseconds;                     // of every repetition, in order; at least one
  std::vector<Float64> gpuMilliseconds;                  // the same on the GPU, when the kernel ran on both
  std::vector<std::pair<std::string, UInt32>> counters;  // their values at the end
  std::vector<PrintedLine> prints;                       // for JSON; otherwise they were written
  Int lostPrints = 0;                                    // that there was no room for
  RunDifference difference;                              // when the kernel ran on both
  std::optional<FirstDifference> firstDifference;        // when it was asked for and there is one
  std::optional<plans::ProfileReport> profile;           // when it was asked for
};

// A table of what was run, how long it took, what was written and what was counted.
Result<std::string> FormatRunReport(const RunReport& report, const plans::RunOptions& options,
                                    const plans::RunPlan& plan);

// The same as one JSON object and a line end.
Result<std::string> FormatRunReportAsJson(const RunReport& report, const plans::RunOptions& options,
                                          const plans::RunPlan& plan);

}  // namespace ostra::tool
