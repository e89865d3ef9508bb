#include "ostra/core/diagnostics.h"

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <thread>

#include "ostra/core/host_flags.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

using testing::ElementsAre;

TEST(DiagnosticsTest, ListenersGetEveryLevelAndTheFormattedText) {
  const DiagnosticRecorder diagnostics;
  DiagnosticOutput("@ kernels", 3);
  WarningOutput("slow");
  CriticalOutput("KernelTextureLink not set before @", "start");
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("3 kernels", "slow", "KernelTextureLink not set before start"));
  EXPECT_THAT(diagnostics.GetLevels(),
              ElementsAre(DiagnosticLevel::Information, DiagnosticLevel::Warning, DiagnosticLevel::Critical));
}

TEST(DiagnosticsTest, SeveralListenersHearAndADestroyedOneNoLonger) {
  const DiagnosticRecorder first;
  std::optional<DiagnosticRecorder> second(std::in_place);
  const DiagnosticRecorder third;
  WriteDiagnostic(DiagnosticLevel::Warning, "one");
  EXPECT_THAT(second->GetLines(), ElementsAre("one"));
  second.reset();
  SetDiagnosticStreamLevel(DiagnosticLevel::Critical);
  WriteDiagnostic(DiagnosticLevel::Warning, "two");
  SetDiagnosticStreamLevel(DiagnosticLevel::Warning);
  EXPECT_THAT(first.GetLines(), ElementsAre("one", "two"));
  EXPECT_THAT(third.GetLines(), ElementsAre("one", "two"));
}

TEST(DiagnosticsTest, TheStreamGetsOnlyLinesOfItsLevel) {
  testing::internal::CaptureStderr();
  DiagnosticOutput("not shown");
  WarningOutput("shown");
  SetDiagnosticStreamLevel(DiagnosticLevel::Critical);
  WarningOutput("no longer shown");
  SetDiagnosticStreamLevel(DiagnosticLevel::Warning);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "shown\n");
}

TEST(DiagnosticsTest, TheStreamIsSilentUntilTheLastSilenceEndsAndThenHasItsOldLevel) {
  testing::internal::CaptureStderr();
  SetDiagnosticStreamLevel(DiagnosticLevel::Information);
  std::optional<SilentDiagnosticStream> first(std::in_place), second(std::in_place);
  DebugStop("one");
  first.reset();
  DebugStop("two");
  second.reset();
  DiagnosticOutput("three");
  SetDiagnosticStreamLevel(DiagnosticLevel::Warning);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "three\n");
}

TEST(DiagnosticsTest, WithoutMemoryTheTextKeepsItsPlaceholders) {
  const DiagnosticRecorder diagnostics;
  {
    const FailingAllocation failure(1);
    WarningOutput("The value is @.", 5);
  }
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("The value is @."));
}

TEST(DiagnosticsTest, ADebugStopWritesACriticalLineAndReturns) {
  const DiagnosticRecorder diagnostics;
  const Bool before = g_enableDebugBreak;
  g_enableDebugBreak = false;
  DebugStop("Stop: reached.");
  g_enableDebugBreak = before;
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("Stop: reached."));
  EXPECT_THAT(diagnostics.GetLevels(), ElementsAre(DiagnosticLevel::Critical));
}

// What becomes of a process that runs `action` with a debugger attached.
enum class Fate { Stopped, Ended, NotTraced };
Fate RunTraced(Bool breaks, void (*action)()) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(77);
    g_enableDebugBreak = breaks;
    action();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  if (WIFEXITED(status)) {
    EXPECT_TRUE(WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 77);
    return WEXITSTATUS(status) == 77 ? Fate::NotTraced : Fate::Ended;
  }
  EXPECT_TRUE(WIFSTOPPED(status));
  EXPECT_EQ(WSTOPSIG(status), SIGTRAP);
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return Fate::Stopped;
}

TEST(DiagnosticsTest, AfterACriticalMessageADebuggerStopsUnlessItIsSwitchedOff) {
  const auto stop = [] { DebugStop("Stop: seen by a debugger."); };
  const auto report = [] { CriticalOutput("reported to a @", "debugger"); };
  const auto warn = [] { WarningOutput("no reason to stop"); };
  if (RunTraced(false, warn) == Fate::NotTraced) GTEST_SKIP() << "processes cannot be traced here";
  EXPECT_EQ(RunTraced(true, stop), Fate::Stopped);
  EXPECT_EQ(RunTraced(true, report), Fate::Stopped);
  EXPECT_EQ(RunTraced(true, warn), Fate::Ended);
  EXPECT_EQ(RunTraced(false, stop), Fate::Ended);
  EXPECT_EQ(RunTraced(false, report), Fate::Ended);
}

TEST(DiagnosticsTest, WithoutADebuggerACriticalMessageStopsNothing) {
  const DiagnosticRecorder diagnostics;
  ASSERT_TRUE(g_enableDebugBreak);
  CriticalOutput("nobody stops here");
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("nobody stops here"));
}

TEST(DiagnosticsTest, LinesOfManyThreadsAllArrive) {
  const DiagnosticRecorder diagnostics;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 200; ++i) DiagnosticOutput("line @", i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(diagnostics.GetLines().size(), 800u);
}

}  // namespace
}  // namespace ostra
