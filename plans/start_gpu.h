// Starts the backend that GPU programs run on.
#pragma once

#include <string_view>

#include "ostra/host.h"

namespace ostra::plans {

inline constexpr std::string_view kCpuHint = "--backend cpu runs the kernel without one";

// Loads the backend unless it is there, and finds out whether it has a device. Error: illegal state with the hint what
// to do without.
Result<void> StartGpu(Host& host, std::string_view hint = kCpuHint);

}  // namespace ostra::plans
