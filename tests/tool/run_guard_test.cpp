// Kernels that leave their buffers, and options that would change nothing or lose a result: one line, and no file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr int kDone = 0, kFailed = 1, kBadUsage = 2;
constexpr const char* kOutside =
    "ostra: the kernel reads or writes outside of its buffers; run it with --checked to see where\n";

class RunGuardTest : public testing::Test {
 protected:
  ToolResult Run(const std::string& kernel, std::vector<std::string> options) {
    options.insert(options.begin(), {"run", GetTestKernel(kernel)});
    return RunTool(options);
  }
  // Two elements, from `first` on `count` of which are written.
  ToolResult Fill(const std::string& first, const std::string& count, const std::vector<std::string>& more = {}) {
    std::vector<std::string> options = {"--in",  "target=ones:2",  "--set", "first=" + first,
                                        "--set", "count=" + count, "--out", "target=" + _folder / "out.csv"};
    options.insert(options.end(), more.begin(), more.end());
    if (std::find(more.begin(), more.end(), "divisor=0") == more.end())
      options.insert(options.end(), {"--set", "divisor=1"});
    return Run("net.example.fill.krn", options);
  }
  // 100000 elements, on all threads, with a kernel of one line.
  ToolResult RunBody(const std::string& body, const std::string& functions = {},
                     const std::vector<std::string>& more = {}) {
    _folder.Write("body.krn", "#define KERNELINPUTS \\\n(Int32) unused, \\\n(Block<Int32>) target\n\n" + functions +
                                  "OSTRA_PARALLEL_KERNEL(Body, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\t" +
                                  body + "\n}\nOSTRA_PARALLEL_KERNEL_END\n");
    std::vector<std::string> command = {"run",   _folder / "body.krn", "--in",  "target=zeros:100000",
                                        "--set", "unused=0",           "--out", "target=" + _folder / "out.csv"};
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  }
  void ExpectOneLine(const ToolResult& result, int exitStatus) {
    EXPECT_EQ(result.exitStatus, exitStatus) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(std::filesystem::exists(_folder / "out.csv"));
  }
  void ExpectOutside(const ToolResult& result) {
    ExpectOneLine(result, kFailed);
    EXPECT_EQ(result.errors, kOutside);
  }

  TemporaryFolder _folder;
};

TEST_F(RunGuardTest, AKernelThatStaysInItsBuffersRuns) {
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"--checked"}}) {
    const ToolResult result = Fill("0", "2", more);
    EXPECT_EQ(result.exitStatus, kDone) << result.errors;
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(_folder.Read("out.csv"), "7\n7\n");
  }
}

TEST_F(RunGuardTest, ElementsWrittenRightBehindTheEndAreFound) {
  ExpectOutside(Fill("0", "3"));
  ExpectOutside(Fill("15", "1"));
  ExpectOutside(Fill("2", "1", {"--repeat", "3", "--iterations", "2"}));
}

TEST_F(RunGuardTest, WhatIsFarOutsideEndsTheRunWithALine) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  ExpectOutside(Fill("0", "17"));
  ExpectOutside(Fill("16", "1"));
  ExpectOutside(Fill("60000000", "1"));
  ExpectOutside(Fill("-15", "1"));
  ExpectOutside(Fill("-60000000", "1"));
  const ToolResult zero = Fill("0", "2", {"--set", "divisor=0"});
  ExpectOneLine(zero, kFailed);
  EXPECT_EQ(zero.errors, "ostra: the kernel divides a whole number by zero, or the smallest one by -1\n");
}

TEST_F(RunGuardTest, ADivisionByAZeroThatTheCompilerSeesEndsTheRunWithALine) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const ToolResult result = RunBody("UNIFORM_BUFFER(target)[i] = int(i) / (int(i) - int(i));");
  ExpectOneLine(result, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("ostra: the kernel divides a whole number by zero, or "));
}

TEST_F(RunGuardTest, AKernelThatNeedsMoreStackThanThereIsEndsTheRunWithALine) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const ToolResult result =
      RunBody("int big[8000000]; big[i] = int(i); big[i * 2u] = 3; UNIFORM_BUFFER(target)[i] = big[i * 3u % 7u];");
  ExpectOneLine(result, kFailed);
  EXPECT_EQ(result.errors,
            "ostra: the kernel needs more stack than a thread has: its arrays are too large, or a function calls "
            "itself\n");
}

