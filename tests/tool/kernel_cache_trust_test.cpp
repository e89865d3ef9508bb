// Whose modules are run, and where they are kept when there is no cache.
#include <sys/stat.h>
#include <unistd.h>

#include "ostra/process/command.h"
#include "tests/tool/kernel_cache_fixture.h"

#define SKIP_WITHOUT_ANOTHER_USER() \
  if (geteuid() != 0) GTEST_SKIP() << "another user's files and processes can be made by the superuser alone"

namespace ostra {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr uid_t kOtherUser = 65534;

class KernelCacheTrustTest : public KernelCacheTest {
 protected:
  KernelCacheTrustTest() {
    Write(MakeKernel("1.0"));
    fs::create_directory(_folder / "temporary");
    fs::create_directory(_folder / "home");
  }

  static int GetMode(const fs::path& path) { return static_cast<int>(fs::status(path).permissions()) & 07777; }
  static void GiveAway(const fs::path& path) { ASSERT_EQ(lchown(path.c_str(), kOtherUser, kOtherUser), 0); }

  // Runs the kernel with more words in front: programs that change the environment or the user.
  ToolResult RunWith(std::vector<std::string> command, const std::vector<std::string>& cacheOptions = {}) const {
    command.insert(command.end(), {OSTRA_TEST_TOOL, "run", _folder / "test.krn", "--in", "values=zeros:1", "--out",
                                   "values=" + _folder / "home/out.csv"});
    command.insert(command.end(), cacheOptions.begin(), cacheOptions.end());
    const auto result = RunCommand(command);
    if (!result) return {-1, "", std::string(result.GetError().GetMessage().GetView())};
    return {result->exitStatus, result->output, result->output};
  }
  // A user without rights, for whom a folder can be read-only.
  std::vector<std::string> MakeOtherUser() const {
    return {"setpriv",
            "--reuid=65534",
            "--regid=65534",
            "--clear-groups",
            "env",
            "-u",
            "HOME",
            "-u",
            "XDG_CACHE_HOME",
            "TMPDIR=" + _folder / "temporary"};
  }
  // Whether the other user can reach the tool and the folder of the test.
  Bool HasOtherUser() const {
    fs::permissions(_folder.GetPath(), fs::perms(0755));
    for (const char* name : {"home", "temporary"}) GiveAway(_folder / name);
    std::vector<std::string> command = MakeOtherUser();
    command.insert(command.end(), {OSTRA_TEST_TOOL, "--help"});
    const auto result = RunCommand(command);
    return result && result->exitStatus == 0;
  }
};

TEST_F(KernelCacheTrustTest, TheFolderAndWhatIsInItIsForTheOwnerAlone) {
  const mode_t before = umask(0);
  Compute();
  umask(before);
  EXPECT_EQ(GetMode(_folder / "cache"), 0700);
  EXPECT_EQ(GetMode(GetOnlyFile(".so")), 0600);
  EXPECT_EQ(GetMode(GetOnlyFile(".headers")), 0600);
  EXPECT_FALSE(Compute().first);
}

TEST_F(KernelCacheTrustTest, AFolderThatOthersMayWriteToIsRefusedWithWhatToDo) {
  Compute();
  for (const int mode : {0777, 01777, 0770}) {
    fs::permissions(_folder / "cache", fs::perms(mode));
    const ToolResult result = Run();
    EXPECT_EQ(result.exitStatus, 1) << mode;
    EXPECT_THAT(result.errors, HasSubstr("other users may write to it")) << mode;
    EXPECT_THAT(result.errors, HasSubstr("\"chmod go-w\"")) << mode;
  }
}

TEST_F(KernelCacheTrustTest, AFolderOfAnotherUserIsRefusedWithWhatToDo) {
  SKIP_WITHOUT_ANOTHER_USER();
  Compute();
  GiveAway(_folder / "cache");
  const ToolResult result = Run();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("another user (number 65534) owns it"));
  EXPECT_THAT(result.errors, HasSubstr("--cache-dir"));
}

TEST_F(KernelCacheTrustTest, AModuleOrListThatOthersMayWriteOrOwnIsRefused) {
  Compute();
  for (const std::string& file : {GetOnlyFile(".so"), GetOnlyFile(".headers")}) {
    fs::permissions(file, fs::perms(0666));
    const ToolResult result = Run();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr(fs::path(file).filename().native()));
    EXPECT_THAT(result.errors, HasSubstr("other users may write it. Delete it."));
    fs::permissions(file, fs::perms(0600));
  }
  SKIP_WITHOUT_ANOTHER_USER();
  GiveAway(GetOnlyFile(".so"));
  EXPECT_THAT(Run().errors, HasSubstr("another user (number 65534) owns it. Delete it."));
}

