// The tool is stopped by a signal while it works.
#include <fcntl.h>
#include <gmock/gmock.h>
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

INSTANTIATE_TEST_SUITE_P(, StoppedToolTest, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGKILL));

}  // namespace
}  // namespace ostra
