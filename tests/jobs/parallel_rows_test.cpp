#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/jobs/parallel_for.h"
#include "tests/jobs/thread_limit.h"

OSTRA_UNIT("parallel_rows_test");

namespace ostra {
namespace {

TEST(ParallelRowsTest, CallsEachRowOnceAndSucceeds) {
  const ThreadLimit limit(6);
  std::vector<Int> calls(1000, 0);
  const Result<void> result = ParallelFor::Rows(1000, [&](Int row) -> Result<void> {
    ++calls[static_cast<std::size_t>(row)];
    return OK;
  });
  EXPECT_TRUE(result);
  EXPECT_EQ(calls, std::vector<Int>(1000, 1));
}

TEST(ParallelRowsTest, OnOneThreadNoRowAfterTheFailingOneIsCalled) {
  const ThreadLimit limit(1);
  Int calls = 0;
  const Result<void> result = ParallelFor::Rows(1000, [&](Int row) -> Result<void> {
    ++calls;
    if (row >= 3) return OSTRA_ILLEGAL_ARGUMENT("row @ is bad", row);
    return OK;
  });
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetMessage().GetView(), "row 3 is bad");
  EXPECT_EQ(calls, 4);
}

TEST(ParallelRowsTest, AnErrorOnAnyThreadStopsAllAndOneErrorIsReturned) {
  const ThreadLimit limit(6);
  for (int round = 0; round < 50; ++round) {
    constexpr Int kCount = 1000000;
    std::atomic<Int> calls{0};
    const Result<void> result = ParallelFor::Rows(kCount, [&](Int row) -> Result<void> {
      calls.fetch_add(1, std::memory_order_relaxed);
      std::this_thread::yield();
      if (row % 97 == 96) return OSTRA_ILLEGAL_STATE("row @", row);
      return OK;
    });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.GetError().GetKind(), kIllegalStateError);
    EXPECT_LT(calls.load(), kCount / 10);
  }
}

TEST(ParallelRowsTest, NoRowsSucceed) {
  EXPECT_TRUE(ParallelFor::Rows(0, [](Int) -> Result<void> { return OSTRA_ILLEGAL_STATE("called"); }));
}

}  // namespace
}  // namespace ostra
