#include <cstdlib>
#include <thread>

#include "tests/tool/kernel_cache_fixture.h"

namespace ostra {
namespace {

using testing::HasSubstr;

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
  EXPECT_EQ(FindFiles(".so").size(), 1u);
  EXPECT_EQ(FindFiles("").size(), 0u) << "a folder of a compilation was left behind";
  EXPECT_FALSE(Compute().first);
}

TEST_F(KernelCacheTest, CompilerErrorsNameTheLineOfTheKernelFileAndLeaveNothingBehind) {
  Write(MakeKernel("NO_SUCH_NAME"));
  const ToolResult result = Run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("test.krn:8:"));
  EXPECT_THAT(result.errors, HasSubstr("NO_SUCH_NAME"));
  EXPECT_THAT(result.errors, HasSubstr("test.krn does not compile.\n"));
  EXPECT_EQ(result.output, "");
  EXPECT_TRUE(std::filesystem::is_empty(_folder / "cache"));
}

TEST_F(KernelCacheTest, ACompilationThatIsCutOffLeavesNoSourceBehind) {
  // A compiler that ends the tool, which can then not clean up.
  const std::string compiler = _folder.Write("compiler", "#!/bin/sh\ncat >/dev/null\nkill -9 $PPID\n");
  std::filesystem::permissions(compiler, std::filesystem::perms::owner_all);
  Write(MakeKernel("Float32(1.0 + 0x5EC2E7)"));
  setenv("CXX", compiler.c_str(), 1);
  const ToolResult result = Run();
  unsetenv("CXX");
  EXPECT_EQ(result.exitStatus, -1) << "the tool was not cut off: " << result.errors;
  // The folder of the compilation is removed meanwhile.
  namespace fs = std::filesystem;
  std::error_code code;
  for (fs::recursive_directory_iterator i(_folder / "cache", code), end; !code && i != end; i.increment(code)) {
    if (!i->is_regular_file(code)) continue;
    const std::string name = fs::relative(i->path(), _folder.GetPath(), code).string();
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
