// How many invocations of a kernel run at a time on the CPU, and why not more.
#pragma once

#include <string>

#include "ostra/io/url.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"

namespace ostra::tool {

struct LaneReport {
  Int count = 1;       // of invocations at a time
  std::string reason;  // why it is one, for all or part of the kernel: "file:line:column: note: ..."; empty otherwise
};

// Asks the class of the kernel, which is registered. Errors: those of the registry and of
// OpenedKernel::ExplainLanes.
Result<LaneReport> MakeLaneReport(const Url& kernelFile, const kernelruntime::OpenedKernel& opened);

// "16 at a time"
std::string FormatLaneReport(const LaneReport& report);

}  // namespace ostra::tool
