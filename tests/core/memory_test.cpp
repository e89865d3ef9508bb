#include "ostra/core/memory.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "ostra/core/large_pages.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

TEST(MemoryTest, IsAlignedForWideVectorsWhateverItsSize) {
  for (const Int size : {0, 1, 7, 32, 33, 4096}) {
    void* memory = AllocMem(size);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 32, 0u) << size;
    FreeMem(memory);
  }
}

TEST(MemoryTest, ZeroedMemoryIsZero) {
  auto* bytes = static_cast<Byte*>(AllocZeroed(1000));
  ASSERT_NE(bytes, nullptr);
  for (Int i = 0; i < 1000; ++i) ASSERT_EQ(bytes[i], 0) << i;
  FreeMem(bytes);
}

TEST(MemoryTest, NegativeSizesFail) {
  EXPECT_EQ(AllocMem(-1), nullptr);
  EXPECT_EQ(AllocZeroed(-1), nullptr);
  EXPECT_EQ(AllocForever(-1), nullptr);
  FreeMem(nullptr);
}

TEST(MemoryTest, LiveAllocationsAreCounted) {
  const Int before = AllocationFaults::GetLiveCount();
  void* first = AllocMem(1);
  void* second = AllocZeroed(1);
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before + 2);
  FreeMem(first);
  FreeMem(second);
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
}

TEST(MemoryTest, OnlyTheChosenAllocationFails) {
  const FailingAllocation failure(2);
  void* first = AllocMem(8);
  EXPECT_FALSE(AllocationFaults::HasFired());
  void* second = AllocMem(8);
  EXPECT_TRUE(AllocationFaults::HasFired());
  void* third = AllocMem(8);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  FreeMem(first);
  FreeMem(third);
}

TEST(MemoryTest, ObjectsAreConstructedAndDestroyed) {
  struct Counter {
    explicit Counter(Int& alive) : count(alive) { ++count; }
    ~Counter() { --count; }
    Int& count;
  };
  Int alive = 0;
  Counter* counter = NewObj<Counter>(alive);
  ASSERT_NE(counter, nullptr);
  EXPECT_EQ(alive, 1);
  DeleteObj(counter);
  EXPECT_EQ(alive, 0);
  const FailingAllocation failure(1);
  EXPECT_EQ(NewObj<Counter>(alive), nullptr);
  EXPECT_EQ(alive, 0);
}

TEST(MemoryTest, TheHintForLargePagesKeepsTheContentsOfAreasOfAnySize) {
  for (const Int size : {0, 100, 9 << 20}) {
    auto* bytes = static_cast<Byte*>(AllocMem(size));
    ASSERT_NE(bytes, nullptr);
    for (Int i = 0; i < size; ++i) bytes[i] = static_cast<Byte>(i * 7);
    AdviseLargePages(bytes, size);
    for (Int i = 0; i < size; ++i) ASSERT_EQ(bytes[i], static_cast<Byte>(i * 7)) << i;
    FreeMem(bytes);
  }
}

TEST(MemoryTest, StandardContainersOverTheHostAllocatorRefuseSizesThatOverflow) {
  HostAllocator<UInt64> allocator;
  EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX / 4)), std::bad_alloc);
  EXPECT_THROW(static_cast<void>(allocator.allocate((SIZE_MAX / 8) + 2)), std::bad_alloc);
}

}  // namespace
}  // namespace ostra
