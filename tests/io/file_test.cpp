#include "ostra/io/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "ostra/io/unfinished_file.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::HasSubstr;

Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

class FileTest : public testing::Test {
 protected:
  Url MakeUrl(std::string_view name) const { return _folder.MakeUrl(name); }
  std::string Read(std::string_view name) const { return _folder.Read(name); }
  Int CountFiles() const {
    return std::distance(std::filesystem::directory_iterator(_folder.GetPath()), std::filesystem::directory_iterator());
  }

  TemporaryFolder _folder;
};

template <class T>
std::string MessageOf(const Result<T>& result) {
  return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
}

TEST_F(FileTest, WhatWasWrittenIsReadBack) {
  std::string contents;
  for (int size : {0, 1, 4095, 4096, 200000}) {
    contents.resize(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) contents[static_cast<std::size_t>(i)] = static_cast<char>(i * 7);
    ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf(contents)).IsOk());
    const auto bytes = ReadFileToMemory(MakeUrl("a.bin"));
    ASSERT_TRUE(bytes.IsOk()) << MessageOf(bytes);
    EXPECT_EQ(std::string(bytes->begin(), bytes->end()), contents);
  }
  EXPECT_EQ(CountFiles(), 1);
}

TEST_F(FileTest, MissingFilesFoldersAndUnreadableFilesSayWhy) {
  EXPECT_THAT(MessageOf(ReadFileToMemory(MakeUrl("missing.bin"))),
              testing::AllOf(HasSubstr("missing.bin cannot be read"), HasSubstr("No such file or directory")));
  EXPECT_THAT(MessageOf(ReadFileToMemory(Url::Create(_folder.GetPath().string()).GetValue())),
              HasSubstr("Is a directory"));
  // The start of a process' address space is a file that opens but never reads.
  EXPECT_THAT(MessageOf(ReadFileToMemory(Url("/proc/self/mem"_s))), HasSubstr("Input/output error"));
  EXPECT_THAT(MessageOf(ReadFileToMemory(Url())), HasSubstr("the url is empty"));
  EXPECT_THAT(MessageOf(ReadFileToMemory(Url("relative://a.krn"_s))), HasSubstr("scheme \"relative\""));
  EXPECT_THAT(MessageOf(ReadFileToMemory(Url(String::FromStatic("a\0b", 3)))), HasSubstr("zero byte"));
}

TEST_F(FileTest, AFileWithoutPermissionSaysSo) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may read every file";
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("closed.bin"), BytesOf("x")).IsOk());
  ASSERT_EQ(chmod((_folder / "closed.bin").c_str(), 0), 0);
  EXPECT_THAT(MessageOf(ReadFileToMemory(MakeUrl("closed.bin"))), HasSubstr("Permission denied"));
}

TEST_F(FileTest, PipesAreReadToTheirEnd) {
  const std::string path = _folder / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const std::string contents(300000, 'p');
  std::thread writer([&] { std::ofstream(path) << contents; });
  const auto bytes = ReadFileToMemory(MakeUrl("pipe"), {.mayBePipe = true});
  writer.join();
  ASSERT_TRUE(bytes.IsOk()) << MessageOf(bytes);
  EXPECT_EQ(std::string(bytes->begin(), bytes->end()), contents);
}

TEST_F(FileTest, APipeOrADeviceIsRefusedWithoutOpeningItUnlessItIsMeant) {
  ASSERT_EQ(mkfifo((_folder / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(symlink("/dev/zero", (_folder / "endless").c_str()), 0);
  EXPECT_THAT(MessageOf(ReadFileToMemory(MakeUrl("pipe"))),
              HasSubstr("pipe cannot be read: it is a pipe, and only regular files are read."));
  EXPECT_THAT(MessageOf(ReadFileToMemory(MakeUrl("endless"))), HasSubstr("it is a device"));
  EXPECT_THAT(MessageOf(ReadFileToMemory(MakeUrl("endless"), {.maxSize = 100000, .mayBePipe = true})),
              HasSubstr("it has more than the 100000 bytes that are read at most"));
}

TEST_F(FileTest, AFileBeyondTheLimitIsRefusedBeforeItIsRead) {
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("12345")).IsOk());
  EXPECT_TRUE(ReadFileToMemory(MakeUrl("a.bin"), {.maxSize = 5}).IsOk());
  EXPECT_THAT(MessageOf(ReadFileToMemory(MakeUrl("a.bin"), {.maxSize = 4})),
              HasSubstr("a.bin cannot be read: it has 5 bytes, and at most 4 are read."));
  // Nearly all of it is a hole, which takes no room on the disk.
  ASSERT_EQ(truncate((_folder / "a.bin").c_str(), Int(1) << 40), 0);
  const Int before = AllocationFaults::GetCount();
  EXPECT_FALSE(ReadFileToMemory(MakeUrl("a.bin"), {.maxSize = kMaxTextFileSize}).IsOk());
  EXPECT_LT(AllocationFaults::GetCount(), before + 20);
}

TEST_F(FileTest, PartsAreWrittenOneBehindTheOther) {
  const Block<const Byte> parts[] = {BytesOf("head"), BytesOf(""), BytesOf("er and numbers")};
  for (const char* former : {"", "something longer that is replaced"}) {
    if (*former) _folder.Write("a.bin", former);
    ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), parts).IsOk());
    EXPECT_EQ(Read("a.bin"), "header and numbers");
  }
  // A pipe is written in place.
  ASSERT_EQ(mkfifo((_folder / "pipe").c_str(), 0600), 0);
  const int reader = open((_folder / "pipe").c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("pipe"), parts).IsOk());
  char text[64];
  EXPECT_EQ(read(reader, text, sizeof(text)), 18);
  close(reader);
  EXPECT_EQ(std::string(text, 18), "header and numbers");
}

