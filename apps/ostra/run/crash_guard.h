// What a kernel does to memory that is not its own, said in one line instead of a crash.
#pragma once

#include <csignal>

#include "ostra/core/types.h"

namespace ostra::tool {

inline constexpr const char* kOutsideOfBuffers =
    "the kernel reads or writes outside of its buffers; run it with --checked to see where";

// While it lives, a kernel that touches memory outside of everything, divides a whole number by zero, or is stopped by
// a check ends the process with a line on standard error and exit status 1. Outputs are written later, so that none is
// left in halves. Handlers that are there already, such as those of a sanitizer, stay. One at a time in a process.
class CrashGuard {
 public:
  // `isChecked`: the kernel is compiled with checks, which write their line themselves.
  explicit CrashGuard(Bool isChecked);
  CrashGuard(const CrashGuard&) = delete;
  CrashGuard& operator=(const CrashGuard&) = delete;
  ~CrashGuard();

 private:
  static constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGABRT};
  struct sigaction _former[4];
};

}  // namespace ostra::tool
