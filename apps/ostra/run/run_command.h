// ostra run: runs a kernel file on data from files.
#pragma once

#include <span>

#include "plans/run/run_options.h"

namespace ostra::tool {

// Compiles the kernel when needed, runs it, writes the outputs and then the report to standard output. `arguments` are
// those of the program, for the configuration. Errors: usage errors and failures, with the message for the user.
Result<void> Run(const plans::RunOptions& options, std::span<const char* const> arguments);

}  // namespace ostra::tool
