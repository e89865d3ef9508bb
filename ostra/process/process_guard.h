// Ends the programs that this process has started when this process is killed, even by SIGKILL.
//
//   OSTRA_ASSIGN_OR_RETURN(const ProcessGuard guard, ProcessGuard::Start(workFolder));
//   // start programs in the process group guard.GetGroup(), and wait for them
#pragma once

#include <sys/types.h>

#include <string>

#include "ostra/core/result.h"

namespace ostra {

// A child process that leads a process group of its own and waits. When this process ends before the guard, the child
// ends the group, and removes `folder` with the files in it unless the name is empty.
class ProcessGuard {
 public:
  // Error: illegal state when the system has no process left.
  static Result<ProcessGuard> Start(const std::string& folder);

  ProcessGuard(ProcessGuard&& other) noexcept : _process(other._process) { other._process = 0; }
  ProcessGuard& operator=(ProcessGuard&& other) = delete;
  ~ProcessGuard();

  pid_t GetGroup() const { return _process; }

 private:
  explicit ProcessGuard(pid_t process) : _process(process) {}

  pid_t _process;  // 0: moved away
};

}  // namespace ostra
