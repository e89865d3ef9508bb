// How many invocations of a kernel run at a time on the CPU, and why not more.
#pragma once

#include <string>

#include "ostra/io/url.h"

namespace ostra::tool {

struct LaneReport {
  Int count = 1;       // of invocations at a time
  std::string reason;  // why it is one: "file:line:column: note: ..."; empty otherwise
};

// Asks the class of the kernel, which is registered. Errors: those of the registry and of ExplainKernelLanes
// (kernels/kernel_source.h).
Result<LaneReport> MakeLaneReport(const Url& kernelFile, std::string_view templateArgument);

// "16 at a time"
std::string FormatLaneReport(const LaneReport& report);

}  // namespace ostra::tool
