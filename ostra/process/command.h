// Programs of the system, found and run without a shell.
//
//   OSTRA_ASSIGN_OR_RETURN(const CommandResult result, RunCommand({"c++", "--version"}));
//   if (result.exitStatus != 0) ...
//
// Thread-safe. Throws std::bad_alloc.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/export.h"
#include "ostra/core/result.h"

namespace ostra {

// The file that would be run for a program's name, looked for in PATH; empty when it is not found.
OSTRA_API std::string FindProgram(const std::string& name);

struct CommandResult {
  int exitStatus = 0;
  std::string output;  // standard output and standard error together
};

// Runs a program and waits for its end; `input` is the file that it gets as standard input, -1 for none. `workFolder`,
// unless empty, is where the program keeps temporary files. When this process is killed meanwhile, the program and
// those that it has started are ended, and the folder is removed. Errors: illegal state when it cannot be started or is
// ended by a signal.
OSTRA_API Result<CommandResult> RunCommand(const std::vector<std::string>& command, int input = -1,
                                           const std::string& workFolder = {});

}  // namespace ostra
