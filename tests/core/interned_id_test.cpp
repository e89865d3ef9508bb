#include "ostra/core/interned_id.h"

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

TEST(InternedIdTest, TheSameTextIsTheSameName) {
  const InternedId first = *InternedId::Create("image");
  const std::string copy = "image";
  EXPECT_EQ(first, *InternedId::Create(copy));
  EXPECT_EQ(first, "image"_iid);
  EXPECT_EQ(first.GetView().data(), "image"_iid.GetView().data());
  EXPECT_NE(first, "images"_iid);
}

TEST(InternedIdTest, TheEmptyTextIsTheEmptyName) {
  EXPECT_EQ(*InternedId::Create(""), InternedId());
  EXPECT_TRUE(InternedId().IsEmpty());
  EXPECT_EQ(InternedId().GetView(), "");
  EXPECT_TRUE("x"_iid.IsPopulated());
}

TEST(InternedIdTest, NumbersAreFilledIntoATemplate) {
  EXPECT_EQ(*InternedId::Create("noiseMode_@", 12), "noiseMode_12"_iid);
  EXPECT_EQ(InternedId::Create("noiseMode_@", 0)->GetView(), "noiseMode_0");
}

TEST(InternedIdTest, FindGivesKnownNamesOnlyAndAllocatesNothing) {
  const Int before = AllocationFaults::GetCount();
  EXPECT_TRUE(InternedId::Find("nobody has interned this text").IsEmpty());
  EXPECT_EQ(AllocationFaults::GetCount(), before);
  const InternedId name = "somebody has interned this text"_iid;
  EXPECT_EQ(InternedId::Find("somebody has interned this text"), name);
}

TEST(InternedIdTest, SortsByText) {
  EXPECT_TRUE("alpha"_iid < "beta"_iid);
  EXPECT_TRUE(InternedId() < "alpha"_iid);
}

TEST(InternedIdTest, TextsEndWithAZeroByteForCInterfaces) {
  const InternedId name = *InternedId::Create(std::string_view("radius and more", 6));
  EXPECT_EQ(std::string(name.GetView().data()), "radius");
}

TEST(InternedIdTest, UniqueHashesOfDifferentNamesDiffer) {
  const auto hash = "first"_iid.GetUniqueHash();
  EXPECT_EQ(hash, "first"_iid.GetUniqueHash());
  EXPECT_FALSE(hash == "second"_iid.GetUniqueHash());
}

TEST(InternedIdTest, AFailedAllocationIsReportedAndTheNameCanBeMadeLater) {
  {
    const FailingAllocation failure(1);
    EXPECT_THAT(InternedId::Create("a name that memory is missing for"), IsErrorOfKind(kOutOfMemoryError));
  }
  EXPECT_TRUE(InternedId::Find("a name that memory is missing for").IsEmpty());
  EXPECT_THAT(InternedId::Create("a name that memory is missing for"), IsOk());
}

TEST(InternedIdTest, ThreadsThatInternTheSameTextsAtTheSameTimeGetTheSameNames) {
  constexpr std::size_t kThreads = 8;
  constexpr std::size_t kNames = 3000;
  std::array<std::vector<InternedId>, kThreads> names;
  std::vector<std::thread> threads;
  for (auto& ids : names) {
    threads.emplace_back([&ids] {
      for (std::size_t i = 0; i < kNames; ++i) ids.push_back(*InternedId::Create("threadName" + std::to_string(i)));
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t i = 0; i < kNames; ++i) {
    EXPECT_EQ(names[0][i].GetView(), "threadName" + std::to_string(i));
    for (std::size_t t = 1; t < kThreads; ++t) ASSERT_EQ(names[t][i], names[0][i]) << i;
  }
}

}  // namespace
}  // namespace ostra
