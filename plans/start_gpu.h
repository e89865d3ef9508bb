// Starts the backend that GPU programs run on.
#pragma once

#include <string_view>

#include "ostra/host.h"

namespace ostra::plans {

// Loads the backend unless it is there, and finds out whether it has a device. Error: illegal state with the hint what
// to do without.
Result<void> StartGpu(Host& host, std::string_view hint);

}  // namespace ostra::plans