TEST_F(FileTest, AReplacedFileKeepsItsMode) {
  for (const mode_t mode : {0600, 0644, 0755, 0666}) {
    _folder.Write("a.bin", "old");
    ASSERT_EQ(chmod((_folder / "a.bin").c_str(), mode), 0);
    ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("new")).IsOk());
    struct stat state;
    ASSERT_EQ(stat((_folder / "a.bin").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 07777, mode);
    EXPECT_EQ(Read("a.bin"), "new");
  }
}

TEST_F(FileTest, ANewFileHasTheModeOfTheProcess) {
  const mode_t before = umask(027);
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("new")).IsOk());
  umask(before);
  struct stat state;
  ASSERT_EQ(stat((_folder / "a.bin").c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 07777, 0640u);
}

TEST_F(FileTest, AReadOnlyFileIsNotReplaced) {
  _folder.Write("a.bin", "old");
  ASSERT_EQ(chmod((_folder / "a.bin").c_str(), 0444), 0);
  for (const auto& result : {CheckFileTarget(MakeUrl("a.bin")), WriteFileAtomically(MakeUrl("a.bin"), BytesOf("new"))})
    EXPECT_THAT(MessageOf(result), HasSubstr("a.bin cannot be written: it is there already and read-only."));
  EXPECT_EQ(Read("a.bin"), "old");
}

TEST_F(FileTest, NamesAsLongAsTheFileSystemAllowsAreWritten) {
  for (const std::size_t size : {std::size_t(230), std::size_t(251), std::size_t(254), std::size_t(255)}) {
    const std::string name(size, 'n');
    for (const char* contents : {"first", "second"}) {
      const auto result = WriteFileAtomically(MakeUrl(name), BytesOf(contents));
      ASSERT_TRUE(result.IsOk()) << size << MessageOf(result);
      EXPECT_EQ(Read(name), contents);
    }
  }
  EXPECT_EQ(CountFiles(), 4);
  const std::string name(256, 'n');
  EXPECT_THAT(MessageOf(CheckFileTarget(MakeUrl(name))), HasSubstr("File name too long"));
  EXPECT_THAT(MessageOf(WriteFileAtomically(MakeUrl(name), BytesOf("x"))), HasSubstr("File name too long"));
}

TEST_F(FileTest, AProcessThatIsEndedWhileItWritesLeavesNothing) {
  const std::string contents(300 << 20, 'x');
  for (int round = 0; round < 5; ++round) {
    const pid_t child = fork();
    if (child == 0) _exit(WriteFileAtomically(MakeUrl("a.bin"), BytesOf(contents)).IsOk() ? 0 : 1);
    ASSERT_GT(child, 0);
    // In the midst of it: so many bytes take longer.
    usleep(10000 + 5000 * static_cast<useconds_t>(round));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(CountFiles(), WIFSIGNALED(status) ? 0 : 1);
    std::filesystem::remove(_folder / "a.bin");
  }
}

TEST_F(FileTest, DescriptorsAreWrittenWhereTheyLead) {
  _folder.Write("a.bin", "");
  const int file = open((_folder / "a.bin").c_str(), O_WRONLY);
  ASSERT_GE(file, 0);
  const auto url = Url::Create("/proc/self/fd/" + std::to_string(file));
  const auto result = WriteFileAtomically(*url, BytesOf("through"));
  EXPECT_TRUE(CheckFileTarget(*url).IsOk());
  close(file);
  EXPECT_TRUE(result.IsOk()) << MessageOf(result);
  EXPECT_EQ(Read("a.bin"), "through");
  EXPECT_EQ(CountFiles(), 1);
}

TEST_F(FileTest, UnfinishedFilesAreRemovedAtOnceAndOthersStay) {
  const std::string path = _folder.Write("a.tmp", "half"), other = _folder.Write("b.tmp", "half");
  const UnfinishedFile unfinished(path.c_str());
  { const UnfinishedFile finished(other.c_str()); }
  RemoveUnfinishedFiles();
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_TRUE(std::filesystem::exists(other));
}

