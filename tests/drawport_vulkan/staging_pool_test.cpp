// Which memory transfers get. The blocks of these tests have no buffer behind them.
#include "ostra/drawport_vulkan/staging_pool.h"

#include <gtest/gtest.h>

#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using vulkan::MemoryUse;
using vulkan::StagingMemory;
using vulkan::StagingPool;

constexpr Int kMegabyte = Int(1) << 20;

// Memory that is not mapped any more and free when batch `busyUntil` is done.
StagingMemory* AddFree(StagingPool& pool, Int size, UInt64 busyUntil, MemoryUse use = MemoryUse::Upload) {
  auto added = pool.Add({}, size, use);
  EXPECT_THAT(added, IsOk());
  (*added)->isMapped = false;
  (*added)->busyUntil = busyUntil;
  return *added;
}

TEST(StagingPoolTest, BlocksArePowersOfTwoOfAtLeast64KiB) {
  EXPECT_EQ(StagingPool::GetBlockSize(1), Int(64) << 10);
  EXPECT_EQ(StagingPool::GetBlockSize(kMegabyte), kMegabyte);
  EXPECT_EQ(StagingPool::GetBlockSize(kMegabyte + 1), 2 * kMegabyte);
}

TEST(StagingPoolTest, TheSmallestFreeBlockThatFitsIsTaken) {
  StagingPool pool;
  AddFree(pool, 8 * kMegabyte, 0);
  StagingMemory* const fitting = AddFree(pool, 2 * kMegabyte, 0);
  AddFree(pool, kMegabyte, 0);
  EXPECT_EQ(pool.Take(kMegabyte + 1, MemoryUse::Upload, 0), fitting);
  EXPECT_TRUE(fitting->isMapped);
  EXPECT_EQ(pool.Take(16 * kMegabyte, MemoryUse::Upload, 0), nullptr);
}

TEST(StagingPoolTest, BusyMappedAndOtherBlocksAreNotTaken) {
  StagingPool pool;
  StagingMemory* const block = AddFree(pool, kMegabyte, 5);
  EXPECT_EQ(pool.Take(1, MemoryUse::Upload, 4), nullptr);
  EXPECT_EQ(pool.Take(1, MemoryUse::ReadBack, 5), nullptr);
  EXPECT_EQ(pool.Take(1, MemoryUse::Upload, 5), block);
  EXPECT_EQ(pool.Take(1, MemoryUse::Upload, 5), nullptr);
}

TEST(StagingPoolTest, GrowthWaitsOnlyForWorkThatIsOnItsWay) {
  StagingPool pool;
  AddFree(pool, 48 * kMegabyte, 3);
  EXPECT_FALSE(pool.MustWait(16 * kMegabyte, 2));
  EXPECT_TRUE(pool.MustWait(32 * kMegabyte, 2));
  EXPECT_FALSE(pool.MustWait(32 * kMegabyte, 3)) << "nothing to wait for";
}

TEST(StagingPoolTest, SpareBlocksGoUntilHalfOfTheMemoryIsLeft) {
  StagingPool pool;
  AddFree(pool, 32 * kMegabyte, 0);
  StagingMemory* const busy = AddFree(pool, 16 * kMegabyte, 9);
  AddFree(pool, 16 * kMegabyte, 0);
  pool.FreeSpare(1);
  EXPECT_EQ(pool.Take(16 * kMegabyte, MemoryUse::Upload, 1), nullptr) << "only the busy block of that size is left";
  EXPECT_EQ(pool.Take(16 * kMegabyte, MemoryUse::Upload, 9), busy);
}

TEST(StagingPoolTest, WithoutMemoryNothingIsAdded) {
  ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    StagingPool pool;
    for (int i = 0; i < 10; ++i) OSTRA_RETURN_IF_ERROR(pool.Add({}, kMegabyte, MemoryUse::Upload));
    return OK;
  });
}

}  // namespace
}  // namespace ostra::test
