// What kernels print and assert, and checked kernels: the same lines on CPU and GPU.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"
#include "tests/tool/word_values.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

// Whether the tool finds a device: a run on the GPU that must succeed.
bool HasDevice() {
  static const bool hasDevice = [] {
    const TemporaryFolder folder;
    return RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=zeros:4x4", "--out",
                    "result=" + folder / "out.csv", "--backend", "gpu"})
               .exitStatus == 0;
  }();
  return hasDevice;
}

class RunReportTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (GetParam() != std::string("cpu") && !HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    _folder.Write("source.csv", "0.25\n0.5\n3.5\n");
  }
  // Three elements.
  ToolResult RunReport(std::vector<std::string> more = {}, const std::string& limit = "100") {
    std::vector<std::string> command = {"run",       GetTestKernel("../reports/net.example.report.krn"),
                                        "--in",      "source=" + _folder / "source.csv",
                                        "--out",     "target=" + _folder / "out.csv",
                                        "--set",     "count=3",
                                        "--set",     "scale=0.1",
                                        "--set",     "limit=" + limit,
                                        "--backend", GetParam()};
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  }
  // Four elements.
  ToolResult RunWrong(const std::string& settings, const std::vector<std::string>& more = {"--checked"}) {
    std::vector<std::string> command = {"run",       GetTestKernel("../reports/net.example.wrong.krn"),
                                        "--in",      "source=ones:4",
                                        "--out",     "target=" + _folder / "out.csv",
                                        "--backend", GetParam()};
    for (const std::string name : {"count=4", "first=0", "place=3", "divisor=2", "steps=10"}) {
      const bool isGiven = settings.starts_with(name.substr(0, name.find('=') + 1));
      command.insert(command.end(), {"--set", isGiven ? settings : name});
    }
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  }
  // Eight elements, two groups.
  ToolResult RunLimits(const std::vector<std::string>& settings, const std::vector<std::string>& more = {"--checked"}) {
    std::vector<std::string> command = {"run",       GetTestKernel("../reports/net.example.limits.krn"),
                                        "--in",      "target=zeros:8",
                                        "--out",     "target=" + _folder / "out.csv",
                                        "--size",    "8",
                                        "--backend", GetParam()};
    for (const std::string name :
         {"count=8", "column=2", "written=1", "dividend=9", "divisor=-1", "form=0", "rounds=3"}) {
      const auto given = std::find_if(settings.begin(), settings.end(), [&](const std::string& setting) {
        return setting.starts_with(name.substr(0, name.find('=') + 1));
      });
      command.insert(command.end(), {"--set", given == settings.end() ? name : *given});
    }
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  }
  // Four elements, one group.
  ToolResult RunRounds(const std::string& tile, const std::string& place,
                       const std::vector<std::string>& more = {"--checked"}) {
    _folder.Write("limits.raw", BytesOf(std::vector<std::uint32_t>{3, 2}));
    std::vector<std::string> command = {"run",       GetTestKernel("../reports/net.example.rounds.krn"),
                                        "--in",      "limits=" + _folder / "limits.raw",
                                        "--set",     "tile=" + tile,
                                        "--set",     "place=" + place,
                                        "--out",     "target=" + _folder / "out.csv",
                                        "--size",    "4",
                                        "--backend", GetParam()};
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  }
  // The run ends with this error alone, and writes nothing.
  void ExpectFailure(const ToolResult& result, int line, const std::string& text) {
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr(".krn:" + std::to_string(line) + ":"));
    EXPECT_THAT(result.errors, HasSubstr(": error: " + text + "\n"));
    EXPECT_FALSE(std::filesystem::exists(_folder / "out.csv"));
  }

  TemporaryFolder _folder;
};

// The lines without the paths in front of them.
std::string TakeLines(const std::string& output, const std::string& mark = ": invocation") {
  std::string lines;
  for (std::size_t at = 0; at < output.size();) {
    const std::size_t end = output.find('\n', at);
    const std::string line = output.substr(at, end - at);
    if (line.find(mark) != std::string::npos) lines += line.substr(line.find(".krn:") + 5) + "\n";
    at = end + 1;
  }
  return lines;
}

