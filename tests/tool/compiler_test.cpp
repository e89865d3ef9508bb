// Which switches the C++ compiler gets, by the names of the programs in CXX.
#include "parallelprogram/kernelruntime/compiler.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::kernelruntime {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr const char* kGccSwitch = "-ftrack-macro-expansion=0";
constexpr const char* kClangSwitch = "-fmacro-backtrace-limit=1";

// PATH has a folder of programs that are never started, and none of those is in the current folder.
class CompilerTest : public testing::Test {
 protected:
  CompilerTest() : _path(std::getenv("PATH")), _folder(fs::current_path()) {
    setenv("PATH", _programs.GetPath().c_str(), 1);
    for (const char* name : {"x86_64-linux-gnu-g++-12", "clang-14", "ccache", "wrapper"}) AddProgram(name);
    AddLink("x86_64-linux-gnu-g++-12", "g++");
    AddLink("g++", "c++");
    AddLink("clang-14", "clang++-14");
    AddLink("clang-14", "CC");
  }
  ~CompilerTest() override {
    setenv("PATH", _path.c_str(), 1);
    unsetenv("CXX");
    fs::current_path(_folder);
  }

  void AddProgram(const std::string& name) const {
    fs::permissions(_programs.Write(name, "#!/bin/false\n"), fs::perms::owner_all);
  }
  void AddLink(const std::string& program, const std::string& name) const {
    fs::create_symlink(program, _programs / name);
  }
  std::vector<std::string> FindSwitches(const std::string& cxx) const {
    setenv("CXX", cxx.c_str(), 1);
    const auto compiler = FindCompiler();
    EXPECT_THAT(compiler, IsOk()) << cxx;
    return compiler ? GetMessageSwitches(FindFamily(*compiler)) : std::vector<std::string>{"no compiler"};
  }

  const std::string _path;
  const fs::path _folder;
  TemporaryFolder _programs;
};

TEST_F(CompilerTest, NamesInPathAreFollowedToTheProgram) {
  EXPECT_THAT(FindSwitches("g++"), ElementsAre(kGccSwitch));
  EXPECT_THAT(FindSwitches("c++"), ElementsAre(kGccSwitch));
  EXPECT_THAT(FindSwitches("clang++-14"), ElementsAre(kClangSwitch));
  EXPECT_THAT(FindSwitches("CC"), ElementsAre(kClangSwitch));
  EXPECT_THAT(FindSwitches(""), ElementsAre(kGccSwitch));
}

TEST_F(CompilerTest, RelativeAndAbsoluteNamesAreTheSameProgram) {
  EXPECT_THAT(FindSwitches(_programs / "c++"), ElementsAre(kGccSwitch));
  fs::current_path(_programs.GetPath());
  EXPECT_THAT(FindSwitches("./CC"), ElementsAre(kClangSwitch));
}

TEST_F(CompilerTest, WrappersAndOptionsAreNotTheCompiler) {
  EXPECT_THAT(FindSwitches("ccache g++"), ElementsAre(kGccSwitch));
  EXPECT_THAT(FindSwitches("ccache c++ -I/opt/clang/include"), ElementsAre(kGccSwitch));
  EXPECT_THAT(FindSwitches("wrapper CC -B/opt/gcc"), ElementsAre(kClangSwitch));
  EXPECT_THAT(FindSwitches("wrapper"), IsEmpty());
}

TEST_F(CompilerTest, ALinkToAWrapperIsNamedAfterTheCompiler) {
  fs::create_directory(_programs / "masked");
  fs::create_symlink(_programs / "ccache", _programs / "masked/g++-12");
  fs::create_symlink(_programs / "ccache", _programs / "masked/clang++");
  EXPECT_THAT(FindSwitches(_programs / "masked/g++-12"), ElementsAre(kGccSwitch));
  EXPECT_THAT(FindSwitches(_programs / "masked/clang++"), ElementsAre(kClangSwitch));
}

}  // namespace
}  // namespace ostra::kernelruntime
