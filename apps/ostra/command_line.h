// The command line: which command runs, and with which options.
#pragma once

#include <span>

namespace ostra::tool {

// Carries the command line out, messages included. `arguments` start with the program's name. Returns the exit status.
int RunCommandLine(std::span<const char* const> arguments);

}  // namespace ostra::tool
