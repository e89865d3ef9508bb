// What is left of a compilation when the tool is killed.
#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "tests/tool/kernel_cache_fixture.h"

namespace ostra {
namespace {

namespace fs = std::filesystem;

class KilledToolTest : public KernelCacheTest {
 protected:
  // Takes a compiler that starts a child, like drivers of compilers, kills the tool, and goes on for an hour.
  ToolResult RunAndKill(int signal, const std::string& prologue = {}) {
    const std::string compiler = _folder.Write(
        "compiler", "#!/bin/sh\ncat >/dev/null\n" + prologue + "\ntouch \"$TMPDIR/a_temporary_file\"\nsleep 3600 &\n" +
                        "echo $! >>" + _folder / "processes" + "\necho $$ >>" + _folder / "processes" + "\nkill -" +
                        std::to_string(signal) + " $PPID\nsleep 3600\n");
    fs::permissions(compiler, fs::perms::owner_all);
    Write(MakeKernel("1.0"));
    setenv("CXX", compiler.c_str(), 1);
    ToolResult result = Run();
    unsetenv("CXX");
    return result;
  }
  std::vector<pid_t> GetProcesses() const {
    std::ifstream file(_folder / "processes");
    return {std::istream_iterator<pid_t>(file), {}};
  }
  // Ended ones whose parent has not asked for their status are not running.
  static Bool IsRunning(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t end = text.rfind(") ");
    return end != std::string::npos && text[end + 2] != 'Z' && text[end + 2] != 'X';
  }
  template <class Condition>
  static Bool BecomesTrue(Condition condition) {
    for (int i = 0; i < 1000 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return condition();
  }
  void ExpectNothingLeft() {
    const std::vector<pid_t> processes = GetProcesses();
    ASSERT_EQ(processes.size(), 2u);
    for (const pid_t process : processes)
      EXPECT_TRUE(BecomesTrue([&] { return !IsRunning(process); })) << "process " << process << " runs on";
    EXPECT_TRUE(BecomesTrue([&] { return fs::is_empty(_folder / "cache"); })) << "the folder of the compilation stays";
  }
};

TEST_F(KilledToolTest, NoProcessAndNoFolderStaysOfAToolThatIsKilled) {
  EXPECT_EQ(RunAndKill(SIGKILL).exitStatus, -1);
  ExpectNothingLeft();
}

TEST_F(KilledToolTest, ACompilerThatIgnoresTheFirstSignalIsEndedAllTheSame) {
  EXPECT_EQ(RunAndKill(SIGKILL, "trap '' TERM INT HUP").exitStatus, -1);
  const std::vector<pid_t> processes = GetProcesses();
  ASSERT_EQ(processes.size(), 2u);
  for (const pid_t process : processes)
    EXPECT_TRUE(BecomesTrue([&] { return !IsRunning(process); })) << "process " << process << " runs on";
}

}  // namespace
}  // namespace ostra
