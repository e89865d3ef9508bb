#include "ostra/io/private_files.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "ostra/core/diagnostics.h"
#include "ostra/io/content_store.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

// Only the superuser can give files to another user.
#define SKIP_WITHOUT_ANOTHER_USER() \
  if (geteuid() != 0) GTEST_SKIP() << "files of another user can be made by the superuser alone"

using namespace ostra;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

constexpr uid_t kOtherUser = 12345;

Block<const Byte> GetBytes(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

class PrivateFilesTest : public testing::Test {
 protected:
  static int GetMode(const fs::path& path) { return static_cast<int>(fs::status(path).permissions()) & 07777; }
  static void GiveAway(const fs::path& path) { ASSERT_EQ(lchown(path.c_str(), kOtherUser, kOtherUser), 0); }

  TemporaryFolder _temporary;
  const fs::path _base = fs::canonical(_temporary.GetPath());
  const fs::path _folder = _base / "above" / "folder";
};

TEST_F(PrivateFilesTest, FoldersAreMadeForTheOwnerAloneWhateverTheUserAllowsByDefault) {
  const mode_t before = umask(0);
  EXPECT_THAT(MakePrivateFolder(_folder.native()), IsOk());
  umask(before);
  EXPECT_EQ(GetMode(_folder), 0700);
  EXPECT_EQ(GetMode(_folder.parent_path()), 0700);
  EXPECT_THAT(MakePrivateFolder(_folder.native() + "/"), IsOk());
  fs::permissions(_folder, fs::perms(0755));
  EXPECT_THAT(MakePrivateFolder(_folder.native()), IsOk());
  EXPECT_EQ(GetMode(_folder), 0755) << "the mode of an existing folder is its owner's";
}

TEST_F(PrivateFilesTest, AFolderThatCannotBeMadeIsAnError) {
  _temporary.Write("file", "");
  EXPECT_THAT(MakePrivateFolder((_base / "file/folder").native()),
              IsErrorContaining(kIllegalStateError, "cannot be made"));
  EXPECT_THAT(MakePrivateFolder(""), IsErrorContaining(kIllegalStateError, "cannot be made"));
  EXPECT_THAT(MakePrivateFolder(std::string(5000, 'x')), IsErrorContaining(kIllegalStateError, "cannot be made"));
}

TEST_F(PrivateFilesTest, ATrustedFolderIsOpenedThroughLinksAndStaysTheSame) {
  ASSERT_THAT(MakePrivateFolder(_folder.native()), IsOk());
  fs::permissions(_folder, fs::perms(0755));
  fs::create_directory_symlink(_folder, _base / "link");
  const auto descriptor = OpenTrustedFolder((_base / "link").native());
  ASSERT_THAT(descriptor, IsOk());
  fs::rename(_folder, _base / "elsewhere");
  fs::create_directory(_folder);
  _temporary.Write("elsewhere/file", "text");
  EXPECT_TRUE(fs::exists("/proc/self/fd/" + std::to_string(descriptor->Get()) + "/file"));
  EXPECT_THAT(OpenTrustedFolder((_base / "missing").native()),
              IsErrorContaining(kIllegalStateError, "cannot be read: No such file"));
  EXPECT_THAT(OpenTrustedFolder(_temporary.Write("file", "")),
              IsErrorContaining(kIllegalStateError, "cannot be read: Not a directory"));
}

TEST_F(PrivateFilesTest, AFolderThatOthersMayWriteToIsRefusedWithWhatToDo) {
  ASSERT_THAT(MakePrivateFolder(_folder.native()), IsOk());
  for (const int mode : {0720, 0702, 01777}) {
    fs::permissions(_folder, fs::perms(mode));
    EXPECT_THAT(OpenTrustedFolder(_folder.native()), IsErrorContaining(kIllegalStateError, "chmod go-w")) << mode;
  }
}

TEST_F(PrivateFilesTest, AFolderOfAnotherUserIsRefusedWithWhatToDo) {
  SKIP_WITHOUT_ANOTHER_USER();
  ASSERT_THAT(MakePrivateFolder(_folder.native()), IsOk());
  GiveAway(_folder);
  EXPECT_THAT(OpenTrustedFolder(_folder.native()),
              IsErrorContaining(kIllegalStateError, "another user (number 12345) owns it"));
}

TEST_F(PrivateFilesTest, OnlyRegularFilesThatTheUserAloneMayWriteAreTrusted) {
  const fs::path file = _temporary.Write("file", "text");
  EXPECT_THAT(CheckTrustedFile(file.native()), IsOk());
  EXPECT_THAT(CheckTrustedFile((_base / "missing").native()), IsOk());
  fs::create_symlink(file, _base / "link");
  EXPECT_THAT(CheckTrustedFile((_base / "link").native()), IsErrorContaining(kIllegalStateError, "Delete it"));
  ASSERT_EQ(mkfifo((_base / "pipe").c_str(), 0600), 0);
  EXPECT_THAT(CheckTrustedFile((_base / "pipe").native()), IsErrorContaining(kIllegalStateError, "Delete it"));
  for (const int mode : {0620, 0602}) {
    fs::permissions(file, fs::perms(mode));
    EXPECT_THAT(CheckTrustedFile(file.native()), IsErrorContaining(kIllegalStateError, "may write it")) << mode;
  }
}

TEST_F(PrivateFilesTest, AFileOfAnotherUserIsRefused) {
  SKIP_WITHOUT_ANOTHER_USER();
  const fs::path file = _temporary.Write("file", "text");
  GiveAway(file);
  EXPECT_THAT(CheckTrustedFile(file.native()), IsErrorContaining(kIllegalStateError, "(number 12345) owns it"));
}

TEST_F(PrivateFilesTest, FilesAreWrittenForTheOwnerAloneAndReplaceWhatWasThere) {
  const mode_t before = umask(0);
  fs::permissions(_temporary.Write("file", "a longer text"), fs::perms(0666));
  EXPECT_THAT(WritePrivateFile((_base / "file").native(), GetBytes("new"), true), IsOk());
  umask(before);
  EXPECT_EQ(_temporary.Read("file"), "new");
  EXPECT_EQ(GetMode(_base / "file"), 0600);
  EXPECT_EQ(std::distance(fs::directory_iterator(_base), fs::directory_iterator()), 1);
  EXPECT_THAT(WritePrivateFile((_base / "missing/file").native(), GetBytes("new")),
              IsErrorContaining(kIllegalStateError, "cannot be written: No such file"));
  fs::create_directory(_base / "folder");
  EXPECT_THAT(WritePrivateFile((_base / "folder").native(), GetBytes("new")), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(std::distance(fs::directory_iterator(_base), fs::directory_iterator()), 2) << "a temporary file stays";
}

TEST_F(PrivateFilesTest, ReportsExhaustedMemory) {
  ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(MakePrivateFolder(_folder.native()));
    OSTRA_RETURN_IF_ERROR(OpenTrustedFolder(_folder.native()));
    return OK;
  });
}

