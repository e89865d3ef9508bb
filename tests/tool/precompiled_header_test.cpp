// The headers of kernels, compiled ahead and kept in the cache.
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "ostra/process/command.h"
#include "parallelprogram/kernelruntime/compiled_list.h"
#include "tests/tool/kernel_cache_fixture.h"

namespace ostra {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class PrecompiledHeaderTest : public KernelCacheTest {
 protected:
  ~PrecompiledHeaderTest() override {
    unsetenv("CXX");
    unsetenv("CPLUS_INCLUDE_PATH");
  }

  // A kernel that was never compiled before; it writes `expression`, a number.
  std::pair<Bool, std::string> ComputeNew(const std::string& expression, const std::vector<std::string>& options = {}) {
    Write("// " + std::to_string(++_kernels) + "\n" + MakeKernel(expression));
    return Compute(options);
  }
  // Compiles a kernel and expects the right result.
  void CompileAnother(const std::vector<std::string>& options = {}) {
    const std::string value = std::to_string(_kernels + 1);
    EXPECT_EQ(ComputeNew("float(" + value + ")", options), std::pair(true, value + "\n"));
  }

  // Makes the tool use a compiler that is a script around GCC. It reports which precompiled headers GCC loads ("!
  // FILE") and which it does not want ("x FILE").
  void UseScript(const std::string& before = {}) {
    const std::string compiler = _folder.Write(
        "g++-script", "#!/bin/sh\n" + before + "\ng++ -H \"$@\" 2>" + _folder / "report" +
                          "\nstatus=$?\ngrep '^[!x] ' " + _folder / "report" + " >>" + _folder / "loaded" +
                          "\ngrep -v '^[.!x]* ' " + _folder / "report" + " >&2\nexit $status\n");
    fs::permissions(compiler, fs::perms::owner_all);
    setenv("CXX", compiler.c_str(), 1);
  }
  // What the script has reported since the last call.
  std::string TakeReport() {
    std::string report = fs::exists(_folder / "loaded") ? _folder.Read("loaded") : std::string();
    fs::remove(_folder / "loaded");
    return report;
  }

  static std::string ReadFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static void WriteFile(const std::string& file, const std::string& text) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
  }

  int _kernels = 0;
};

TEST_F(PrecompiledHeaderTest, TheSecondKernelMakesItAndLaterOnesLoadIt) {
  UseScript();
  CompileAnother();
  EXPECT_EQ(FindFiles(".pch").size(), 0u) << "the first kernel waits for it";
  EXPECT_EQ(TakeReport(), "");
  CompileAnother();
  const std::string file = GetOnlyFile(".pch"), bytes = ReadFile(file);
  EXPECT_THAT(TakeReport(), EndsWith("prelude.h.gch\n"));
  CompileAnother();
  EXPECT_THAT(TakeReport(), testing::MatchesRegex("! .*prelude.h.gch\n"));
  EXPECT_EQ(GetOnlyFile(".pch"), file);
  EXPECT_EQ(ReadFile(file), bytes);
  EXPECT_EQ(static_cast<int>(fs::status(file).permissions()) & 07777, 0600);
}

TEST_F(PrecompiledHeaderTest, EverySetOfOptionsHasItsOwn) {
  UseScript();
  const std::vector<std::vector<std::string>> sets = {{}, {"--checked", "--fast"}};
  for (const auto& options : sets)
    for (int i = 0; i < 2; ++i) CompileAnother(options);
  EXPECT_EQ(FindFiles(".pch").size(), sets.size());
  TakeReport();
  for (const auto& options : sets) {
    CompileAnother(options);
    EXPECT_THAT(TakeReport(), testing::MatchesRegex("! .*prelude.h.gch\n"));
  }
}

