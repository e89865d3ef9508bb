#include "ostra/process/command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "ostra/core/format.h"
#include "ostra/core/split_text.h"
#include "ostra/io/descriptor.h"
#include "ostra/process/process_guard.h"

OSTRA_UNIT("command");

extern "C" char** environ;

namespace ostra {

namespace {

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

// This process's environment, with another folder for temporary files unless `temporaryFolder` is empty.
std::vector<std::string> MakeEnvironment(const std::string& temporaryFolder) {
  std::vector<std::string> entries;
  for (char** entry = environ; entry && *entry; ++entry)
    if (temporaryFolder.empty() || !std::string_view(*entry).starts_with("TMPDIR=")) entries.emplace_back(*entry);
  if (!temporaryFolder.empty()) entries.push_back("TMPDIR=" + temporaryFolder);
  return entries;
}

// Pointers to the texts, with a final null, as the system wants them.
std::vector<char*> MakePointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// Starts the program in a process group, with both outputs going to `output`; returns the error number.
int Spawn(const std::vector<std::string>& command, const std::vector<std::string>& environment, pid_t group, int input,
          int output, pid_t& process) {
  const std::vector<char*> arguments = MakePointers(command), variables = MakePointers(environment);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (input < 0)
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  else
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, group);
  const int code = posix_spawnp(&process, arguments[0], &actions, &attributes, arguments.data(), variables.data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return code;
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

Result<CommandResult> RunCommand(const std::vector<std::string>& command, int input, const std::string& workFolder) {
  OSTRA_ASSIGN_OR_RETURN(const ProcessGuard guard, ProcessGuard::Start(workFolder));
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0)
    return OSTRA_ILLEGAL_STATE("@ cannot be started: @.", command[0], std::strerror(errno));
  pid_t process = 0;
  Descriptor readEnd(ends[0]), writeEnd(ends[1]);
  const int code = Spawn(command, MakeEnvironment(workFolder), guard.GetGroup(), input, writeEnd.Get(), process);
  writeEnd.Close();
  if (code != 0) return OSTRA_ILLEGAL_STATE("@ cannot be started: @.", command[0], std::strerror(code));
  auto output = ReadToEnd(readEnd.Get());
  readEnd.Close();
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  if (!output) return output.TakeError();
  if (!WIFEXITED(status)) return OSTRA_ILLEGAL_STATE("@ was ended by signal @.", command[0], WTERMSIG(status));
  return CommandResult{WEXITSTATUS(status), std::move(*output)};
}

}  // namespace ostra
