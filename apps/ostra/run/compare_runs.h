// Compares what two programs have computed.
#pragma once

#include <optional>

#include "apps/ostra/run/run_report.h"
#include "plans/run/program_run.h"

namespace ostra::tool {

// The largest distance of two numbers in the buffers of the plan, and of two counters. Elements that are no numbers, or
// vectors of them, are compared byte by byte. Errors: those of reading the buffers back.
Result<RunDifference> CompareRuns(const plans::RunPlan& plan, const plans::ProgramRun& one,
                                  const plans::ProgramRun& other);

// A number of an element, or a counter, that differs.
struct ElementDifference {
  std::string place;  // "result[12]", in a struct "result[12].mass"; the name of a counter
  InternedId name;    // of the buffer or counter
  Int element = -1;   // of the buffer; -1 for a counter
  std::string cpu, gpu;
};

// The first difference: of the buffers in the order of the plan, element by element, then of the counters. `bound`: a
// larger distance is one; 0: other bits are. Errors: those of reading the buffers back.
Result<std::optional<ElementDifference>> FindDifference(const plans::RunPlan& plan, const plans::ProgramRun& one,
                                                        const plans::ProgramRun& other, Float64 bound);

}  // namespace ostra::tool