TEST_F(PrecompiledHeaderTest, AnEditOfAHeaderInItIsNoticed) {
  // Stands before the C++ library's header of that name, which the framework's headers include.
  const auto writeHeader = [&](const std::string& value) {
    fs::create_directories(_folder / "include");
    _folder.Write("include/cstring", "#include_next <cstring>\n#undef FOUND\n#define FOUND " + value + "\n");
  };
  UseScript();
  setenv("CPLUS_INCLUDE_PATH", (_folder / "include").c_str(), 1);
  writeHeader("3.0f");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ComputeNew("FOUND").second, "3\n");
  EXPECT_THAT(TakeReport(), HasSubstr("! "));
  const std::string before = GetOnlyFile(".pch");
  writeHeader("7.5f");
  EXPECT_EQ(Compute(), std::pair(true, std::string("7.5\n"))) << "the module of the earlier header is run";
  EXPECT_EQ(ComputeNew("FOUND").second, "7.5\n") << "the precompiled header has the earlier text";
  EXPECT_EQ(FindFiles(".pch").size(), 2u) << "none was made of the new text";
  fs::remove(before);
  TakeReport();
  EXPECT_EQ(ComputeNew("FOUND").second, "7.5\n");
  EXPECT_THAT(TakeReport(), HasSubstr("! "));
}

TEST_F(PrecompiledHeaderTest, OneThatIsNotAsItWasWrittenIsMadeAgain) {
  UseScript();
  for (int i = 0; i < 2; ++i) CompileAnother();
  const std::string file = GetOnlyFile(".pch"), whole = ReadFile(file);
  ASSERT_GT(whole.size(), 1000u);
  std::string flipped = whole;
  flipped[whole.size() / 3] ^= 1;
  const auto expectRepair = [&](const std::string& what) {
    SCOPED_TRACE(what);
    TakeReport();
    CompileAnother();
    EXPECT_THAT(TakeReport(), HasSubstr("! "));
    const auto list = kernelruntime::CompiledList::Parse(ReadFile(GetOnlyFile(".prelude")));
    ASSERT_TRUE(list);
    EXPECT_EQ(kernelruntime::MakeChecksum(ReadFile(GetOnlyFile(".pch"))), list->checksum);
  };
  WriteFile(file, "");
  expectRepair("an empty file");
  WriteFile(file, whole.substr(0, whole.size() / 2));
  expectRepair("a file that was cut");
  WriteFile(file, flipped);
  expectRepair("a file with another bit");
  fs::remove(file);
  expectRepair("a missing file");
  fs::permissions(file, fs::perms(0666));
  expectRepair("a file that others may write");
  EXPECT_EQ(static_cast<int>(fs::status(file).permissions()) & 07777, 0600);
  if (geteuid() != 0) GTEST_SKIP() << "another user's files can be made by the superuser alone";
  ASSERT_EQ(lchown(file.c_str(), 65534, 65534), 0);
  expectRepair("another user's file");
}

TEST_F(PrecompiledHeaderTest, OneThatTheCompilerCannotLoadIsDoneWithout) {
  UseScript();
  for (int i = 0; i < 2; ++i) CompileAnother();
  const std::string garbage = "no precompiled header at all", listFile = GetOnlyFile(".prelude");
  WriteFile(GetOnlyFile(".pch"), garbage);
  auto list = kernelruntime::CompiledList::Parse(ReadFile(listFile));
  ASSERT_TRUE(list);
  list->size = static_cast<Int>(garbage.size());
  list->checksum = kernelruntime::MakeChecksum(garbage);
  WriteFile(listFile, list->ToText());
  TakeReport();
  CompileAnother();
  EXPECT_THAT(TakeReport(), Not(HasSubstr("! ")));
}

TEST_F(PrecompiledHeaderTest, ACompilerThatCannotMakeOneIsNotAskedAgain) {
  UseScript("case \"$*\" in *c++-header*) echo asked >>" + _folder / "asked" + "; exit 1;; esac");
  for (int i = 0; i < 4; ++i) CompileAnother();
  EXPECT_EQ(_folder.Read("asked"), "asked\n");
  EXPECT_EQ(FindFiles(".pch").size(), 0u);
}

