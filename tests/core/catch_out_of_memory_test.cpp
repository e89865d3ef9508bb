#include "ostra/core/catch_out_of_memory.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

TEST(CatchOutOfMemoryTest, GivesWhatTheFunctionReturns) {
  const auto result = CatchOutOfMemory("unit", 7, []() -> Result<Int> { return Int(3); });
  ASSERT_THAT(result, IsOk());
  EXPECT_EQ(*result, 3);
}

TEST(CatchOutOfMemoryTest, GivesTheErrorThatTheFunctionReturns) {
  const auto result = CatchOutOfMemory(
      "unit", 7, []() -> Result<Int> { return Error::Make(kIllegalArgumentError, "Too small.", "inner", 3); });
  EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, "Too small."));
}

TEST(CatchOutOfMemoryTest, ExhaustedMemoryIsAnErrorOfItsUnitAndLine) {
  const auto result = CatchOutOfMemory("unit", 7, []() -> Result<void> { throw std::bad_alloc(); });
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError);
  EXPECT_EQ(result.GetError().GetUnit(), "unit");
  EXPECT_EQ(result.GetError().GetLine(), 7);
}

TEST(CatchOutOfMemoryTest, AnArrayOfImpossibleSizeIsExhaustedMemory) {
  const auto result = CatchOutOfMemory("unit", 7, []() -> Result<void> { throw std::bad_array_new_length(); });
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError);
}

TEST(CatchOutOfMemoryTest, FunctionsMayReturnErrorsAlone) {
  const Error error = CatchOutOfMemory("unit", 7, []() -> Error { throw std::bad_alloc(); });
  EXPECT_EQ(error.GetKind(), kOutOfMemoryError);
}

TEST(CatchOutOfMemoryTest, OtherExceptionsPassThrough) {
  EXPECT_THROW(static_cast<void>(CatchOutOfMemory(
                   "unit", 7, []() -> Result<void> { throw std::length_error("longer than any text"); })),
               std::length_error);
}

TEST(CatchOutOfMemoryTest, WhatTheFunctionHoldsIsReleased) {
  const auto held = std::make_shared<int>(1);
  const auto result = CatchOutOfMemory("unit", 7, [&held]() -> Result<void> {
    const std::shared_ptr<int> copy = held;
    throw std::bad_alloc();
  });
  EXPECT_FALSE(result);
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace ostra::test
