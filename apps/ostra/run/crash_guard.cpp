#include "apps/ostra/run/crash_guard.h"

#include <unistd.h>

#include <atomic>
#include <cstring>
#include <iterator>

#include "apps/ostra/tool_error.h"

namespace ostra::tool {

namespace {

// Whole lines, made before anything goes wrong: a handler may do little more than write.
struct Lines {
  std::string outside, division;
  std::atomic_flag isSaid = ATOMIC_FLAG_INIT;
};

Lines& GetLines() {
  // Progress on a terminal is in the line that the message belongs into.
  static const std::string start = isatty(STDERR_FILENO) ? "\r\033[Kostra: " : "ostra: ";
  static Lines lines{start + kOutsideOfBuffers + "\n", start + "the kernel divides a whole number by zero\n"};
  return lines;
}

Lines* theLines = nullptr;

// Several threads may fail at once, and one line is enough.
void HandleSignal(int signal) {
  if (theLines->isSaid.test_and_set())
    while (true) pause();
  const std::string& line = signal == SIGFPE ? theLines->division : theLines->outside;
  // The check of an index has said its line before it aborted.
  if (signal != SIGABRT && write(STDERR_FILENO, line.data(), line.size()) < 0)
    _exit(static_cast<int>(ExitStatus::Failed));
  _exit(static_cast<int>(ExitStatus::Failed));
}

}  // namespace

CrashGuard::CrashGuard(Bool isChecked) {
  theLines = &GetLines();
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &_former[i]);
    if (_former[i].sa_handler != SIG_DFL || (kSignals[i] == SIGABRT && !isChecked)) continue;
    struct sigaction action = {};
    action.sa_handler = HandleSignal;
    sigemptyset(&action.sa_mask);
    sigaction(kSignals[i], &action, nullptr);
  }
}

CrashGuard::~CrashGuard() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &_former[i], nullptr);
}

}  // namespace ostra::tool