TEST_F(PrecompiledHeaderTest, KernelsThatOnlyCompileWithoutItAreCompiledWithoutIt) {
  UseScript("case \"$*\" in *prelude.h*-o*kernel.so*) echo asked >>" + _folder / "asked" + "; exit 1;; esac");
  for (int i = 0; i < 4; ++i) CompileAnother();
  EXPECT_EQ(_folder.Read("asked"), "asked\n");
}

TEST_F(PrecompiledHeaderTest, AToolThatIsKilledWhileItIsMadeLeavesNothingBehind) {
  UseScript("case \"$*\" in *c++-header*) test -e " + _folder / "killed" + " || { touch " + _folder / "killed" +
            "; kill -9 $PPID; sleep 60; };; esac");
  CompileAnother();
  Write(MakeKernel("7.0"));
  EXPECT_EQ(Run().exitStatus, -1);
  const auto hasWorkFolder = [&] {
    for (const auto& entry : fs::directory_iterator(_folder / "cache"))
      if (entry.is_directory()) return true;
    return false;
  };
  for (int i = 0; i < 1000 && hasWorkFolder(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_FALSE(hasWorkFolder());
  EXPECT_EQ(FindFiles(".pch").size(), 0u);
  EXPECT_EQ(Compute(), std::pair(true, std::string("7\n")));
  EXPECT_EQ(FindFiles(".pch").size(), 1u);
}

TEST_F(PrecompiledHeaderTest, SeveralProcessesMayMakeItAtOnce) {
  CompileAnother();
  std::vector<std::thread> threads;
  std::vector<ToolResult> results(3);
  for (std::size_t i = 0; i < results.size(); ++i) {
    const std::string name = "other" + std::to_string(i);
    _folder.Write(name + ".krn", MakeKernel(std::to_string(i) + ".5"));
    threads.emplace_back([this, name, &result = results[i]] {
      result = RunTool({"run", _folder / (name + ".krn"), "--in", "values=zeros:1", "--out",
                        "values=" + _folder / (name + ".csv"), "--cache-dir", _folder / "cache"});
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t i = 0; i < results.size(); ++i) {
    EXPECT_EQ(results[i].exitStatus, 0) << results[i].errors;
    EXPECT_EQ(_folder.Read("other" + std::to_string(i) + ".csv"), std::to_string(i) + ".5\n");
  }
  EXPECT_EQ(FindFiles(".pch").size(), 1u);
  CompileAnother();
}

TEST_F(PrecompiledHeaderTest, MessagesAreThoseOfACompilationWithoutIt) {
  const std::string kernel = MakeKernel("NO_SUCH_NAME");
  const auto getErrors = [&] {
    Write(kernel);
    const ToolResult result = Run();
    EXPECT_EQ(result.exitStatus, 1);
    return result.errors;
  };
  const std::string without = getErrors();
  EXPECT_THAT(without, HasSubstr("test.krn:8:"));
  for (int i = 0; i < 2; ++i) CompileAnother();
  EXPECT_EQ(FindFiles(".pch").size(), 1u);
  EXPECT_EQ(getErrors(), without);
  EXPECT_EQ(FindFiles(".pch").size(), 1u);
}

TEST_F(PrecompiledHeaderTest, ClangLoadsOneToo) {
  if (FindProgram("clang++").empty()) GTEST_SKIP() << "there is no clang++";
  // Fails unless it is told to load one, once there is one.
  const std::string compiler =
      _folder.Write("clang++-script", "#!/bin/sh\ncase \"$*\" in *-include-pch*-shared*) echo loaded >>" +
                                          _folder / "loaded" + ";; esac\nexec clang++ \"$@\"\n");
  fs::permissions(compiler, fs::perms::owner_all);
  setenv("CXX", compiler.c_str(), 1);
  for (int i = 0; i < 3; ++i) CompileAnother();
  EXPECT_EQ(_folder.Read("loaded"), "loaded\nloaded\n");
  const auto list = kernelruntime::CompiledList::Parse(ReadFile(GetOnlyFile(".prelude")));
  ASSERT_TRUE(list);
  EXPECT_THAT(list->file, EndsWith(".pch")) << "clang refused its own file";
}

}  // namespace
}  // namespace ostra
