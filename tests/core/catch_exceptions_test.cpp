#include "ostra/core/catch_exceptions.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

TEST(CatchExceptionsTest, GivesWhatTheFunctionReturns) {
  const auto result = CatchExceptions("unit", 7, "It fails", []() -> Result<Int> { return Int(3); });
  ASSERT_THAT(result, IsOk());
  EXPECT_EQ(*result, 3);
}

TEST(CatchExceptionsTest, ExceptionsAreErrorsOfTheirUnitAndLineWithTheirText) {
  const auto result =
      CatchExceptions("unit", 7, "It fails", []() -> Result<void> { throw std::length_error("too long"); });
  ASSERT_THAT(result, IsErrorWith(kIllegalStateError, "It fails: too long."));
  EXPECT_EQ(result.GetError().GetUnit(), "unit");
  EXPECT_EQ(result.GetError().GetLine(), 7);
}

TEST(CatchExceptionsTest, ExhaustedMemoryKeepsItsKind) {
  const auto result = CatchExceptions("unit", 7, "It fails", []() -> Result<void> { throw std::bad_alloc(); });
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError);
}

}  // namespace
}  // namespace ostra::test