TEST_F(FileTest, DetectionTellsFilesFromDirectories) {
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("x")).IsOk());
  ASSERT_EQ(symlink("a.bin", (_folder / "link").c_str()), 0);
  ASSERT_EQ(symlink("nowhere", (_folder / "broken").c_str()), 0);
  EXPECT_EQ(IoDetect(MakeUrl("a.bin")), IODETECT::FILE);
  EXPECT_EQ(IoDetect(MakeUrl("link")), IODETECT::FILE);
  EXPECT_EQ(IoDetect(MakeUrl("")), IODETECT::DIRECTORY);
  EXPECT_EQ(IoDetect(MakeUrl("broken")), IODETECT::NONE);
  EXPECT_EQ(IoDetect(MakeUrl("missing")), IODETECT::NONE);
  EXPECT_EQ(IoDetect(Url()), IODETECT::NONE);
  EXPECT_EQ(IoDetect(Url("relative://a.bin"_s)), IODETECT::NONE);
}

TEST_F(FileTest, LookingAtAFileNeedsNoMemory) {
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("x")).IsOk());
  const Url file = MakeUrl("a.bin");
  const Int before = AllocationFaults::GetCount();
  EXPECT_EQ(IoDetect(file), IODETECT::FILE);
  EXPECT_EQ(AllocationFaults::GetCount(), before);
  EXPECT_EQ(IoDetect(Url(String::Create(std::string(5000, 'x')).GetValue())), IODETECT::NONE);
}

TEST_F(FileTest, TheModificationStampCountsNanosecondsSince1970) {
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("x")).IsOk());
  const timespec times[2] = {{0, UTIME_OMIT}, {1234567890, 123456789}};
  ASSERT_EQ(utimensat(AT_FDCWD, (_folder / "a.bin").c_str(), times, 0), 0);
  EXPECT_EQ(GetModificationStamp(MakeUrl("a.bin")).GetValue(), 1234567890123456789u);
  EXPECT_THAT(MessageOf(GetModificationStamp(MakeUrl("missing"))), HasSubstr("No such file"));
}

TEST_F(FileTest, AFailedWriteKeepsTheOldContentsAndLeavesNothingBehind) {
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("old")).IsOk());
  // A limit on the size of files stands for a full disk.
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{1000, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto result = WriteFileAtomically(MakeUrl("a.bin"), BytesOf(std::string(5000, 'n')));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, signalBefore);
  EXPECT_THAT(MessageOf(result), testing::AllOf(HasSubstr("a.bin cannot be written"), HasSubstr("File too large")));
  EXPECT_EQ(Read("a.bin"), "old");
  EXPECT_EQ(CountFiles(), 1);
}

TEST_F(FileTest, PlacesThatCannotBeWrittenSayWhy) {
  EXPECT_THAT(MessageOf(WriteFileAtomically(MakeUrl("none/a.bin"), BytesOf("x"))),
              HasSubstr("No such file or directory"));
  EXPECT_THAT(MessageOf(WriteFileAtomically(MakeUrl(""), BytesOf("x"))), HasSubstr("Is a directory"));
  EXPECT_THAT(MessageOf(WriteFileAtomically(Url("/dev/full"_s), BytesOf("x"))), HasSubstr("No space left on device"));
  EXPECT_TRUE(WriteFileAtomically(Url("/dev/null"_s), BytesOf("x")).IsOk());
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_EQ(CountFiles(), 0);
}

TEST_F(FileTest, ReadersNeverSeeAHalfWrittenFile) {
  const std::string contents[2] = {std::string(50000, 'a'), std::string(70000, 'b')};
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf(contents[0])).IsOk());
  std::atomic<bool> isDone = false;
  std::thread writer([&] {
    for (int i = 1; i <= 200; ++i) EXPECT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf(contents[i % 2])).IsOk());
    isDone = true;
  });
  while (!isDone) {
    const auto bytes = ReadFileToMemory(MakeUrl("a.bin"));
    ASSERT_TRUE(bytes.IsOk()) << MessageOf(bytes);
    const std::string seen(bytes->begin(), bytes->end());
    ASSERT_TRUE(seen == contents[0] || seen == contents[1]) << seen.size();
  }
  writer.join();
}

TEST_F(FileTest, EveryAllocationMayFailWithoutLossOrLeak) {
  const std::string contents(1000, 'x');
  ASSERT_TRUE(WriteFileAtomically(MakeUrl("a.bin"), BytesOf("old")).IsOk());
  const Url source = MakeUrl("a.bin"), target = MakeUrl("b.bin");
  Int failures = 0;
  for (Int n = 1;; ++n, ++failures) {
    const Int live = AllocationFaults::GetLiveCount();
    AllocationFaults::FailNth(n);
    Result<void> result = OK;
    {
      const auto bytes = ReadFileToMemory(source);
      result = bytes ? WriteFileAtomically(target, bytes->GetBlock()) : Result<void>(bytes.GetError());
    }
    const Bool hasFired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    if (!hasFired) {
      EXPECT_TRUE(result.IsOk());
      break;
    }
    ASSERT_FALSE(result.IsOk());
    EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError);
    result = OK;
    EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
    EXPECT_EQ(CountFiles(), 1);
  }
  EXPECT_GE(failures, 4);
  EXPECT_EQ(Read("b.bin"), "old");
}

}  // namespace
}  // namespace ostra
