#include "ostra/drawport_vulkan/uniform_ring.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace ostra::test {
namespace {

using vulkan::UniformRing;

TEST(UniformRingTest, PlacesFollowEachOther) {
  UniformRing ring(1024);
  EXPECT_EQ(ring.Allocate(256), UInt64{0});
  EXPECT_EQ(ring.Allocate(64), UInt64{256});
  EXPECT_EQ(ring.GetHead(), 320u);
}

TEST(UniformRingTest, WhatDoesNotFitBeforeTheEndBeginsAtTheStart) {
  UniformRing ring(1024);
  ASSERT_EQ(ring.Allocate(768), UInt64{0});
  ring.Release(ring.GetHead());
  EXPECT_EQ(ring.Allocate(512), UInt64{0});
}

TEST(UniformRingTest, AFullRingHasNoPlaceUntilSomethingIsReleased) {
  UniformRing ring(1024);
  ASSERT_TRUE(ring.Allocate(512));
  const UInt64 first = ring.GetHead();
  ASSERT_TRUE(ring.Allocate(512));
  EXPECT_FALSE(ring.Allocate(256));
  ring.Release(first);
  EXPECT_EQ(ring.Allocate(256), UInt64{0});
}

TEST(UniformRingTest, WhatIsRewoundIsGivenAgain) {
  UniformRing ring(1024);
  ASSERT_TRUE(ring.Allocate(256));
  const UInt64 head = ring.GetHead();
  ASSERT_TRUE(ring.Allocate(512));
  ring.Rewind(head);
  EXPECT_EQ(ring.Allocate(512), UInt64{256});
}

TEST(UniformRingTest, PlacesInUseNeverOverlapNorLeaveTheBuffer) {
  struct Batch {
    UInt64 end;
    std::vector<std::pair<UInt64, UInt64>> places;
  };
  for (UInt32 seed = 0; seed < 50; ++seed) {
    std::mt19937 random(seed);
    UniformRing ring(4096);
    std::deque<Batch> batches(1);
    for (int i = 0; i < 2000; ++i) {
      const UInt64 size = 16 * (1 + random() % 64);
      const auto begin = ring.Allocate(size);
      if (!begin || random() % 8 == 0) batches.push_back({ring.GetHead(), {}});
      if (!begin) {
        ASSERT_GT(batches.size(), 1u);
        ring.Release(batches[1].end);
        batches.pop_front();
        continue;
      }
      ASSERT_LE(*begin + size, 4096u);
      for (const Batch& batch : batches)
        for (const auto& [usedBegin, usedEnd] : batch.places)
          ASSERT_TRUE(*begin >= usedEnd || *begin + size <= usedBegin) << "seed " << seed;
      // A place belongs to the batch in front of the one that was just begun.
      Batch& owner =
          batches.size() > 1 && batches.back().end == ring.GetHead() ? batches[batches.size() - 2] : batches.back();
      owner.places.emplace_back(*begin, *begin + size);
    }
  }
}

}  // namespace
}  // namespace ostra::test
