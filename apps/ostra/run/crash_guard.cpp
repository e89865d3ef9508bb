#include "apps/ostra/run/crash_guard.h"

#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <iterator>

#include "apps/ostra/tool_error.h"

namespace ostra::tool {

namespace {

// Whole lines, made before anything goes wrong: a handler may do little more than write.
struct Lines {
  std::string outside, outsideChecked, division, trap, stack;
  std::atomic_flag isSaid = ATOMIC_FLAG_INIT;
};

Lines& GetLines() {
  // Progress on a terminal is in the line that the message belongs into.
  static const std::string start = isatty(STDERR_FILENO) ? "\r\033[Kostra: " : "ostra: ";
  static Lines lines{start + DescribeOutside(false) + "\n", start + DescribeOutside(true) + "\n",
                     start + "the kernel divides a whole number by zero, or the smallest one by -1\n",
                     start + "the kernel divides a whole number by zero, or does what has no result either\n",
                     start +
                         "the kernel needs more stack than a thread has: its arrays are too large, or a function "
                         "calls itself\n"};
  return lines;
}

Lines* theLines = nullptr;
Bool theKernelIsChecked = false;

// Null for processors of which it is not known here.
const void* GetStackPointer(const void* context) {
  [[maybe_unused]] const auto& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
  return reinterpret_cast<const void*>(machine.gregs[REG_RSP]);
#elif defined(__aarch64__)
  return reinterpret_cast<const void*>(machine.sp);
#else
  return nullptr;
#endif
}

const std::string& ChooseLine(int signal, const void* context) {
  if (signal == SIGFPE) return theLines->division;
  if (signal == SIGILL || signal == SIGTRAP) return theLines->trap;
  const void* const stackPointer = GetStackPointer(context);
  return stackPointer && SignalStack::IsUsedUp(stackPointer) ? theLines->stack
         : theKernelIsChecked                                ? theLines->outsideChecked
                                                             : theLines->outside;
}

// Several threads may fail at once, and one line is enough.
void HandleSignal(int signal, siginfo_t*, void* context) {
  if (theLines->isSaid.test_and_set())
    while (true) pause();
  const std::string& line = ChooseLine(signal, context);
  // The check of an index has said its line before it aborted.
  if (signal != SIGABRT && write(STDERR_FILENO, line.data(), line.size()) < 0)
    _exit(static_cast<int>(ExitStatus::Failed));
  _exit(static_cast<int>(ExitStatus::Failed));
}

}  // namespace

CrashGuard::CrashGuard(Bool isChecked) {
  static_assert(std::size(kSignals) == sizeof(_former) / sizeof(_former[0]));
  theLines = &GetLines();
  theKernelIsChecked = isChecked;
  SignalStack::RequestForWorkers();
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &_former[i]);
    if (_former[i].sa_handler != SIG_DFL || (kSignals[i] == SIGABRT && !isChecked)) continue;
    struct sigaction action = {};
    action.sa_sigaction = HandleSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    sigaction(kSignals[i], &action, nullptr);
  }
}

CrashGuard::~CrashGuard() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &_former[i], nullptr);
}

}  // namespace ostra::tool