// What the store of results makes of it.
class TrustedStoreTest : public PrivateFilesTest, DiagnosticListener {
 protected:
  void Notify(DiagnosticLevel, std::string_view text) override { _diagnostics.append(text).append("\n"); }
  static std::string Load(const ContentStore& store) {
    const auto bytes = store.Load(ContentKey());
    EXPECT_THAT(bytes, IsOk());
    return {reinterpret_cast<const char*>(bytes->GetFirst()), static_cast<std::size_t>(bytes->GetCount())};
  }
  fs::path FindFile() const { return fs::directory_iterator(_folder)->path(); }

  std::string _diagnostics;
};

TEST_F(TrustedStoreTest, TheFolderOfAStoreIsMadeForTheOwnerAloneAndRefusedWhenOthersMayWriteToIt) {
  EXPECT_THAT(ContentStore::Open(_folder.native(), 1000), IsOk());
  EXPECT_EQ(GetMode(_folder), 0700);
  fs::permissions(_folder, fs::perms(0777));
  EXPECT_THAT(ContentStore::Open(_folder.native(), 1000), IsErrorContaining(kIllegalStateError, "chmod go-w"));
}

TEST_F(TrustedStoreTest, FilesThatOthersMayWriteCountAsAbsentAndAreReplaced) {
  const mode_t before = umask(0);
  const auto store = ContentStore::Open(_folder.native(), 1000);
  ASSERT_THAT(store, IsOk());
  store->Save(ContentKey(), GetBytes("mine"));
  umask(before);
  EXPECT_EQ(Load(*store), "mine");
  fs::permissions(FindFile(), fs::perms(0666));
  EXPECT_EQ(Load(*store), "");
  EXPECT_THAT(_diagnostics, HasSubstr("is not used: other users may write it. Delete it."));
  store->Save(ContentKey(), GetBytes("again"));
  EXPECT_EQ(Load(*store), "again");
}

}  // namespace
