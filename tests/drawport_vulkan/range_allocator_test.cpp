// Looks inside the backend: how blocks of memory are cut.
#include "ostra/drawport_vulkan/range_allocator.h"

#include <gmock/gmock.h>

#include <vector>

#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

using namespace ostra;
using namespace ostra::vulkan;

namespace {

TEST(RangeAllocator, HandsOutEverythingOnceAndTakesItBack) {
  RangeAllocator ranges;
  ASSERT_THAT(ranges.Init(100), IsOk());
  EXPECT_EQ(*ranges.Allocate(40, 1), 0);
  EXPECT_EQ(*ranges.Allocate(60, 1), 40);
  EXPECT_EQ(*ranges.Allocate(1, 1), RangeAllocator::kFull);
  EXPECT_EQ(ranges.GetFreeSize(), 0);
  ranges.Free(0, 40);
  ranges.Free(40, 60);
  EXPECT_TRUE(ranges.IsEmpty());
  EXPECT_EQ(*ranges.Allocate(100, 1), 0);
}

TEST(RangeAllocator, KeepsAlignmentAndFillsTheGapThatFitsBest) {
  RangeAllocator ranges;
  ASSERT_THAT(ranges.Init(1000), IsOk());
  EXPECT_EQ(*ranges.Allocate(10, 1), 0);
  EXPECT_EQ(*ranges.Allocate(10, 64), 64);  // leaves 10 to 64
  EXPECT_EQ(*ranges.Allocate(50, 2), 10);   // fits there better than behind
  EXPECT_EQ(*ranges.Allocate(100, 128), 128);
}

TEST(RangeAllocator, PartsNeverOverlapWhateverTheOrder) {
  constexpr Int kSize = 4096;
  RangeAllocator ranges;
  ASSERT_THAT(ranges.Init(kSize), IsOk());
  struct Part {
    Int begin, size;
  };
  std::vector<Part> parts;
  std::vector<int> owners(kSize);
  UInt32 random = 1;
  const auto next = [&](UInt32 limit) { return ((random = random * 1664525u + 1013904223u) >> 16) % limit; };
  for (int step = 0; step < 20000; ++step) {
    if (next(2) == 0 || parts.empty()) {
      const Int size = 1 + next(200);
      const Int alignment = Int(1) << next(7);
      const Int begin = *ranges.Allocate(size, alignment);
      if (begin == RangeAllocator::kFull) continue;
      ASSERT_EQ(begin % alignment, 0);
      ASSERT_LE(begin + size, kSize);
      for (Int i = begin; i < begin + size; ++i) ASSERT_EQ(owners[static_cast<std::size_t>(i)]++, 0);
      parts.push_back({begin, size});
    } else {
      const std::size_t index = next(static_cast<UInt32>(parts.size()));
      const Part part = parts[index];
      parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(index));
      ranges.Free(part.begin, part.size);
      for (Int i = part.begin; i < part.begin + part.size; ++i) --owners[static_cast<std::size_t>(i)];
    }
  }
  for (const Part& part : parts) ranges.Free(part.begin, part.size);
  EXPECT_TRUE(ranges.IsEmpty());
  EXPECT_EQ(*ranges.Allocate(kSize, 1), 0);
}

// Sizes of six powers of two, as buffers have them, with four fifths of the block in use: what is free stays in pieces
// that serve.
TEST(RangeAllocator, AMillionAllocationsLeaveTheFreeMemoryUsable) {
  constexpr Int kSize = Int(64) << 20;
  constexpr Int kMaxPart = Int(1) << 20;
  constexpr Int kMaxUsed = kSize / 5 * 4;
  RangeAllocator ranges;
  ASSERT_THAT(ranges.Init(kSize), IsOk());
  struct Part {
    Int begin, size;
  };
  std::vector<Part> parts;
  UInt64 random = 1;
  const auto next = [&](UInt64 limit) {
    random = random * 6364136223846793005u + 1442695040888963407u;
    return (random >> 33) % limit;
  };
  const auto freeOne = [&] {
    std::swap(parts[next(parts.size())], parts.back());
    ranges.Free(parts.back().begin, parts.back().size);
    parts.pop_back();
  };
  int allocated = 0;
  int failed = 0;
  while (allocated < 1000000) {
    const Int size = (kMaxPart >> next(6)) - static_cast<Int>(next(4096));
    while (kSize - ranges.GetFreeSize() + size > kMaxUsed) freeOne();
    Int begin = *ranges.Allocate(size, 256);
    for (; begin == RangeAllocator::kFull; begin = *ranges.Allocate(size, 256)) {
      ++failed;
      freeOne();
    }
    parts.push_back({begin, size});
    ++allocated;
  }
  EXPECT_LT(failed, allocated / 1000);  // although a fifth of the block is free, few find no place at once
  while (!parts.empty()) freeOne();
  EXPECT_TRUE(ranges.IsEmpty());
  EXPECT_EQ(*ranges.Allocate(kSize, 1), 0);
}

TEST(RangeAllocator, ReportsExhaustedMemory) {
  ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    RangeAllocator ranges;
    OSTRA_RETURN_IF_ERROR(ranges.Init(1 << 20));
    Int places[64];
    for (Int& place : places) {
      OSTRA_ASSIGN_OR_RETURN(place, ranges.Allocate(100, 1));
    }
    for (int i = 0; i < 64; i += 2) ranges.Free(places[i], 100);
    for (int i = 1; i < 64; i += 2) ranges.Free(places[i], 100);
    EXPECT_TRUE(ranges.IsEmpty());
    return OK;
  });
}

}  // namespace
