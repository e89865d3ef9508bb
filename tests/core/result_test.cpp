#include "ostra/core/result.h"

#include <memory>

#include "ostra/core/format.h"
#include "tests/support/result_matchers.h"

OSTRA_UNIT("result_test");

namespace ostra {
namespace {

Result<Int> Halve(Int number) {
  if (number % 2 != 0) return OSTRA_ILLEGAL_ARGUMENT("@ is odd.", number);
  return number / 2;
}

Result<Int> Quarter(Int number) {
  OSTRA_ASSIGN_OR_RETURN(const Int half, Halve(number));
  return Halve(half);
}

Result<void> CheckEven(Int number) {
  OSTRA_RETURN_IF_ERROR(Halve(number));
  return OK;
}

TEST(ResultTest, HoldsTheValueOfASuccessfulCall) {
  const Result<Int> result = Halve(8);
  ASSERT_TRUE(result.IsOk());
  EXPECT_TRUE(static_cast<bool>(result));
  EXPECT_EQ(*result, 4);
  EXPECT_EQ(result.GetValue(), 4);
}

TEST(ResultTest, HoldsTheErrorOfAFailedCall) { EXPECT_THAT(Halve(7), IsErrorWith(kIllegalArgumentError, "7 is odd.")); }

TEST(ResultTest, MacrosBindTheValueOrReturnTheFirstError) {
  EXPECT_EQ(*Quarter(12), 3);
  EXPECT_THAT(Quarter(6), IsErrorWith(kIllegalArgumentError, "3 is odd."));
  EXPECT_THAT(CheckEven(6), IsOk());
  EXPECT_THAT(CheckEven(5), IsErrorWith(kIllegalArgumentError, "5 is odd."));
}

TEST(ResultTest, MovesValuesThatCannotBeCopied) {
  Result<std::unique_ptr<Int>> result = std::make_unique<Int>(5);
  const std::unique_ptr<Int> value = std::move(result).GetValue();
  EXPECT_EQ(*value, 5);
}

TEST(ResultTest, RefersToAnObjectThatSomebodyElseOwns) {
  Int number = 1;
  Result<Int&> result = number;
  *result = 7;
  EXPECT_EQ(number, 7);
  EXPECT_EQ(&*result, &number);
}

TEST(ResultTest, CopiesHoldTheirOwnReferenceToTheError) {
  Result<void> first = Error::Make(kIllegalStateError, "too early", "unit", 1);
  {
    const Result<void> second = first;
    EXPECT_THAT(second, IsErrorWith(kIllegalStateError, "too early"));
  }
  EXPECT_THAT(first, IsErrorWith(kIllegalStateError, "too early"));
}

TEST(ResultTest, ASuccessIsAsWideAsAPointerAndStaysOneWhenItIsMoved) {
  static_assert(sizeof(Result<void>) == sizeof(void*));
  static_assert(sizeof(Result<Int>) == 2 * sizeof(void*));
  Result<void> result = OK;
  const Result<void> moved = std::move(result);
  EXPECT_TRUE(moved.IsOk());
  EXPECT_TRUE(result.IsOk());  // NOLINT(bugprone-use-after-move): that is what is asked
}

TEST(ResultTest, NoErrorIsTakenForSuccess) {
  const Result<void> fine = OK;
  const Result<String> result = fine.GetError();
  EXPECT_FALSE(result.IsOk());
  EXPECT_TRUE(result.GetError().IsTaken());
}

template <class T>
class TakenResultTest : public testing::Test {};
using ResultValues = testing::Types<void, String, Int&>;
TYPED_TEST_SUITE(TakenResultTest, ResultValues);

TYPED_TEST(TakenResultTest, AFailedResultWhoseErrorWasTakenIsNeverOk) {
  Result<TypeParam> result = Error::Make(kIllegalStateError, "too early", "unit", 1);
  const Error error = result.TakeError();
  EXPECT_EQ(error.GetMessage(), "too early");
  EXPECT_FALSE(result.IsOk());
  EXPECT_TRUE(result.GetError().IsTaken());
  const Result<TypeParam> copy = result;
  EXPECT_FALSE(copy.IsOk());
  Result<TypeParam> moved = std::move(result);
  EXPECT_FALSE(moved.IsOk());
  Result<TypeParam> failed = error;
  moved = std::move(failed);
  EXPECT_FALSE(failed.IsOk());  // NOLINT(bugprone-use-after-move): that is what is asked
  EXPECT_THAT(moved, IsErrorWith(kIllegalStateError, "too early"));
}

TEST(ResultTest, AssignmentReplacesAnErrorByAValueAndAValueByAnError) {
  Result<String> result = Error::Make(kIllegalStateError, "too early", "unit", 1);
  result = *String::Create("now it works");
  ASSERT_THAT(result, IsOk());
  EXPECT_EQ(*result, "now it works");
  result = Result<String>(Error::Make(kIllegalStateError, "too late", "unit", 2));
  EXPECT_THAT(result, IsErrorWith(kIllegalStateError, "too late"));
}

TEST(ResultDeathTest, UsingTheValueOfAFailedResultEndsTheProcessWithItsMessage) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(static_cast<void>(*Halve(3)), "The value of a failed Result was used: 3 is odd.");
}

}  // namespace
}  // namespace ostra
