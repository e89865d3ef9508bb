#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <thread>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;

std::string MakeKernel(const std::string& expression) {
  return "#define KERNELINPUTS \\\n(Block<Float32>) values\n\nGROUPSIZE(64, 1, 1)\n\n"
         "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(values)[InGlobalInvocationID.x] = " +
         expression + ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

// One kernel file, and a cache of its own.
class KernelCacheTest : public testing::Test {
 protected:
  void Write(const std::string& text) { _folder.Write("test.krn", text); }

  ToolResult Run(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments = {
        "run",    _folder / "test.krn", "--in",           "values=zeros:1", "--out", "values=" + _folder / "out.csv",
        "--json", "--cache-dir",        _folder / "cache"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments);
  }
  // Whether the kernel was compiled, and what it computed.
  std::pair<Bool, std::string> Compute(const std::vector<std::string>& options = {}) {
    const ToolResult result = Run(options);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return {nlohmann::json::parse(result.output).at("compiled").get<Bool>(), _folder.Read("out.csv")};
  }
  Int CountFiles(const std::string& suffix) const {
    Int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(_folder / "cache"))
      count += entry.path().extension() == suffix;
    return count;
  }

  TemporaryFolder _folder;
};

TEST_F(KernelCacheTest, OnlyAChangedFileIsCompiledAgain) {
  Write(MakeKernel("1.0"));
  EXPECT_EQ(Compute(), std::pair(true, std::string("1\n")));
  EXPECT_EQ(Compute(), std::pair(false, std::string("1\n")));
  Write(MakeKernel("2.0"));
  EXPECT_EQ(Compute(), std::pair(true, std::string("2\n")));
  // The older one is still there.
  Write(MakeKernel("1.0"));
  EXPECT_EQ(Compute(), std::pair(false, std::string("1\n")));
}

TEST_F(KernelCacheTest, AChangedHeaderOrOptionIsNoticed) {
  Write("#include \"value.h\"\n" + MakeKernel("GetValue()"));
  _folder.Write("value.h", "inline Float32 GetValue() { return 1.0; }\n");
  EXPECT_EQ(Compute(), std::pair(true, std::string("1\n")));
  EXPECT_EQ(Compute(), std::pair(false, std::string("1\n")));
  _folder.Write("value.h", "inline Float32 GetValue() { return 3.0; }\n");
  EXPECT_EQ(Compute(), std::pair(true, std::string("3\n")));
  EXPECT_EQ(Compute({"--fast"}), std::pair(true, std::string("3\n")));
  EXPECT_EQ(Compute({"--fast"}), std::pair(false, std::string("3\n")));
}

TEST_F(KernelCacheTest, FastKernelsKnowInfinities) {
  Write(MakeKernel("isinf(1.0 / UNIFORM_BUFFER(values)[0]) ? 7.0 : 8.0"));
  EXPECT_EQ(Compute({"--fast"}), std::pair(true, std::string("7\n")));
}

TEST_F(KernelCacheTest, SeveralProcessesMayFillTheCacheAtOnce) {
  Write(MakeKernel("5.0"));
  std::vector<std::thread> threads;
  std::vector<ToolResult> results(3);
  for (ToolResult& result : results)
    threads.emplace_back([this, &result] {
      result = RunTool({"run", _folder / "test.krn", "--in", "values=zeros:1", "--cache-dir", _folder / "cache"});
    });
  for (std::thread& thread : threads) thread.join();
  for (const ToolResult& result : results) EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(CountFiles(".so"), 1);
  EXPECT_EQ(CountFiles(""), 0) << "a folder of a compilation was left behind";
  EXPECT_FALSE(Compute().first);
}

TEST_F(KernelCacheTest, CompilerErrorsNameTheLineOfTheKernelFileAndLeaveNothingBehind) {
  Write(MakeKernel("noSuchName"));
  const ToolResult result = Run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("test.krn:8:"));
  EXPECT_THAT(result.errors, HasSubstr("noSuchName"));
  EXPECT_THAT(result.errors, HasSubstr("test.krn does not compile.\n"));
  EXPECT_EQ(result.output, "");
  EXPECT_TRUE(std::filesystem::is_empty(_folder / "cache"));
}

TEST_F(KernelCacheTest, ACompilationThatIsCutOffLeavesNoSourceBehind) {
  // A compiler that ends the tool, which can then not clean up: a process stands between them.
  const std::string compiler =
      _folder.Write("compiler", "#!/bin/sh\ncat >/dev/null\nkill -9 $(cut -d' ' -f4 /proc/$PPID/stat)\n");
  std::filesystem::permissions(compiler, std::filesystem::perms::owner_all);
  Write(MakeKernel("Float32(1.0 + 0x5EC2E7)"));
  setenv("CXX", compiler.c_str(), 1);
  const ToolResult result = Run();
  unsetenv("CXX");
  EXPECT_EQ(result.exitStatus, -1) << "the tool was not cut off: " << result.errors;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(_folder / "cache")) {
    if (!entry.is_regular_file()) continue;
    const std::string name = std::filesystem::relative(entry.path(), _folder.GetPath()).string();
    EXPECT_THAT(_folder.Read(name), testing::Not(HasSubstr("0x5EC2E7"))) << name;
  }
}

TEST_F(KernelCacheTest, HeadersOfTheCurrentFolderAreNoHeadersOfTheFramework) {
  Write(MakeKernel("1.0"));
  std::filesystem::create_directories(_folder / "parallelprogram/program");
  std::filesystem::create_directories(_folder / "ostra/core");
  for (const char* header : {"parallelprogram/program/kernel_language.h", "ostra/core/types.h"})
    _folder.Write(header, "#error a header of the current folder\n");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(_folder.GetPath());
  EXPECT_EQ(Compute(), std::pair(true, std::string("1\n")));
  std::filesystem::current_path(before);
}

TEST_F(KernelCacheTest, AMissingCompilerAndAFolderThatCannotBeWrittenAreErrors) {
  Write(MakeKernel("1.0"));
  setenv("CXX", "no-such-compiler", 1);
  const ToolResult result = Run();
  unsetenv("CXX");
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("There is no C++ compiler no-such-compiler"));
  const ToolResult blocked = Run({"--cache-dir", _folder / "test.krn/cache"});
  EXPECT_NE(blocked.exitStatus, 0);
  EXPECT_THAT(RunTool({"run", _folder / "test.krn", "--size", "1", "--cache-dir", _folder / "test.krn/cache"}).errors,
              HasSubstr("cannot be written; name another one with --cache-dir"));
}

}  // namespace
}  // namespace ostra
