// The system's C++ compiler.
#pragma once

#include <string>
#include <vector>

#include "ostra/core/result.h"

namespace ostra::kernelruntime {

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

}  // namespace ostra::kernelruntime
