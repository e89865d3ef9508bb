#include "apps/ostra/kernels/compiler.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "apps/ostra/kernels/child_process.h"
#include "apps/ostra/values/text.h"
#include "ostra/core/format.h"

OSTRA_UNIT("compiler");

namespace ostra::tool {

namespace {

// Which file it is and when it was written: asking the program for its version would take longer than a cached run.
std::string MakeStamp(const std::string& file) {
  char* real = realpath(file.c_str(), nullptr);
  std::string stamp = real ? real : file;
  std::free(real);
  struct stat state;
  if (stat(file.c_str(), &state) != 0) return stamp;
  for (const auto number : {Int(state.st_size), Int(state.st_mtim.tv_sec), Int(state.st_mtim.tv_nsec)})
    stamp.append(" ").append(std::to_string(number));
  return stamp;
}

Result<std::string> ReadToEnd(int file) {
  std::string text;
  char buffer[4096];
  while (true) {
    const ssize_t count = read(file, buffer, sizeof(buffer));
    if (count == 0) return text;
    if (count < 0 && errno != EINTR)
      return OSTRA_ILLEGAL_STATE("The output of a program cannot be read: @.", std::strerror(errno));
    if (count > 0) text.append(buffer, static_cast<std::size_t>(count));
  }
}

}  // namespace

std::string FindProgram(const std::string& name) {
  if (name.find('/') != std::string::npos) return access(name.c_str(), X_OK) == 0 ? name : std::string();
  const char* path = std::getenv("PATH");
  for (const std::string_view folder : SplitText(path ? path : "/usr/bin:/bin", ':')) {
    std::string file(folder.empty() ? "." : folder);
    file.append("/").append(name);
    if (access(file.c_str(), X_OK) == 0) return file;
  }
  return {};
}

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
    compiler.stamp += (program.empty() ? word : MakeStamp(program)) + "\n";
  }
  return compiler;
}

Result<std::string> FindSwitchAgainstExcerpts(const Compiler& compiler) {
  std::vector<std::string> command = compiler.command;
  command.emplace_back("--version");
  OSTRA_ASSIGN_OR_RETURN(const CommandResult version, RunCommand(command));
  const Bool isClang = version.output.find("clang") != std::string::npos;
  return std::string(isClang ? "-fno-caret-diagnostics" : "-fno-diagnostics-show-caret");
}

Result<CommandResult> RunCommand(const std::vector<std::string>& command, int input) {
  const auto fail = [&command](int code) {
    return OSTRA_ILLEGAL_STATE("@ cannot be started: @.", command[0], std::strerror(code));
  };
  const std::string program = FindProgram(command[0]);
  if (program.empty()) return fail(ENOENT);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return fail(errno);
  ChildProcess process(program, command, input, ends[1]);
  close(ends[1]);
  auto output = ReadToEnd(ends[0]);
  close(ends[0]);
  const ChildProcess::End end = process.Wait();
  if (end.startError != 0) return fail(end.startError);
  if (!output) return output.TakeError();
  if (!WIFEXITED(end.status)) return OSTRA_ILLEGAL_STATE("@ was ended by signal @.", command[0], WTERMSIG(end.status));
  return CommandResult{WEXITSTATUS(end.status), std::move(*output)};
}

}  // namespace ostra::tool
