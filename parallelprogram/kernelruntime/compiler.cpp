#include "parallelprogram/kernelruntime/compiler.h"

#include <cstdlib>
#include <filesystem>

#include "ostra/core/format.h"
#include "ostra/core/split_text.h"
#include "ostra/process/command.h"
#include "parallelprogram/kernelruntime/header_state.h"

OSTRA_UNIT("compiler");

namespace ostra::kernelruntime {

namespace {

// Which file it is and when it was written: asking the program for its version would take longer than a cached run.
std::string MakeStamp(const std::string& file) {
  std::error_code code;
  const std::filesystem::path real = std::filesystem::canonical(file, code);
  std::string stamp = code ? file : real.native();
  const auto size = std::filesystem::file_size(stamp, code);
  return code ? stamp : stamp + " " + std::to_string(size) + " " + std::to_string(GetModificationTime(stamp));
}

Result<Bool> IsClang(const Compiler& compiler) {
  std::vector<std::string> command = compiler.command;
  command.emplace_back("--version");
  OSTRA_ASSIGN_OR_RETURN(const CommandResult version, RunCommand(command));
  return version.output.find("clang") != std::string::npos;
}

}  // namespace

Result<Compiler> FindCompiler() {
  const char* chosen = std::getenv("CXX");
  Compiler compiler;
  if (chosen && *chosen) {
    for (const std::string_view word : SplitText(chosen, ' '))
      if (!word.empty()) compiler.command.emplace_back(word);
  } else {
    for (const char* name : {"c++", "g++", "clang++"})
      if (compiler.command.empty() && !FindProgram(name).empty()) compiler.command.emplace_back(name);
  }
  if (compiler.command.empty() || FindProgram(compiler.command[0]).empty())
    return OSTRA_ILLEGAL_STATE(
        "There is no C++ compiler @, which is needed to compile kernels; install one or name it in the environment "
        "variable CXX.",
        chosen && *chosen ? std::string_view(chosen) : std::string_view("c++, g++ or clang++"));
  for (const std::string& word : compiler.command) {
    const std::string program = FindProgram(word);
    // A file with options begins with an at sign.
    compiler.stamp += word + " " + MakeStamp(program.empty() ? word.substr(word.starts_with('@')) : program) + "\n";
  }
  return compiler;
}

Result<std::string> FindSwitchAgainstExcerpts(const Compiler& compiler) {
  OSTRA_ASSIGN_OR_RETURN(const Bool isClang, IsClang(compiler));
  return std::string(isClang ? "-fno-caret-diagnostics" : "-fno-diagnostics-show-caret");
}

CompilerFamily FindFamily(const Compiler& compiler) {
  for (const std::string& word : compiler.command) {
    const std::string program = FindProgram(word);
    if (program.empty()) continue;
    // A link says less than the file that it leads to, and a wrapper such as ccache runs what the link is named after.
    std::error_code code;
    for (const std::string& name : {std::filesystem::canonical(program, code).filename().native(),
                                    std::filesystem::path(program).filename().native()}) {
      if (name.find("clang") != std::string::npos) return CompilerFamily::kClang;
      if (name.find("g++") != std::string::npos || name.find("gcc") != std::string::npos) return CompilerFamily::kGcc;
    }
  }
  return CompilerFamily::kUnknown;
}

std::vector<std::string> GetMessageSwitches(CompilerFamily family) {
  switch (family) {
    case CompilerFamily::kClang:
      return {"-fmacro-backtrace-limit=1"};
    case CompilerFamily::kGcc:
      return {"-ftrack-macro-expansion=0"};
    case CompilerFamily::kUnknown:
      break;
  }
  return {};
}

}  // namespace ostra::kernelruntime
