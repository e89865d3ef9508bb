#include "ostra/core/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "ostra/core/base_array.h"
#include "ostra/core/large_pages.h"
#include "ostra/core/memory_limit.h"
#include "ostra/core/stream_copy.h"
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

// The area was used before, and ends off the pages.
TEST(MemoryTest, LargeAreasThatAreAskedForZeroedHoldZerosToTheLastByte) {
  for (const Int size : {(Int(32) << 20) - 1, Int(32) << 20, (Int(40) << 20) + 13}) {
    auto* used = static_cast<Byte*>(AllocMem(size));
    ASSERT_NE(used, nullptr);
    std::memset(used, 0xA5, static_cast<std::size_t>(size));
    FreeMem(used);
    auto* bytes = static_cast<Byte*>(AllocZeroed(size));
    ASSERT_NE(bytes, nullptr);
    EXPECT_EQ(std::count(bytes, bytes + size, Byte(0)), size);
    std::memset(bytes, 0x5A, static_cast<std::size_t>(size));
    EXPECT_EQ(std::count(bytes, bytes + size, Byte(0x5A)), size);
    FreeMem(bytes);
  }
}

TEST(MemoryTest, CopiesPastTheCachesCopyEveryByteAndNoOther) {
  constexpr Int kRoom = 100'000;
  constexpr Int kMargin = 128;
  BaseArray<Byte> source;
  BaseArray<Byte> target;
  ASSERT_TRUE(source.Resize(kRoom));
  ASSERT_TRUE(target.Resize(kRoom));
  for (Int i = 0; i < kRoom; ++i) source[i] = static_cast<Byte>((i * 131) >> 3);
  for (const Int size : {0, 1, 63, 64, 8191, 8192, 8193, 16383, 16384, 16385, 16384 + 64, 65536, 65600, 90'001}) {
    for (const Int targetOffset : {0, 1, 15, 32, 63}) {
      for (const Int sourceOffset : {0, 7, 16}) {
        std::fill(target.begin(), target.end(), Byte(0xEE));
        Byte* first = &target[kMargin + targetOffset];
        StreamCopy(first, &source[kMargin + sourceOffset], size);
        ASSERT_TRUE(std::equal(first, first + size, &source[kMargin + sourceOffset])) << size << " " << targetOffset;
        ASSERT_TRUE(std::all_of(target.begin(), first, [](Byte byte) { return byte == Byte(0xEE); })) << size;
        ASSERT_TRUE(std::all_of(first + size, target.end(), [](Byte byte) { return byte == Byte(0xEE); })) << size;
      }
    }
  }
}

TEST(MemoryTest, StandardContainersOverTheHostAllocatorRefuseSizesThatOverflow) {
  HostAllocator<UInt64> allocator;
  EXPECT_THROW(static_cast<void>(allocator.allocate(SIZE_MAX / 4)), std::bad_alloc);
  EXPECT_THROW(static_cast<void>(allocator.allocate((SIZE_MAX / 8) + 2)), std::bad_alloc);
}

// The limit of the process is back afterwards.
class MemoryLimitTest : public testing::Test {
 protected:
  ~MemoryLimitTest() override { SetMemoryLimit(std::numeric_limits<Int>::max()); }
  static constexpr Int kMiB = Int(1) << 20;
};

TEST_F(MemoryLimitTest, LargeAreasTogetherStayBelowIt) {
  const Int before = GetMemoryUse().inUse;
  SetMemoryLimit(before + 10 * kMiB);
  void* first = AllocMem(6 * kMiB);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(GetMemoryUse().inUse, before + 6 * kMiB);
  EXPECT_EQ(AllocMem(5 * kMiB), nullptr);
  EXPECT_EQ(GetMemoryUse().refused, 5 * kMiB);
  EXPECT_FALSE(ReserveMemory(5 * kMiB));
  EXPECT_EQ(GetMemoryUse().inUse, before + 6 * kMiB);
  void* second = AllocZeroed(4 * kMiB);
  EXPECT_NE(second, nullptr);
  void* small = AllocMem(1000);
  EXPECT_NE(small, nullptr);
  FreeMem(first);
  EXPECT_TRUE(ReserveMemory(5 * kMiB));
  ReturnMemory(5 * kMiB);
  FreeMem(second);
  FreeMem(small);
  EXPECT_EQ(GetMemoryUse().inUse, before);
}

TEST_F(MemoryLimitTest, AnArrayThatIsRefusedIsAnErrorAndKeepsItsElements) {
  SetMemoryLimit(GetMemoryUse().inUse + 4 * kMiB);
  BaseArray<Byte> bytes;
  ASSERT_TRUE(bytes.Resize(100).IsOk());
  const auto resized = bytes.Resize(5 * kMiB);
  ASSERT_FALSE(resized.IsOk());
  EXPECT_EQ(resized.GetError().GetKind(), kOutOfMemoryError);
  EXPECT_EQ(bytes.GetCount(), 100);
}

}  // namespace
}  // namespace ostra
