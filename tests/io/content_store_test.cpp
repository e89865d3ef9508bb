#include "ostra/io/content_store.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

using namespace ostra;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

namespace fs = std::filesystem;

ContentKey MakeKey(std::string_view text) {
  ContentKey key;
  key.Add(text);
  return key;
}

class ContentStoreTest : public testing::Test {
 protected:
  ContentStore Open(Int limit = 1 << 20) {
    auto store = ContentStore::Open((_folder / "inner").native(), limit);
    EXPECT_THAT(store, IsOk());
    return std::move(store).GetValue();
  }
  static void Save(const ContentStore& store, std::string_view key, std::string_view text) {
    store.Save(MakeKey(key), {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())});
  }
  static std::string Load(const ContentStore& store, std::string_view key) {
    auto bytes = store.Load(MakeKey(key));
    EXPECT_THAT(bytes, IsOk());
    return {reinterpret_cast<const char*>(bytes->GetFirst()), static_cast<std::size_t>(bytes->GetCount())};
  }
  std::vector<fs::path> ListFiles() const {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(_folder / "inner")) files.push_back(entry.path());
    return files;
  }

  TemporaryFolder _temporary;
  const fs::path _folder = _temporary.GetPath() / "outer";  // made by the store
};

TEST(ContentKey, TellsSeriesOfTextsAndNumbersApart) {
  ContentKey joined, split;
  joined.Add(std::string_view("abc"));
  split.Add(std::string_view("ab"));
  split.Add(std::string_view("c"));
  EXPECT_FALSE(joined == split);
  ContentKey number;
  number.Add(UInt64(7));
  EXPECT_FALSE(number == ContentKey());
  EXPECT_EQ(MakeKey("abc"), joined);
  EXPECT_EQ(joined.ToText()->GetCount(), 32);
  EXPECT_FALSE(*joined.ToText() == *split.ToText());
}

TEST_F(ContentStoreTest, FindsWhatWasSavedAndOnlyThat) {
  const ContentStore store = Open();
  EXPECT_EQ(Load(store, "a"), "");
  Save(store, "a", "first");
  Save(store, "b", "second");
  EXPECT_EQ(Load(store, "a"), "first");
  EXPECT_EQ(Load(store, "b"), "second");
  EXPECT_EQ(Load(Open(), "a"), "first");
  Save(store, "a", "another");
  EXPECT_EQ(Load(store, "a"), "another");
}

TEST_F(ContentStoreTest, TakesDamagedFilesForAbsent) {
  const ContentStore store = Open();
  Save(store, "a", "some text");
  const std::string file = ListFiles().at(0).native();
  std::string content;
  {
    std::ifstream in(file, std::ios::binary);
    content.assign(std::istreambuf_iterator<char>(in), {});
  }
  for (std::size_t i = 0; i < content.size(); ++i) {
    std::string changed = content;
    changed[i] = static_cast<char>(changed[i] ^ 0x10);
    std::ofstream(file, std::ios::binary) << changed;
    EXPECT_EQ(Load(store, "a"), "") << i;
  }
  for (std::size_t size = 0; size < content.size(); ++size) {
    std::ofstream(file, std::ios::binary) << content.substr(0, size);
    EXPECT_EQ(Load(store, "a"), "") << size;
  }
  std::ofstream(file, std::ios::binary) << content << "more";
  EXPECT_EQ(Load(store, "a"), "");
  std::ofstream(file, std::ios::binary) << content;
  EXPECT_EQ(Load(store, "a"), "some text");
}

TEST_F(ContentStoreTest, TakesAFileOfAnotherKeyForAbsent) {
  const ContentStore store = Open();
  Save(store, "a", "some text");
  const std::string name(MakeKey("b").ToText()->GetView());
  fs::rename(ListFiles().at(0), _folder / "inner" / (name + ".content"));
  EXPECT_EQ(Load(store, "b"), "");
}

TEST_F(ContentStoreTest, DropsWhatWasNotUsedForLongestWhenItGrowsTooLarge) {
  const ContentStore store = Open(4000);
  const std::string text(900, 'x');
  const auto now = fs::file_time_type::clock::now();
  for (int i = 0; i < 3; ++i) Save(store, std::to_string(i), text);
  int age = 100;
  for (int i = 0; i < 3; ++i)
    fs::last_write_time(_folder / "inner" / (std::string(MakeKey(std::to_string(i)).ToText()->GetView()) + ".content"),
                        now - std::chrono::seconds(age--));
  EXPECT_EQ(Load(store, "0"), text);  // used: now the youngest
  Save(store, "3", text);
  Save(store, "4", text);
  EXPECT_EQ(Load(store, "1"), "");
  EXPECT_EQ(Load(store, "0"), text);
  EXPECT_EQ(Load(store, "4"), text);
  Save(store, "large", std::string(5000, 'y'));  // can never fit
  EXPECT_EQ(Load(store, "large"), "");
  EXPECT_EQ(Load(store, "4"), text);
}

TEST_F(ContentStoreTest, LeavesFilesOfOthersAlone) {
  const ContentStore store = Open(2000);
  std::ofstream(_folder / "inner" / "notes.txt") << std::string(5000, 'n');
  for (int i = 0; i < 5; ++i) Save(store, std::to_string(i), std::string(900, 'x'));
  EXPECT_TRUE(fs::exists(_folder / "inner" / "notes.txt"));
}

TEST_F(ContentStoreTest, KeepsNothingWithoutAFolder) {
  auto store = ContentStore::Open("", 1000);
  ASSERT_THAT(store, IsOk());
  Save(*store, "a", "text");
  EXPECT_EQ(Load(*store, "a"), "");
}

TEST_F(ContentStoreTest, SaysWhenTheFolderCannotBeMade) {
  fs::create_directories(_folder);
  std::ofstream(_folder / "inner") << "a file";
  EXPECT_THAT(ContentStore::Open((_folder / "inner").native(), 1000),
              IsErrorContaining(kIllegalStateError, "cannot be made"));
}

TEST_F(ContentStoreTest, SeveralWritersLeaveWholeFiles) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      const ContentStore store = Open();
      for (int i = 0; i < 50; ++i) {
        Save(store, "shared", std::string(1000, static_cast<char>('a' + t)));
        const std::string text = Load(store, "shared");
        if (!text.empty()) {
          EXPECT_EQ(text, std::string(1000, text[0]));
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(ListFiles(), SizeIs(1));
}

TEST_F(ContentStoreTest, ReportsExhaustedMemory) {
  const ContentStore store = Open();
  Save(store, "a", "text");
  ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, store.Load(MakeKey("a")));
    EXPECT_EQ(bytes.GetCount(), 4);
    return OK;
  });
}

TEST(UserCacheFolder, FollowsTheEnvironment) {
  setenv("XDG_CACHE_HOME", "/somewhere", 1);
  EXPECT_EQ(*GetUserCacheFolder(), "/somewhere/ostra");
  setenv("HOME", "/home/me", 1);
  setenv("XDG_CACHE_HOME", "cache/of/the/current/folder", 1);
  EXPECT_EQ(*GetUserCacheFolder(), "/home/me/.cache/ostra");
  unsetenv("XDG_CACHE_HOME");
  setenv("HOME", "/home/me", 1);
  EXPECT_EQ(*GetUserCacheFolder(), "/home/me/.cache/ostra");
  setenv("HOME", "me", 1);
  EXPECT_EQ(*GetUserCacheFolder(), "");
  unsetenv("HOME");
  EXPECT_EQ(*GetUserCacheFolder(), "");
}

}  // namespace
