// The system's C++ compiler, run without a shell.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::tool {

// The file that would be run for a program's name, looked for in PATH; empty when there is none.
std::string FindProgram(const std::string& name);

struct Compiler {
  std::vector<std::string> command;  // the program and arguments that always come first
  // Changes when another compiler, or another version of it, would be run.
  std::string stamp;
};

// The compiler that the environment variable CXX names, else the first of c++, g++ and clang++ that is there.
// Error: illegal state when there is none.
Result<Compiler> FindCompiler();

// The compiler's switch for messages that show no lines of the source. Error: illegal state when it cannot be started.
Result<std::string> FindSwitchAgainstExcerpts(const Compiler& compiler);

enum class CompilerFamily { kUnknown, kGcc, kClang };

// By the names of the programs in the command, so that nothing runs before the compilation.
CompilerFamily FindFamily(const Compiler& compiler);

// The compiler's switches for messages at the line of a file where a macro is used, not in the macro. None for unknown
// families.
std::vector<std::string> GetMessageSwitches(CompilerFamily family);

struct CommandResult {
  int exitStatus = 0;
  std::string output;  // standard output and standard error together
};

// Runs a program and waits for its end; `input` is the file that it gets as standard input, -1 for none. `workFolder`,
// unless empty, is where the program keeps temporary files. When this process is killed meanwhile, the program and
// those that it has started are ended, and the folder is removed. Errors: illegal state when it cannot be started or is
// ended by a signal.
Result<CommandResult> RunCommand(const std::vector<std::string>& command, int input = -1,
                                 const std::string& workFolder = {});

}  // namespace ostra::tool
