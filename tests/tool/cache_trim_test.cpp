#include "parallelprogram/kernelruntime/cache_trim.h"

#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/temporary_folder.h"

namespace ostra::kernelruntime {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class CacheTrimTest : public testing::Test {
 protected:
  void Make(const std::string& name, std::chrono::hours age) {
    _folder.Write(name, "x");
    fs::last_write_time(_folder / name, fs::file_time_type::clock::now() - age);
  }
  Bool Exists(const std::string& name) const { return fs::exists(_folder / name); }

  TemporaryFolder _folder;
};

TEST_F(CacheTrimTest, ModulesAndListsThatWereUsedLongestAgoGoFirst) {
  for (int age = 1; age <= 4; ++age) {
    Make(std::to_string(age) + ".so", std::chrono::hours(age));
    Make(std::to_string(age) + ".headers", std::chrono::hours(age));
  }
  MarkCacheFileUsed(_folder / "4.so");
  TrimCache(_folder.GetPath(), 2);
  EXPECT_TRUE(Exists("1.so") && Exists("4.so") && Exists("1.headers") && Exists("2.headers"));
  EXPECT_FALSE(Exists("2.so") || Exists("3.so") || Exists("3.headers") || Exists("4.headers"));
}

TEST_F(CacheTrimTest, WhatIsNotTheCachesStaysAndLeftoversOfCompilationsGoAfterADay) {
  Make("notes.txt", 1000h);
  Make("1.so", 1000h);
  fs::create_directory(_folder / "work_old");
  Make("work_old/kernel.cpp", 48h);
  fs::last_write_time(_folder / "work_old", fs::file_time_type::clock::now() - 48h);
  fs::create_directory(_folder / "work_new");
  TrimCache(_folder.GetPath(), 2);
  EXPECT_TRUE(Exists("notes.txt") && Exists("1.so") && Exists("work_new"));
  EXPECT_FALSE(Exists("work_old"));
}

TEST_F(CacheTrimTest, HalfWrittenListsOfKilledProcessesGoAfterAnHour) {
  Make("00ff.headers.Xy12Zz.tmp", 2h);
  Make("00ff.headers.123.0.tmp", 2h);
  Make("00ff.headers.Ab34Cd.tmp", 0h);
  Make("notes.tmp", 1000h);
  TrimCache(_folder.GetPath());
  EXPECT_FALSE(Exists("00ff.headers.Xy12Zz.tmp") || Exists("00ff.headers.123.0.tmp"));
  EXPECT_TRUE(Exists("00ff.headers.Ab34Cd.tmp") && Exists("notes.tmp"));
}

TEST_F(CacheTrimTest, FewPrecompiledHeadersStay) {
  const int count = static_cast<int>(kMaxPrecompiledHeaders) + 1;
  for (int age = 1; age <= count; ++age) Make(std::to_string(age) + ".pch", std::chrono::hours(age));
  Make("1.prelude", 1h);
  Make("2.prelude", 2h);
  Make("00ff.prelude.Xy12Zz.tmp", 2h);
  TrimCache(_folder.GetPath(), 1);
  for (int age = 1; age < count; ++age) EXPECT_TRUE(Exists(std::to_string(age) + ".pch")) << age;
  EXPECT_TRUE(Exists("1.prelude"));
  EXPECT_FALSE(Exists(std::to_string(count) + ".pch") || Exists("2.prelude") || Exists("00ff.prelude.Xy12Zz.tmp"));
}

TEST_F(CacheTrimTest, AFolderThatIsNotThereIsNothingToTrim) {
  TrimCache(fs::path(_folder / "missing"), 2);
  EXPECT_FALSE(Exists("missing"));
}

}  // namespace
}  // namespace ostra::kernelruntime
