// Compares what two programs have computed.
#pragma once

#include "apps/ostra/run/program_run.h"
#include "apps/ostra/run/run_report.h"

namespace ostra::tool {

// The largest distance of two numbers in the buffers of the plan, and of two counters. Elements that are no numbers, or
// vectors of them, are compared byte by byte. Errors: those of reading the buffers back.
Result<RunDifference> CompareRuns(const RunPlan& plan, const ProgramRun& one, const ProgramRun& other);

}  // namespace ostra::tool
