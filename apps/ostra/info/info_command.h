// ostra info: what is there on this machine.
#pragma once

#include <span>

#include "ostra/core/result.h"

namespace ostra::tool {

// Writes GPU devices, or why there is none, modules, classes, interfaces, configuration variables and threads to
// standard output, as tables or as one JSON object. Errors: those of StartHost.
Result<void> ShowInfo(Bool isJson, std::span<const char* const> arguments);

}  // namespace ostra::tool
