#include "apps/ostra/output/progress.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "apps/ostra/output/quiet.h"

namespace ostra::tool {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

// What a process whose standard error is a terminal writes there.
template <class Work>
std::string ReadFromTerminal(Work&& work) {
  int terminal = -1;
  const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
  EXPECT_GE(process, 0);
  if (process == 0) {
    work();
    _exit(0);
  }
  std::string text;
  char buffer[256];
  // At the end of the other side a terminal answers with an error.
  for (ssize_t count = 0; (count = read(terminal, buffer, sizeof(buffer))) > 0;)
    text.append(buffer, static_cast<std::size_t>(count));
  close(terminal);
  int status = -1;
  EXPECT_EQ(waitpid(process, &status, 0), process);
  EXPECT_EQ(status, 0);
  return text;
}

class TerminalProgressTest : public testing::Test {
 protected:
  void SetUp() override {
    int terminal = -1, other = -1;
    if (openpty(&terminal, &other, nullptr, nullptr, nullptr) != 0)
      GTEST_SKIP() << "this machine has no terminals to write to";
    close(terminal);
    close(other);
  }
};

TEST_F(TerminalProgressTest, WorkOfUnknownLengthIsAnnouncedAtOnceAndTheLineGoesAway) {
  EXPECT_THAT(ReadFromTerminal([] { const Progress progress("compiling", 0); }),
              AllOf(HasSubstr("compiling ..."), EndsWith("\r\033[K")));
}

TEST_F(TerminalProgressTest, OnlyLongWorkShowsItsShare) {
  EXPECT_EQ(ReadFromTerminal([] {
              Progress progress("running", 4);
              for (int i = 0; i < 4; ++i) progress.Advance();
            }),
            "");
  EXPECT_THAT(
      ReadFromTerminal([] {
        Progress progress("running", 4);
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        progress.Advance();
      }),
      AllOf(HasSubstr("running: [#######-----------------------]  25 %"), HasSubstr(" left"), EndsWith("\r\033[K")));
}

TEST_F(TerminalProgressTest, QuietWorkSaysNothing) {
  EXPECT_EQ(ReadFromTerminal([] {
              SetQuiet(true);
              const Progress progress("compiling", 0);
            }),
            "");
}

TEST_F(TerminalProgressTest, ErasingTakesTheLineAwayOnce) {
  EXPECT_THAT(ReadFromTerminal([] {
                const Progress progress("compiling", 0);
                Progress::Erase();
                Progress::Erase();
              }),
              testing::MatchesRegex("\r.\\[Kcompiling \\.\\.\\.\r.\\[K"));
}

TEST(ProgressLineTest, HasABarTheShareTheRateAndTheTimeThatIsLeft) {
  EXPECT_EQ(FormatProgress("running", 250, 1000, "dispatches", 10, 80),
            "running: [#######-----------------------]  25 %  25 dispatches/s  0:30 left");
  EXPECT_EQ(FormatProgress("running", 1, 7201, "", 1, 80),
            "running: [------------------------------]   0 %  2:00:00 left");
  EXPECT_EQ(FormatProgress("drawing", 1, 3, "pictures", 4, 80),
            "drawing: [##########--------------------]  33 %  0.25 pictures/s  0:08 left");
}

TEST(ProgressLineTest, FitsIntoNarrowTerminals) {
  EXPECT_EQ(FormatProgress("running", 1, 2, "dispatches", 1, 60),
            "running: [######-------]  50 %  1.0 dispatches/s  0:01 left");
  EXPECT_EQ(FormatProgress("running", 1, 2, "dispatches", 1, 40), "running:  50 %  1.0 dispatches/s  0:01 ");
  for (Int columns = 0; columns < 100; ++columns)
    EXPECT_LT(static_cast<Int>(FormatProgress("running", 3, 7, "dispatches", 1, columns).size()),
              std::max<Int>(columns, 1));
}

TEST(ProgressTest, NothingIsWrittenIntoAPipe) {
  testing::internal::CaptureStderr();
  { const Progress progress("compiling", 0); }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace ostra::tool
