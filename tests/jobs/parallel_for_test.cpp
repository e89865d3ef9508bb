#include "ostra/jobs/parallel_for.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "ostra/jobs/paced_loop.h"
#include "tests/jobs/thread_limit.h"

namespace ostra {
namespace {

using std::chrono::steady_clock;

void WorkFor(std::chrono::microseconds duration) {
  for (const auto end = steady_clock::now() + duration; steady_clock::now() < end;) {
  }
}

// Runs a loop, counts how often each index is called and checks the pieces.
void CheckEachIndexOnce(Int count, Int granularity, Int threadCount, std::chrono::microseconds duration) {
  std::vector<Int> calls(static_cast<std::size_t>(count), 0);  // plain: two calls at once are a data race
  std::atomic<Int> shortPieces{0};
  ParallelFor::Dynamic(
      count,
      [&](Int begin, Int end) {
        ASSERT_LT(begin, end);
        if (end - begin < granularity) {
          ++shortPieces;
          EXPECT_EQ(end, count);
        }
        for (Int i = begin; i < end; ++i) ++calls[static_cast<std::size_t>(i)];
        WorkFor(duration);
      },
      granularity, threadCount);
  for (Int i = 0; i < count; ++i) ASSERT_EQ(calls[static_cast<std::size_t>(i)], 1) << "index " << i;
  EXPECT_LE(shortPieces.load(), 1);
}

TEST(ParallelForTest, CallsEachIndexOnceInPiecesOfTheGranularity) {
  const ThreadLimit limit(8);
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    const Int count = static_cast<Int>(random() % (round % 3 ? 3000 : 40));
    const Int granularity = 1 + static_cast<Int>(random() % (round % 2 ? 8 : 200));
    const Int threadCount = static_cast<Int>(random() % 10) - 1;
    CheckEachIndexOnce(count, granularity, threadCount, std::chrono::microseconds(random() % 6));
  }
}

TEST(ParallelForTest, CallsNothingForACountOfZeroOrLess) {
  for (const Int count : {Int{0}, Int{-1}, std::numeric_limits<Int>::min()})
    ParallelFor::Dynamic(
        count, [&](Int, Int) { ADD_FAILURE() << "called for a count of " << count; }, 16);
}

TEST(ParallelForTest, TakesGranularitiesAtTheLimits) {
  CheckEachIndexOnce(10, std::numeric_limits<Int>::max(), -1, {});
  for (const Int granularity : {Int{0}, Int{-5}}) {
    Int sum = 0;
    ParallelFor::Dynamic(
        5, [&](Int begin, Int end) { sum += end - begin; }, granularity, 1);
    EXPECT_EQ(sum, 5);
  }
}

TEST(ParallelForTest, CoversHugeRangesWithoutOverflow) {
  const ThreadLimit limit(4);
  for (const Int granularity : {Int{1}, Int{1} << 40, Int{1} << 61, (Int{1} << 62) + 1}) {
    const Int count = std::numeric_limits<Int>::max();
    std::atomic<Int> sum{0};
    ParallelFor::Dynamic(
        count,
        [&](Int begin, Int end) {
          ASSERT_LT(begin, end);
          sum += end - begin;
          if (granularity > 1) WorkFor(std::chrono::microseconds(granularity > Int{1} << 60 ? 1000 : 0));
        },
        std::max(granularity, Int{1} << 40));
    EXPECT_EQ(sum.load(), count);
  }
}

TEST(ParallelForTest, TheCallerTakesTheFirstPiece) {
  std::thread::id first;
  ParallelFor::Dynamic(1000, [&](Int begin, Int) {
    if (begin == 0) first = std::this_thread::get_id();
    WorkFor(std::chrono::microseconds(5));
  });
  EXPECT_EQ(first, std::this_thread::get_id());
}

TEST(ParallelForTest, AThreadCountOfOneStaysOnTheCallerInAscendingOrder) {
  Int next = 0;
  ParallelFor::Dynamic(
      500,
      [&](Int begin, Int end) {
        EXPECT_EQ(begin, next);
        next = end;
        WorkFor(std::chrono::microseconds(10));
      },
      1, 1);
  EXPECT_EQ(next, 500);
}

// Every call but the first waits until two threads were seen, at most ten seconds.
std::size_t CountThreadsOf(Int count, Int threadCount) {
  std::mutex mutex;
  std::set<std::thread::id> threads;
  const auto end = steady_clock::now() + std::chrono::seconds(10);
  ParallelFor::Dynamic(
      count,
      [&](Int begin, Int) {
        for (;;) {
          {
            const std::scoped_lock lock(mutex);
            threads.insert(std::this_thread::get_id());
            if (begin == 0 || threads.size() > 1 || steady_clock::now() > end) break;
          }
          std::this_thread::yield();
        }
        WorkFor(std::chrono::milliseconds(2));
      },
      1, threadCount);
  return threads.size();
}

TEST(ParallelForTest, FourHeavyInvocationsUseTwoThreads) {
  const ThreadLimit limit(2);
  for (int round = 0; round < 5; ++round) {
    EXPECT_EQ(CountThreadsOf(4, -1), 2U);
    std::this_thread::sleep_for(std::chrono::milliseconds(round));  // workers sleep by then, or still look
  }
}

TEST(ParallelForTest, NoMoreThreadsTakePartThanAskedFor) {
  const ThreadLimit limit(8);
  for (int round = 0; round < 5; ++round) EXPECT_EQ(CountThreadsOf(30, 2), 2U);
}

// Threads wait in their first piece until all have one.
TEST(ParallelForTest, EveryThreadBeginsWithItsOwnShareOfTheIndices) {
  constexpr Float64 kLong = 1e12;
  for (const Int threadCount : {2, 4}) {
    const ThreadLimit limit(threadCount);
    std::mutex mutex;
    std::map<std::thread::id, Int> firsts;
    ParallelFor::RunPaced(100, kLong, [&](Int begin, Int) {
      for (;;) {
        {
          const std::scoped_lock lock(mutex);
          firsts.emplace(std::this_thread::get_id(), begin);
          if (static_cast<Int>(firsts.size()) == threadCount) return;
        }
        std::this_thread::yield();
      }
    });
    EXPECT_EQ(firsts[std::this_thread::get_id()], 0);
    std::set<Int> begins;
    for (const auto& [thread, begin] : firsts) begins.insert(begin);
    EXPECT_EQ(begins, threadCount == 2 ? (std::set<Int>{0, 50}) : (std::set<Int>{0, 25, 50, 75}));
  }
}

TEST(ParallelForTest, TheShareOfAThreadThatIsBusyIsDoneByOthers) {
  const ThreadLimit limit(3);
  std::atomic<Int> done{0};
  ParallelFor::RunPaced(1000, 1e12, [&](Int begin, Int end) {
    while (begin == 0 && done < 1000 - end) std::this_thread::yield();
    done += end - begin;
  });
  EXPECT_EQ(done, 1000);
}

TEST(ParallelForTest, NestedLoopsCallEachPairOnce) {
  const ThreadLimit limit(6);
  constexpr Int kCount = 40;
  std::vector<Int> calls(kCount * kCount, 0);
  ParallelFor::Dynamic(kCount, [&](Int outerBegin, Int outerEnd) {
    for (Int outer = outerBegin; outer < outerEnd; ++outer) {
      ParallelFor::Dynamic(kCount, [&](Int begin, Int end) {
        for (Int inner = begin; inner < end; ++inner) ++calls[static_cast<std::size_t>(outer * kCount + inner)];
        WorkFor(std::chrono::microseconds(3));
      });
    }
  });
  EXPECT_EQ(calls, std::vector<Int>(kCount * kCount, 1));
}

// Opens a loop in a loop in a loop...
void Descend(Int depth, std::atomic<Int>& calls) {
  ParallelFor::Dynamic(3, [&](Int begin, Int) {
    ++calls;
    WorkFor(std::chrono::microseconds(20));
    if (begin == 1 && depth > 0) Descend(depth - 1, calls);
  });
}

TEST(ParallelForTest, MoreOpenLoopsThanAreSharedStillDoAllTheirWork) {
  const ThreadLimit limit(4);
  constexpr Int kDepth = 150;
  std::atomic<Int> calls{0};
  Descend(kDepth - 1, calls);
  EXPECT_EQ(calls.load(), 3 * kDepth);
}

TEST(ParallelForTest, ManyThreadsMayRunLoopsAtOnce) {
  const ThreadLimit limit(4);
  std::vector<std::thread> threads;
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([number] {
      for (int round = 0; round < 100; ++round)
        CheckEachIndexOnce(50 + 20 * number, 1 + round % 5, -1, std::chrono::microseconds(round % 4));
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(ParallelForTest, EffectsOfOneLoopAreSeenByTheNext) {
  const ThreadLimit limit(8);
  std::vector<UInt64> values(2000, 0);  // unsigned: they wrap around
  for (UInt64 round = 0; round < 200; ++round) {
    ParallelFor::Dynamic(static_cast<Int>(values.size()), [&](Int begin, Int end) {
      for (Int i = begin; i < end; ++i) {
        auto& value = values[values.size() - 1 - static_cast<std::size_t>(i)];
        value = value * 3 + round;
      }
      WorkFor(std::chrono::microseconds(1));
    });
    for (const UInt64 value : values) ASSERT_EQ(value, values.front());
  }
}

}  // namespace
}  // namespace ostra
