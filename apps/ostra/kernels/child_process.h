// Starts other programs that end when this process ends, whatever ends it.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::tool {

// A program that runs, with all programs that it starts, in a process group of its own. A process between it and this
// one waits for it, and ends the group when this process is gone: compilers start others, which no signal to the
// compiler itself would reach.
class ChildProcess {
 public:
  struct End {
    int startError = 0;  // error number when the program was not started, else 0
    int status = 0;      // as of waitpid
  };

  // `file`: path of the program; `input`: its standard input, empty for -1; `output`: where both its outputs go.
  // The descriptors stay the caller's. A failure shows in the end.
  ChildProcess(const std::string& file, const std::vector<std::string>& arguments, int input, int output);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  // Waits for it. To be called once.
  End Wait();

 private:
  pid_t _keeper = -1;   // the process between
  int _report = -1;     // what it says at the end
  int _startError = 0;  // of the process between
};

}  // namespace ostra::tool