constexpr const char* kLines =
    "21: invocation 0: i = 0, x = 0.025, 100%\n"
    "11: invocation 0: twice 0.025\n"
    "25: invocation 0: m = ((1, 2), (3, 0.025)), (true, false)\n"
    "11: invocation 0: twice 0.025\n"
    "21: invocation 1: i = 1, x = 0.05, 100%\n"
    "11: invocation 1: twice 0.05\n"
    "25: invocation 1: m = ((1, 2), (3, 0.05)), (true, false)\n"
    "11: invocation 1: twice 0.05\n"
    "21: invocation 2: i = 2, x = 0.35, 100%\n"
    "11: invocation 2: twice 0.35\n"
    "25: invocation 2: m = ((1, 2), (3, 0.35)), (true, false)\n"
    "11: invocation 2: twice 0.35\n";

TEST_P(RunReportTest, PrintsAreShownInOrder) {
  const ToolResult result = RunReport();
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(TakeLines(result.output), kLines);
  EXPECT_EQ(_folder.Read("out.csv"), "0.05\n0.1\n0.7\n");
}

TEST_P(RunReportTest, VectorsAndBranchesPrint) {
  _folder.Write("source.csv", "0\n0\n7\n");
  EXPECT_THAT(TakeLines(RunReport().output), HasSubstr("23: invocation 2: large: (0.5, -1, 0.7) 0\n"));
}

TEST_P(RunReportTest, NumbersOf64BitsPrint) {
  const std::string lines[] = {"0.1",
                               "-0.3333333333333333",
                               "1e+300",
                               "5e-324",
                               "-0",
                               "1.7976931348623157e+308",
                               "2.2250738585072014e-308",
                               "2.225073858507201e-308",
                               "-inf",
                               "nan",
                               "2251799813685249.5",
                               "-3"};
  std::vector<double> numbers;
  std::string expected;
  for (const std::string& line : lines) {
    const std::string at = std::to_string(numbers.size());
    expected += "17: invocation " + at + ": x = " + line + ", " + at + "\n";
    if (numbers.size() == 1) expected += "9: invocation 1: in a function -0.6666666666666666\n";
    numbers.push_back(std::strtod(line.c_str(), nullptr));
  }
  _folder.Write("numbers.raw", BytesOf(numbers));
  const ToolResult result =
      RunTool({"run", GetTestKernel("../reports/net.example.wide.krn"), "--in", "source=" + _folder / "numbers.raw",
               "--out", "target=" + _folder / "out.raw", "--set", "count=12", "--size", "12", "--backend", GetParam()});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(TakeLines(result.output), expected);
}

