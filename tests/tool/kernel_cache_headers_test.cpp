// Headers that the compiler finds by itself.
#include <unistd.h>

#include <cstdlib>

#include "parallelprogram/kernelruntime/header_state.h"
#include "tests/tool/kernel_cache_fixture.h"

namespace ostra {
namespace {

namespace fs = std::filesystem;

// A variable of the environment for the time of a test.
class Variable {
 public:
  explicit Variable(std::string name) : _name(std::move(name)) {
    if (const char* value = std::getenv(_name.c_str())) _before = value;
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  ~Variable() { _before.empty() ? unsetenv(_name.c_str()) : setenv(_name.c_str(), _before.c_str(), 1); }
  void Set(const std::string& value) { setenv(_name.c_str(), value.c_str(), 1); }

 private:
  std::string _name, _before;
};

class KernelCacheHeadersTest : public KernelCacheTest {
 protected:
  void WriteHeader(const std::string& folder, const std::string& value) {
    fs::create_directories(_folder / folder);
    _folder.Write(folder + "/found_value.h", "inline float GetFoundValue() { return " + value + "; }\n");
  }
};

TEST_F(KernelCacheHeadersTest, HeadersThatAreFoundThroughTheEnvironmentAreWatched) {
  Write("#include \"found_value.h\"\n" + MakeKernel("GetFoundValue()"));
  WriteHeader("a", "3.0f");
  WriteHeader("b", "7.0f");
  Variable variable("CPLUS_INCLUDE_PATH");
  variable.Set(_folder / "a");
  EXPECT_EQ(Compute(), std::pair(true, std::string("3\n")));
  EXPECT_EQ(Compute(), std::pair(false, std::string("3\n")));
  variable.Set(_folder / "b");
  EXPECT_EQ(Compute(), std::pair(true, std::string("7\n")));
  WriteHeader("b", "8.0f");
  EXPECT_EQ(Compute(), std::pair(true, std::string("8\n")));
  variable.Set(_folder / "c:" + _folder / "b");
  EXPECT_EQ(Compute(), std::pair(true, std::string("8\n")));
  WriteHeader("c", "9.0f");  // is found first from now on
  EXPECT_EQ(Compute(), std::pair(true, std::string("9\n")));
  EXPECT_EQ(Compute(), std::pair(false, std::string("9\n")));
}

TEST_F(KernelCacheHeadersTest, ARelativeFolderMeansTheOneOfTheCurrentFolder) {
  Write("#include \"found_value.h\"\n" + MakeKernel("GetFoundValue()"));
  WriteHeader("a/inner", "3.0f");
  WriteHeader("b/inner", "7.0f");
  const fs::path before = fs::current_path();
  Variable variable("CPATH");
  variable.Set("inner");
  fs::current_path(_folder / "a");
  EXPECT_EQ(Compute(), std::pair(true, std::string("3\n")));
  fs::current_path(_folder / "b");
  EXPECT_EQ(Compute(), std::pair(true, std::string("7\n")));
  fs::current_path(before);
}

std::string MakeEnvironmentKey(const std::vector<std::string>& command = {"c++"}) {
  kernelruntime::CacheKey key;
  kernelruntime::AddCompilerEnvironment(key, command);
  return key.ToText();
}

TEST(CompilerEnvironment, EveryVariableThatChangesTheResultChangesTheKey) {
  for (const char* name : {"CPATH", "CPLUS_INCLUDE_PATH", "C_INCLUDE_PATH", "OBJC_INCLUDE_PATH", "GCC_EXEC_PREFIX",
                           "COMPILER_PATH", "LIBRARY_PATH", "LD_RUN_PATH", "CCC_OVERRIDE_OPTIONS", "CCC_ADD_ARGS",
                           "SOURCE_DATE_EPOCH", "GNUTARGET", "LDEMULATION"}) {
    Variable variable(name);
    unsetenv(name);
    const std::string unset = MakeEnvironmentKey();
    variable.Set("/one");
    const std::string one = MakeEnvironmentKey();
    variable.Set("/two");
    EXPECT_NE(unset, one) << name;
    EXPECT_NE(one, MakeEnvironmentKey()) << name;
    EXPECT_EQ(MakeEnvironmentKey(), MakeEnvironmentKey()) << name;
  }
}

TEST(CompilerEnvironment, TheCurrentFolderCountsWhereSomethingIsRelativeToIt) {
  const TemporaryFolder folder;
  const fs::path before = fs::current_path();
  const auto dependsOnFolder = [&](const std::vector<std::string>& command) {
    const std::string here = MakeEnvironmentKey(command);
    fs::current_path(folder.GetPath());
    const std::string there = MakeEnvironmentKey(command);
    fs::current_path(before);
    return here != there;
  };
  Variable variable("CPATH");
  variable.Set("/usr/local/include");
  EXPECT_FALSE(dependsOnFolder({"c++"}));
  EXPECT_TRUE(dependsOnFolder({"c++", "-Iheaders"}));
  for (const char* list : {"headers", "/usr/local/include:headers", "/usr/local/include:"}) {
    variable.Set(list);
    EXPECT_TRUE(dependsOnFolder({"c++"})) << list;
  }
}

TEST(HeaderState, AHeaderThatWasWrittenWhileTheCompilerRanIsNoticed) {
  const TemporaryFolder folder;
  const std::string header = folder.Write("a.h", "");
  const Int time = kernelruntime::GetModificationTime(header);
  EXPECT_FALSE(kernelruntime::HasChangedSince({header}, time));
  EXPECT_TRUE(kernelruntime::HasChangedSince({header}, time - 1));
  // Not a time at which anything was written.
  fs::last_write_time(header, fs::file_time_type::clock::now() + std::chrono::hours(1));
  EXPECT_FALSE(kernelruntime::HasChangedSince({header}, time));
}

}  // namespace
}  // namespace ostra
