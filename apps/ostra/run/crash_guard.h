// What a kernel does to memory that is not its own, said in one line instead of a crash.
#pragma once

#include <csignal>

#include "ostra/core/types.h"
#include "ostra/jobs/signal_stack.h"

namespace ostra::tool {

// What a kernel has done to memory that is not its own. `isChecked`: the kernel was compiled with checks, which have
// not found it.
inline const char* DescribeOutside(Bool isChecked) {
  return isChecked ? "the kernel reads or writes outside of its buffers, where --checked does not look: in a "
                     "buffer or an array that a function was handed"
                   : "the kernel reads or writes outside of its buffers; run it with --checked to see where";
}

// While it lives, a kernel that touches memory outside of everything, divides a whole number by zero, needs more stack
// than there is, or is stopped by a check ends the process with a line on standard error and exit status 1. Outputs are
// written later, so that none is left in halves. Handlers that are there already, such as those of a sanitizer, stay.
// One at a time in a process.
class CrashGuard {
 public:
  // `isChecked`: the kernel is compiled with checks, which write their line themselves.
  explicit CrashGuard(Bool isChecked);
  CrashGuard(const CrashGuard&) = delete;
  CrashGuard& operator=(const CrashGuard&) = delete;
  ~CrashGuard();

 private:
  // Where a compiler sees that a division is one by zero, it writes an instruction that no processor has, or a trap.
  static constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT};

  SignalStack _signalStack;
  struct sigaction _former[6];
};

}  // namespace ostra::tool