TEST_F(KernelCacheTrustTest, ARelativeCacheVariableIsIgnored) {
  const fs::path before = fs::current_path();
  fs::current_path(_folder.GetPath());
  const ToolResult result = RunWith({"env", "XDG_CACHE_HOME=relative", "HOME=" + _folder / "home"});
  fs::current_path(before);
  EXPECT_EQ(result.exitStatus, 0) << result.output;
  EXPECT_FALSE(fs::exists(_folder / "relative"));
  EXPECT_FALSE(fs::is_empty(_folder / "home/.cache/ostra"));
  EXPECT_EQ(GetMode(_folder / "home/.cache"), 0700);
}

TEST_F(KernelCacheTrustTest, WithoutAHomeTheKernelIsCompiledInATemporaryFolder) {
  const ToolResult result = RunWith({"env", "-u", "XDG_CACHE_HOME", "-u", "HOME", "TMPDIR=" + _folder / "temporary"});
  EXPECT_EQ(result.exitStatus, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("note: the compiled kernel is not kept: neither HOME nor XDG_CACHE_HOME"));
  EXPECT_EQ(_folder.Read("home/out.csv"), "1\n");
  EXPECT_TRUE(fs::is_empty(_folder / "temporary"));
}

TEST_F(KernelCacheTrustTest, ACacheFolderThatCannotBeMadeIsReplacedByATemporaryOne) {
  _folder.Write("blocked", "a file");
  const ToolResult result =
      RunWith({"env", "XDG_CACHE_HOME=" + _folder / "blocked", "TMPDIR=" + _folder / "temporary"});
  EXPECT_EQ(result.exitStatus, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("blocked/ostra cannot be made"));
  EXPECT_EQ(_folder.Read("home/out.csv"), "1\n");
}

TEST_F(KernelCacheTrustTest, AFolderThatIsExchangedWhileTheToolRunsIsNotLookedInto) {
  // The compiler stands for another user who may rename the folder: it puts one with a module of its own in its place.
  Compute();
  const std::string compiler =
      _folder.Write("compiler", "#!/bin/sh\nmv " + _folder / "cache" + " " + _folder / "moved" + "\nmkdir " +
                                    _folder / "cache" + "\nexec c++ \"$@\"\n");
  fs::permissions(compiler, fs::perms::owner_all);
  setenv("CXX", compiler.c_str(), 1);
  EXPECT_EQ(Compute(), std::pair(true, std::string("1\n")));
  unsetenv("CXX");
  EXPECT_TRUE(fs::is_empty(_folder / "cache"));
  // Two modules with their lists, and the note that the first one leaves about headers.
  EXPECT_EQ(std::distance(fs::directory_iterator(_folder / "moved"), fs::directory_iterator()), 5);
}

TEST_F(KernelCacheTrustTest, AReadOnlyCacheIsUsedForWhatItHolds) {
  SKIP_WITHOUT_ANOTHER_USER();
  if (!HasOtherUser()) GTEST_SKIP() << "other users cannot reach the tool in its folder";
  Compute();
  for (const auto& entry : fs::directory_iterator(_folder / "cache")) fs::permissions(entry.path(), fs::perms(0644));
  fs::permissions(_folder / "cache", fs::perms(0755));
  std::vector<std::string> command = MakeOtherUser();
  command.push_back("CXX=/bin/false");
  const ToolResult first = RunWith(command, {"--cache-dir", _folder / "cache"});
  EXPECT_EQ(first.exitStatus, 1) << "another compiler finds the same module";
  command.pop_back();
  const ToolResult held = RunWith(command, {"--cache-dir", _folder / "cache"});
  EXPECT_EQ(held.exitStatus, 0) << held.output;
  EXPECT_THAT(held.output, Not(HasSubstr("is not kept")));
  Write(MakeKernel("2.0"));
  const ToolResult compiled = RunWith(command, {"--cache-dir", _folder / "cache"});
  EXPECT_EQ(compiled.exitStatus, 0) << compiled.output;
  EXPECT_THAT(compiled.output, HasSubstr("cache cannot be written: Permission denied"));
  EXPECT_EQ(_folder.Read("home/out.csv"), "2\n");
  EXPECT_TRUE(fs::is_empty(_folder / "temporary"));
}

}  // namespace
}  // namespace ostra
