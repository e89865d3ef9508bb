// A debugger with kernels of `ostra run --debug`.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "ostra/process/command.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class DebugTest : public testing::Test {
 protected:
  void SetUp() override {
    if (FindProgram("gdb").empty()) GTEST_SKIP() << "there is no gdb to test with; Debian's package is gdb";
    // Containers may forbid a process to look into another.
    const auto traced = RunCommand({"gdb", "-nx", "-batch", "-ex", "run", "--args", "/bin/true"});
    if (!traced || traced->output.find("exited normally") == std::string::npos)
      GTEST_SKIP() << "gdb cannot run a program here: " << (traced ? traced->output : "");
  }

  // What gdb writes that runs the tool with the arguments and does what the commands say.
  std::string Debug(const std::vector<std::string>& commands, const std::vector<std::string>& arguments) const {
    setenv("XDG_CACHE_HOME", OSTRA_TEST_CACHE, 1);
    std::vector<std::string> command = {"timeout", "120", "gdb", "-nx", "-batch", "-x", OSTRA_TEST_GDB_SCRIPT};
    for (const std::string& line : commands) command.insert(command.end(), {"-ex", line});
    command.insert(command.end(), {"--args", OSTRA_TEST_TOOL, "run", "--debug"});
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto result = RunCommand(command);
    return result ? result->output : std::string(result.GetError().GetMessage().GetView());
  }

  std::vector<std::string> MakeInvertArguments() const {
    return {GetTestKernel("net.example.invert.krn"),
            "--in",
            "image=ones:3x2",
            "--out",
            "result=" + (_folder / "result.npy"),
            "--set",
            "width=3",
            "--set",
            "height=2"};
  }

  TemporaryFolder _folder;
};

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

struct Session {
  std::vector<std::string> commands, answers;
};

// The lines of the page that begin with gdb's prompt, and those that stand between them.
Session ReadSession(const std::string& page) {
  std::ifstream stream(page);
  Session session;
  Bool isOpen = false;
  for (std::string line; std::getline(stream, line);) {
    constexpr std::string_view kPrompt = "(gdb) ";
    const Bool isCommand = line.starts_with(kPrompt);
    if (isCommand) session.commands.push_back(line.substr(kPrompt.size()));
    if (isOpen && !isCommand && line != "```") session.answers.push_back(line);
    isOpen = isCommand || (isOpen && line != "```");
  }
  return session;
}

TEST_F(DebugTest, TheSessionOfThePageGivesWhatIsPrintedThere) {
  const Session session = ReadSession(OSTRA_TEST_DEBUGGING_PAGE);
  ASSERT_GT(session.commands.size(), 10U);
  const std::string output =
      Debug(session.commands, {std::string(OSTRA_TEST_LIBRARY) + "/net.ostra.kernels.tonemap.krn", "--in",
                               "source=ones:4", "--out", "target=" + (_folder / "mapped.npy"), "--set", "exposure=2",
                               "--set", "white=4", "--set", "gamma=2.2", "--set", "count=4"});
  const std::vector<std::string> lines = SplitLines(output);
  auto at = lines.begin();
  for (const std::string& answer : session.answers) {
    const auto found = std::find(at, lines.end(), answer);
    ASSERT_NE(found, lines.end()) << "\"" << answer << "\" is missing in\n" << output;
    at = found + 1;
  }
}

// Over the ends of several invocations, inside of the dispatch.
TEST_F(DebugTest, SteppingLandsOnLinesOfTheKernelFileOnly) {
  std::vector<std::string> commands = {"break net.example.invert.krn:12", "run", "delete"};
  for (int i = 0; i < 40; ++i)
    commands.insert(commands.end(), {"step", "python print('at', gdb.selected_frame().find_sal().symtab)"});
  const std::string output = Debug(commands, MakeInvertArguments());
  Int count = 0;
  for (const std::string& line : SplitLines(output)) {
    if (!line.starts_with("at ")) continue;
    ++count;
    EXPECT_TRUE(line.ends_with("/net.example.invert.krn")) << line;
  }
  EXPECT_EQ(count, 40) << output;
  EXPECT_THAT(output, AllOf(HasSubstr("ostraLinearInvocation=2"), Not(HasSubstr("include/"))));
}

TEST_F(DebugTest, AnElementThatIsNotThereIsAnError) {
  const std::string output = Debug(
      {"break net.example.invert.krn:20", "run", "print UNIFORM_BUFFER(image)[6]", "print UNIFORM_BUFFER(image)[5]"},
      MakeInvertArguments());
  EXPECT_THAT(output, AllOf(HasSubstr("the buffer has 6 elements, and none with the number 6"),
                            HasSubstr("$1 = {x = 1, y = 1, z = 1, w = 1}")));
}

TEST(DebugRunTest, ResultsAreThoseOfARunWithoutIt) {
  const TemporaryFolder folder;
  for (const char* option : {"", "--debug"}) {
    std::vector<std::string> arguments = {"run", std::string(OSTRA_TEST_LIBRARY) + "/net.ostra.kernels.mandelbrot.krn"};
    arguments.insert(arguments.end(),
                     {"--out", "steps=" + (folder / ("result" + std::string(option) + ".npy")), "--size", "70x30"});
    for (const char* value : {"width=70", "height=30", "left=-2", "top=-1", "pixelSize=0.05", "maximum=100"})
      arguments.insert(arguments.end(), {"--set", value});
    if (*option) arguments.emplace_back(option);
    const ToolResult result = RunTool(arguments);
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    if (*option) {
      EXPECT_THAT(result.output, HasSubstr("threads  1\n"));
    }
  }
  EXPECT_EQ(folder.Read("result.npy"), folder.Read("result--debug.npy"));
}

TEST(DebugRunTest, TheGpuCannotBeDebugged) {
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.invert.krn"), "--debug", "--backend", "gpu"});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.errors,
            "ostra: --debug: kernels are debugged on the CPU only: leave out --backend gpu or give both\n");
}

}  // namespace
}  // namespace ostra
