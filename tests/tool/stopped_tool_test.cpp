// The tool is stopped by a signal while it works.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using namespace std::chrono_literals;

// Asks again for up to ten seconds.
template <class Condition>
Bool WaitFor(Condition&& condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(10ms);
  }
  return condition();
}

class StoppedToolTest : public testing::TestWithParam<int> {
 protected:
  // A compiler that starts a program, as real ones do, says its number and never ends.
  std::string MakeEndlessCompiler() const {
    const std::string file =
        _folder.Write("compiler", "#!/bin/sh\nsleep 600 &\necho $$ $! > " + _folder / "begun.new" + "\nmv " +
                                      _folder / "begun.new" + " " + _folder / "begun" + "\nwait\n");
    chmod(file.c_str(), 0755);
    return file;
  }

  pid_t Start() const {
    const std::string kernel = GetTestKernel("net.example.invert.krn"), compiler = MakeEndlessCompiler(),
                      cache = _folder / "cache";
    const pid_t tool = fork();
    if (tool != 0) return tool;
    setenv("CXX", compiler.c_str(), 1);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    execl(OSTRA_TEST_TOOL, OSTRA_TEST_TOOL, "run", kernel.c_str(), "--cache-dir", cache.c_str(), nullptr);
    _exit(127);
  }

  TemporaryFolder _folder;
};

TEST_P(StoppedToolTest, TheCompilerAndWhatItHasStartedEndWithTheTool) {
  const pid_t tool = Start();
  ASSERT_GT(tool, 0);
  ASSERT_TRUE(WaitFor([&] { return std::filesystem::exists(_folder / "begun"); }));
  pid_t compiler = 0, started = 0;
  std::ifstream(_folder / "begun") >> compiler >> started;
  ASSERT_GT(compiler, 0);
  ASSERT_GT(started, 0);
  kill(tool, GetParam());
  int status = 0;
  ASSERT_EQ(waitpid(tool, &status, 0), tool);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == GetParam());
  // What has ended may still be waiting for its parent to ask.
  const auto isGone = [](pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string number, name, state;
    return !(file >> number >> name >> state) || state == "Z";
  };
  EXPECT_TRUE(WaitFor([&] { return isGone(compiler); }));
  EXPECT_TRUE(WaitFor([&] { return isGone(started); }));
}

// Ctrl-C in the middle of a long run: what was typed last and how the terminal is left.
TEST(StoppedRunTest, TheTerminalIsLeftWithoutALineOfProgress) {
  const TemporaryFolder folder;
  const std::string kernel = GetTestKernel("net.example.invert.krn");
  // Compiled before: the first line is that of the run.
  const std::vector<std::string> work = {
      "run", kernel, "--in", "image=ones:512x512", "--out", "result=" + (folder / "out.npy")};
  ASSERT_EQ(RunTool(work).exitStatus, 0);
  int terminal = -1;
  const pid_t tool = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (tool < 0) GTEST_SKIP() << "this machine has no terminals to write to";
  if (tool == 0) {
    execl(OSTRA_TEST_TOOL, OSTRA_TEST_TOOL, work[0].c_str(), work[1].c_str(), work[2].c_str(), work[3].c_str(),
          work[4].c_str(), work[5].c_str(), "--iterations", "1000000000", nullptr);
    _exit(127);
  }
  std::string text;
  char buffer[256];
  Bool isStopped = false;
  for (ssize_t count = 0; (count = read(terminal, buffer, sizeof(buffer))) > 0;) {
    text.append(buffer, static_cast<std::size_t>(count));
    if (!isStopped && text.find(" left") != std::string::npos) isStopped = write(terminal, "\x03", 1) == 1;
  }
  close(terminal);
  int status = 0;
  ASSERT_EQ(waitpid(tool, &status, 0), tool);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
  EXPECT_THAT(text, testing::HasSubstr("running: ["));
  EXPECT_THAT(text, testing::HasSubstr(" dispatches/s  "));
  EXPECT_THAT(text, testing::EndsWith("\r\033[K"));
}

INSTANTIATE_TEST_SUITE_P(, StoppedToolTest, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL));

}  // namespace
}  // namespace ostra