TEST_F(RunGuardTest, AFunctionThatCallsItselfWithoutEndEndsTheRunWithALine) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const ToolResult result =
      RunBody("UNIFORM_BUFFER(target)[i] = Descend(int(i));",
              "inline int Descend(int x)\n{\n\tint room[64];\n\troom[x & 63] = x;\n\tif (x < 0)\n\t\treturn 0;\n"
              "\treturn Descend((x + 1) & 0xFFFF) + room[(x * 7) & 63];\n}\n\n");
  ExpectOneLine(result, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("ostra: the kernel needs more stack than a thread has"));
}

TEST_F(RunGuardTest, ReadingBehindTheEndIsFoundToo) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  ExpectOutside(Run("net.example.step.krn", {"--in", "now=ones:16", "--in", "next=zeros:1000", "--size", "1000",
                                             "--set", "width=1000", "--out", "next=" + _folder / "out.csv"}));
}

TEST_F(RunGuardTest, ACheckedKernelNamesLineIndexAndBuffer) {
  const ToolResult behind = Fill("0", "3", {"--checked"});
  ExpectOneLine(behind, kFailed);
  EXPECT_THAT(behind.errors, EndsWith("net.example.fill.krn:16:26: error: index 2 is outside the 2 elements of the "
                                      "buffer \"target\", in invocation 0\n"));
  EXPECT_THAT(Fill("-1", "1", {"--checked"}).errors, HasSubstr("index -1 is outside the 2 elements"));
}

TEST_F(RunGuardTest, ACheckedKernelWithItsOwnCppStopsAtAnIndexOutside) {
  const ToolResult result =
      RunBody("auto place = i + 100000u;\n\tUNIFORM_BUFFER(target)[place] = 1;", {}, {"--checked"});
  ExpectOneLine(result, kFailed);
  EXPECT_THAT(result.errors,
              testing::MatchesRegex(".*body.krn:9: error: index 1[0-9]+ is outside the 100000 elements of "
                                    "the buffer \"target\"\n"));
}

TEST_F(RunGuardTest, SeveralThreadsThatFailSayOneLine) {
  ExpectOneLine(Run("net.example.step.krn", {"--checked", "--in", "now=ones:16", "--size", "100000", "--set", "width=5",
                                             "--in", "next=zeros:100000", "--out", "next=" + _folder / "out.csv"}),
                kFailed);
}

TEST_F(RunGuardTest, ACheckedKernelIsKeptBesideTheOther) {
  const std::string cache = _folder / "cache";
  const auto isCompiled = [&](const std::vector<std::string>& flags) {
    std::vector<std::string> more = {"--cache-dir", cache, "--json"};
    more.insert(more.end(), flags.begin(), flags.end());
    return Fill("0", "1", more).output;
  };
  const auto first = isCompiled({}), checked = isCompiled({"--checked"});
  EXPECT_THAT(first, HasSubstr("\"compiled\": true"));
  EXPECT_THAT(checked, HasSubstr("\"compiled\": true"));
  EXPECT_THAT(isCompiled({}), HasSubstr("\"compiled\": false"));
  EXPECT_THAT(isCompiled({"--checked"}), HasSubstr("\"compiled\": false"));
}

TEST_F(RunGuardTest, TheGpuSaysTheSameOfACheckedKernel) {
  if (Fill("0", "1", {"--backend", "gpu"}).exitStatus != kDone)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  std::filesystem::remove(_folder / "out.csv");
  for (const char* count : {"3", "1000"}) {
    const ToolResult result = Fill("0", count, {"--checked", "--backend", "gpu"});
    ExpectOneLine(result, kFailed);
    EXPECT_EQ(result.errors, Fill("0", count, {"--checked"}).errors);
  }
}

TEST_F(RunGuardTest, ExchangesNeedSeveralDispatches) {
  const ToolResult result = Fill("0", "1", {"--swap", "target,target"});
  ExpectOneLine(result, kBadUsage);
  EXPECT_THAT(result.errors, HasSubstr("--swap requires --iterations"));
}

TEST_F(RunGuardTest, TwoOutputsGoToTwoFiles) {
  std::filesystem::create_directory(_folder / "sub");
  const std::string same = _folder / "sub" + "/../out.csv";
  const ToolResult result = Run("net.example.step.krn",
                                {"--in", "now=ones:4", "--out", "now=" + same, "--out", "next=" + _folder / "out.csv"});
  ExpectOneLine(result, kBadUsage);
  EXPECT_THAT(result.errors, HasSubstr("--out: \"now\" and \"next\" would be written to the same file"));
}

