// What processes that were killed while they wrote have left behind.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "ostra/io/content_store.h"
#include "ostra/io/file.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

using namespace ostra;

namespace {

namespace fs = std::filesystem;

class LeftOverFilesTest : public testing::Test {
 protected:
  fs::path Write(const std::string& name, std::chrono::minutes age) {
    std::ofstream(_folder / name) << "half of it";
    fs::last_write_time(_folder / name, fs::file_time_type::clock::now() - age);
    return _folder / name;
  }
  static Block<const Byte> GetBytes(std::string_view text) {
    return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
  }

  TemporaryFolder _temporary;
  const fs::path _folder = _temporary.GetPath();
};

TEST_F(LeftOverFilesTest, TheNextSaveRemovesThoseThatNobodyWritesAnyMore) {
  using namespace std::chrono_literals;
  const fs::path old = Write("00ff.content.12.0.tmp", 61min);
  const fs::path young = Write("00ff.content.12.1.tmp", 1min);
  const fs::path foreign = Write("notes.tmp", 1000min);
  const fs::path other = Write("00ff.content.12.0.txt", 1000min);
  auto store = ContentStore::Open(_folder.native(), 1 << 20);
  ASSERT_THAT(store, IsOk());
  ContentKey key;
  key.Add(UInt64(1));
  store->Save(key, GetBytes("text"));
  EXPECT_FALSE(fs::exists(old));
  EXPECT_TRUE(fs::exists(young));
  EXPECT_TRUE(fs::exists(foreign));
  EXPECT_TRUE(fs::exists(other));
}

TEST_F(LeftOverFilesTest, ThoseOfAProcessWithTheSameNumberAreWrittenPast) {
  const std::string name = "a.bin";
  for (int i = 0; i < 1000; ++i)
    Write(name + "." + std::to_string(getpid()) + "." + std::to_string(i) + ".tmp", std::chrono::minutes(1));
  const Url file = *Url::Create((_folder / name).native());
  EXPECT_THAT(WriteFileAtomically(file, GetBytes("whole")), IsOk());
  std::string content;
  std::ifstream(_folder / name) >> content;
  EXPECT_EQ(content, "whole");
  EXPECT_EQ(std::distance(fs::directory_iterator(_folder), fs::directory_iterator()), 1001);
}

}  // namespace