TEST_P(RunReportTest, JsonHasPrintsInAField) {
  const ToolResult result = RunReport({"--json"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  const json prints = json::parse(result.output)["prints"];
  ASSERT_EQ(prints.size(), 12u);
  EXPECT_EQ(prints[0]["line"], 21);
  EXPECT_EQ(prints[0]["column"], 2);
  EXPECT_EQ(prints[0]["invocation"], json({0}));
  EXPECT_EQ(prints[0]["text"], "i = 0, x = 0.025, 100%");
}

TEST_P(RunReportTest, WhatDoesNotFitIsCounted) {
  // Two prints of two numbers are 32 bytes; the rest is lost.
  const ToolResult result = RunReport({"--json", "--print-room", "40"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const json report = json::parse(result.output);
  EXPECT_EQ(report["prints"].size() + report["lostPrints"].get<std::size_t>(), 12u);
  EXPECT_GT(report["lostPrints"], 8);
  EXPECT_THAT(result.errors, HasSubstr("prints did not fit"));
  EXPECT_EQ(json::parse(RunReport({"--json", "--print-room", "0"}).output)["lostPrints"], 12);
}

TEST_P(RunReportTest, IterationsAreNumberedAndRepetitionsPrintOnce) {
  const ToolResult result = RunReport({"--iterations", "2", "--repeat", "2"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr(":21: dispatch 2, invocation 2: i = 2"));
  EXPECT_EQ(TakeLines(result.output, ":21: dispatch 1, invocation 0").size(),
            std::string("21: dispatch 1, invocation 0: i = 0, x = 0.025, 100%\n").size());
}

TEST_P(RunReportTest, QuietAndNoPrintsShowNothing) {
  EXPECT_EQ(RunReport({"--quiet"}).output, "");
  const ToolResult silent = RunReport({"--no-prints"}, "0.1");
  EXPECT_EQ(silent.exitStatus, 0) << silent.errors;
  EXPECT_THAT(silent.output, Not(HasSubstr("invocation")));
  EXPECT_EQ(_folder.Read("out.csv"), "0.05\n0.1\n0.7\n");
}

TEST_P(RunReportTest, TheFirstInvocationThatFailsAnAssertionIsTold) {
  const ToolResult result = RunReport({}, "0.04");
  ExpectFailure(result, 26, "the ASSERT does not hold: x is \"small\", in invocation 1");
  EXPECT_EQ(TakeLines(result.output), kLines) << "prints come before the error";
}

TEST_P(RunReportTest, CheckedKernelsRun) {
  const ToolResult result = RunWrong("");
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(_folder.Read("out.csv"), "1\n1\n4\n0\n");
}

TEST_P(RunReportTest, IndicesOfBuffersAreChecked) {
  ExpectFailure(RunWrong("first=2"), 29, "index 4 is outside the 4 elements of the buffer \"source\", in invocation 2");
  ExpectFailure(RunWrong("first=-1"), 29,
                "index -1 is outside the 4 elements of the buffer \"source\", in invocation 0");
}

TEST_P(RunReportTest, IndicesOfArraysInFunctionsAreChecked) {
  ExpectFailure(RunWrong("place=4"), 16, "index 4 is outside the 4 elements of the array \"table\", in invocation 2");
}

TEST_P(RunReportTest, DivisorsAreChecked) {
  ExpectFailure(RunWrong("divisor=1"), 29, "a whole number is divided by zero (%), in invocation 3");
  ExpectFailure(RunWrong("divisor=0"), 29, "a whole number is divided by zero (%), in invocation 0");
}

TEST_P(RunReportTest, LoopsThatDoNotEndAreEnded) {
  ExpectFailure(RunWrong("steps=-1", {"--checked", "--step-limit", "1000"}), 27,
                "this loop does not end: the loops of one invocation have taken 1000 steps, in invocation 0");
  EXPECT_THAT(RunWrong("steps=-1").errors, HasSubstr("error: this loop does not end"));
  // Four steps are those of the function.
  EXPECT_EQ(RunWrong("steps=996", {"--checked", "--step-limit", "1000"}).exitStatus, 0);
  std::filesystem::remove(_folder / "out.csv");
  ExpectFailure(RunWrong("steps=997", {"--checked", "--step-limit", "1000"}), 27,
                "this loop does not end: the loops of one invocation have taken 1000 steps, in invocation 0");
}

TEST_P(RunReportTest, CheckedKernelsWithBarriersRun) {
  ASSERT_EQ(RunLimits({}, {}).exitStatus, 0);
  const std::string unchecked = _folder.Read("out.csv");
  const ToolResult result = RunLimits({});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(_folder.Read("out.csv"), unchecked);
}

TEST_P(RunReportTest, ColumnsOfMatricesAreChecked) {
  ExpectFailure(RunLimits({"column=3"}), 21, "index 3 is outside the 3 columns of the matrix \"m\", in invocation 1");
  ExpectFailure(RunLimits({"column=-1"}), 21, "index -1 is outside the 3 columns of the matrix \"m\", in invocation 1");
  ExpectFailure(RunLimits({"written=2"}), 20,
                "index 2 is outside the 2 columns of the matrix \"small\", in invocation 0");
}

TEST_P(RunReportTest, TheLeastNumberIsNotDividedByMinusOne) {
  const struct {
    int line;
    const char* sign;
  } forms[] = {{25, "/"}, {27, "%"}, {29, "/"}, {31, "/"}, {35, "%"}, {39, "/"}};
  for (std::size_t form = 0; form < std::size(forms); ++form) {
    const std::string chosen = "form=" + std::to_string(form);
    ExpectFailure(RunLimits({"dividend=-2147483648", chosen}), forms[form].line,
                  "the least whole number is divided by -1 (" + std::string(forms[form].sign) + "), in invocation 2");
    ExpectFailure(RunLimits({"divisor=0", chosen}), forms[form].line,
                  "a whole number is divided by zero (" + std::string(forms[form].sign) + "), in invocation 0");
  }
  EXPECT_EQ(RunLimits({"dividend=-2147483647"}).exitStatus, 0);
}

TEST_P(RunReportTest, LoopsWithBarriersAreEndedTogether) {
  const std::vector<std::string> limited = {"--checked", "--step-limit", "1000"};
  ExpectFailure(RunLimits({"rounds=-1"}, limited), 42,
                "this loop does not end: the loops of one invocation have taken 1000 steps, in invocation 0");
  ExpectFailure(RunLimits({"rounds=1001"}, limited), 42,
                "this loop does not end: the loops of one invocation have taken 1000 steps, in invocation 0");
  EXPECT_EQ(RunLimits({"rounds=1000"}, limited).exitStatus, 0);
}

// What a check notes differs between the invocations, what it gives does not.
TEST_P(RunReportTest, ChecksMayStandInTheConditionsOfLoopsWithBarriers) {
  for (const std::vector<std::string>& checked : {std::vector<std::string>{}, {"--checked"}}) {
    const ToolResult result = RunRounds("4", "1", checked);
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(_folder.Read("out.csv"), "224\n225\n226\n227\n");
    std::filesystem::remove(_folder / "out.csv");
  }
  ExpectFailure(RunRounds("4", "2"), 31, "index 2 is outside the 2 elements of the buffer \"limits\", in invocation 0");
  ExpectFailure(RunRounds("0", "1"), 26, "a whole number is divided by zero (/), in invocation 0");
}

INSTANTIATE_TEST_SUITE_P(Backends, RunReportTest, testing::Values("cpu", "gpu"),
                         [](const auto& tested) { return std::string(tested.param); });

TEST(RunReportWideTest, IntegersOf64BitsPrint) {
  const TemporaryFolder folder;
  folder.Write("ints.krn",
               "#define KERNELINPUTS \\\n(const Block<Int64>) source, \\\n(Block<UInt64>) target\n\n"
               "OSTRA_PARALLEL_KERNEL(Ints, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
               "\tInt64 x = UNIFORM_BUFFER(source)[i];\n\tUInt64 y = UInt64(x);\n\tPRINT(\"%v %v %v\", x, y, i);\n"
               "\tUNIFORM_BUFFER(target)[i] = y;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  folder.Write("source.raw",
               BytesOf(std::vector<std::int64_t>{-1, std::numeric_limits<std::int64_t>::min(), 1ll << 32}));
  const ToolResult result = RunTool({"run", folder / "ints.krn", "--in", "source=" + folder / "source.raw", "--out",
                                     "target=" + folder / "out.raw", "--size", "3", "--backend", "cpu"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(TakeLines(result.output),
            "10: invocation 0: -1 18446744073709551615 0\n"
            "10: invocation 1: -9223372036854775808 9223372036854775808 1\n"
            "10: invocation 2: 4294967296 4294967296 2\n");
}

TEST(RunReportWideTest, DivisionsOf64BitsAreChecked) {
  const TemporaryFolder folder;
  folder.Write("ints.krn",
               "#define KERNELINPUTS \\\n(const Block<Int64>) source, \\\n(const Block<UInt64>) divisors, \\\n"
               "(Block<Int64>) target\n\n"
               "OSTRA_PARALLEL_KERNEL(Ints, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
               "\tInt64 x = UNIFORM_BUFFER(source)[i] / UNIFORM_BUFFER(source)[i + 3u];\n"
               "\tx += Int64(7u / UNIFORM_BUFFER(divisors)[i]);\n"
               "\tUNIFORM_BUFFER(target)[i] = x;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const auto run = [&](std::int64_t dividend, std::int64_t divisor, std::uint64_t last) {
    folder.Write("source.raw", BytesOf(std::vector<std::int64_t>{9, dividend, 8, 3, divisor, 2}));
    folder.Write("divisors.raw", BytesOf(std::vector<std::uint64_t>{7, 7, last}));
    return RunTool({"run", folder / "ints.krn", "--in", "source=" + folder / "source.raw", "--in",
                    "divisors=" + folder / "divisors.raw", "--out", "target=" + folder / "out.raw", "--size", "3",
                    "--backend", "cpu", "--checked"})
        .errors;
  };
  const std::int64_t least = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(run(least, 1, 7), "");
  EXPECT_EQ(ValuesOf<std::int64_t>(folder.Read("out.raw")), (std::vector<std::int64_t>{4, least + 1, 5}));
  EXPECT_THAT(run(least, -1, 7), HasSubstr("ints.krn:9:38: error: the least whole number is divided by -1 (/), in "
                                           "invocation 1"));
  EXPECT_THAT(run(6, 0, 7), HasSubstr("ints.krn:9:38: error: a whole number is divided by zero (/), in invocation 1"));
  EXPECT_THAT(run(6, 1, 0), HasSubstr("ints.krn:10:16: error: a whole number is divided by zero (/), in invocation 2"));
}

TEST(RunReportBothTest, LinesNameTheBackend) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const TemporaryFolder folder;
  folder.Write("body.krn",
               "#define KERNELINPUTS \\\n(Block<UInt32>) target\n\nGROUPSIZE(2, 2, 1)\n\n"
               "OSTRA_PARALLEL_KERNEL(Body, KERNELINPUTS)\n{\n\tuint2 at = InGlobalInvocationID.xy;\n\t"
               "if (at.x == 1u)\n\t\tPRINT(\"%v\", at);\n\tUNIFORM_BUFFER(target)[at.y * 4u + at.x] = 1u;\n}\n"
               "OSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result = RunTool(
      {"run", folder / "body.krn", "--out", "target=" + folder / "out.csv", "--size", "4x2", "--backend", "both"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(TakeLines(result.output),
            "10: invocation (1, 0): (1, 0) [CPU]\n10: invocation (1, 1): (1, 1) [CPU]\n"
            "10: invocation (1, 0): (1, 0) [GPU]\n10: invocation (1, 1): (1, 1) [GPU]\n");
  const ToolResult explained =
      RunTool({"run", folder / "body.krn", "--out", "target=" + folder / "out.csv", "--size", "4x2", "--explain"});
  EXPECT_THAT(explained.errors, HasSubstr("body.krn:10:3: note: no wide form because of PRINT"));
}

TEST(RunReportBothTest, ACheckedKernelOfTheGpuIsOfTheLanguageAlone) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const TemporaryFolder folder;
  folder.Write("body.krn",
               "#define KERNELINPUTS \\\n(Block<UInt32>) target\n\n"
               "OSTRA_PARALLEL_KERNEL(Body, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
               "\tCPU_SCOPE_START\n\tstatic_cast<void>(i);\n\tCPU_SCOPE_END\n\tUNIFORM_BUFFER(target)[i] = 1u;\n}\n"
               "OSTRA_PARALLEL_KERNEL_END\n");
  const std::vector<std::string> command = {
      "run", folder / "body.krn", "--out", "target=" + folder / "out.csv", "--size", "4", "--checked", "--backend"};
  auto onGpu = command, onCpu = command;
  onGpu.push_back("gpu");
  onCpu.push_back("cpu");
  const ToolResult result = RunTool(onGpu);
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("body.krn:7:2: error: a part for the CPU only (CPU_SCOPE_START) is not of the "
                                       "kernel language, and only kernels of it are checked here"));
  EXPECT_EQ(RunTool(onCpu).exitStatus, 0);
}

}  // namespace
}  // namespace ostra