TEST_F(RunGuardTest, NoisesThatTheKernelNeverCallsAreRefused) {
  const std::vector<std::string> options = {
      "--size",        "4",     "--set",         "step=0.3", "--set",
      "noiseMode_0=1", "--set", "noiseMode_1=1", "--out",    "values=" + _folder / "out.csv"};
  const ToolResult good = Run("net.example.noises.krn", options);
  EXPECT_EQ(good.exitStatus, kDone) << good.errors;
  std::filesystem::remove(_folder / "out.csv");
  auto more = options;
  more.insert(more.end(), {"--set", "noiseMode_2=1"});
  const ToolResult result = Run("net.example.noises.krn", more);
  ExpectOneLine(result, kBadUsage);
  EXPECT_THAT(result.errors,
              HasSubstr("--set: the kernel calls no noise 2, so that \"noiseMode_2\" would change nothing"));
}

TEST_F(RunGuardTest, CheckedKernelsStopAtIndicesOutsideOfTheirArrays) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const auto run = [&](const std::string& index) {
    return RunBody("float a[4] = {1.0, 2.0, 3.0, 4.0}; UNIFORM_BUFFER(target)[i] = int(a[" + index + "]);", {},
                   {"--checked"});
  };
  const ToolResult outside = run("int(i % 8u)");
  ExpectOneLine(outside, kFailed);
  EXPECT_THAT(outside.errors, testing::MatchesRegex(".*body.krn:8:[0-9]+: error: index 4 is outside the 4 elements of "
                                                    "the array \"a\", in invocation 4\n"));
  const ToolResult below = run("int(i % 4u) - 1");
  ExpectOneLine(below, kFailed);
  EXPECT_THAT(below.errors,
              EndsWith("error: index -1 is outside the 4 elements of the array \"a\", in invocation 0\n"));
  EXPECT_EQ(run("int(i % 4u)").exitStatus, kDone);
}

TEST_F(RunGuardTest, CheckedKernelsThatExchangeValuesStopAtIndicesOutside) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const auto run = [&](const std::string& place, const std::string& element) {
    return RunBody("GROUPSHAREDMEM(int, row, 256)\nuint n = InLocalInvocationID.x;\nrow[" + place +
                       "] = int(n);\ngroupSharedBarrier;\nif (n < 2u) { UNIFORM_BUFFER(target)[" + element +
                       "] = row[1u - n]; }",
                   {}, {"--checked"});
  };
  const ToolResult memory = run("n + 1u", "n");
  ExpectOneLine(memory, kFailed);
  EXPECT_THAT(memory.errors, HasSubstr("error: index 256 is outside the 256 elements of "));
  EXPECT_THAT(memory.errors, HasSubstr("\"row\""));
  const ToolResult buffer = run("n", "n + 99999u");
  ExpectOneLine(buffer, kFailed);
  EXPECT_THAT(
      buffer.errors,
      EndsWith("error: index 100000 is outside the 100000 elements of the buffer \"target\", in invocation 1\n"));
  EXPECT_EQ(run("n", "n").exitStatus, kDone);
}

TEST_F(RunGuardTest, CheckedKernelsStopAtLayersThatATextureDoesNotHave) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const auto run = [&](const std::string& size) {
    return Run("net.example.layers.krn", {"--in", "sheets=zeros:3x2", "--in", "sheets=ones:3x2", "--out",
                                          "corners=" + _folder / "out.csv", "--size", size, "--checked"});
  };
  const ToolResult fits = run("2");
  EXPECT_EQ(fits.exitStatus, kDone) << fits.errors;
  EXPECT_EQ(_folder.Read("out.csv"), "0,0\n1,1\n");
  std::filesystem::remove(_folder / "out.csv");
  const ToolResult outside = run("3");
  ExpectOneLine(outside, kFailed);
  EXPECT_THAT(outside.errors, testing::MatchesRegex(".*layers.krn:11:[0-9]+: error: layer 2 is outside the 2 layers of "
                                                    "the texture \"sheets\", in invocation 2\n"));
}

TEST_F(RunGuardTest, WhatChecksDoNotFindIsNotAnsweredWithTheAdviceToCheck) {
#ifdef OSTRA_SANITIZED
  GTEST_SKIP() << "sanitizers handle faults themselves";
#endif
  const ToolResult result =
      RunBody("Put(CPU_PASS_BUFFER(target), 40000000);",
              "inline void Put(CPU_CONSTREF(KernelBuffer<Int32>) buffer, int place)\n{\n\tbuffer[place] = 1;\n}\n\n",
              {"--checked"});
  ExpectOneLine(result, kFailed);
  EXPECT_EQ(
      result.errors,
      "ostra: the kernel reads or writes outside of its buffers, where --checked does not look: in a buffer or an "
      "array that a function was handed\n");
}

}  // namespace
}  // namespace ostra
