#include "ostra/io/file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

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
  const auto bytes = ReadFileToMemory(MakeUrl("pipe"));
  writer.join();
  ASSERT_TRUE(bytes.IsOk()) << MessageOf(bytes);
  EXPECT_EQ(std::string(bytes->begin(), bytes->end()), contents);
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
