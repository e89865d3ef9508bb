#include "ostra/core/error.h"

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ostra/core/format.h"
#include "tests/support/fault_injection.h"

OSTRA_UNIT("error_test");

namespace ostra {
namespace {

TEST(ErrorTest, TellsKindMessageUnitAndLine) {
  const Error error = OSTRA_ILLEGAL_ARGUMENT("source size @ must be a multiple of @.", 20, 16);
  EXPECT_EQ(error.GetKind(), kIllegalArgumentError);
  EXPECT_EQ(error.GetMessage(), "source size 20 must be a multiple of 16.");
  EXPECT_EQ(error.GetUnit(), "error_test");
  EXPECT_EQ(error.GetLine(), __LINE__ - 4);
  const String expected = *Format("source size 20 must be a multiple of 16. [error_test:@]", error.GetLine());
  EXPECT_EQ(*error.ToString(), expected);
}

TEST(ErrorTest, EachMacroRaisesItsKind) {
  EXPECT_EQ(OSTRA_ILLEGAL_STATE("a").GetKind(), kIllegalStateError);
  EXPECT_EQ(OSTRA_NOT_IMPLEMENTED("a").GetKind(), kNotImplementedError);
  EXPECT_EQ(OSTRA_OUT_OF_MEMORY().GetKind(), kOutOfMemoryError);
  EXPECT_EQ(kOutOfMemoryError.GetView(), "net.ostra.interface.outofmemoryerror");
}

TEST(ErrorTest, ConditionsAreQuotedInTheMessage) {
  const auto checkArgument = [](Int count) -> Result<void> {
    OSTRA_CHECK_ARGUMENT(count >= 0);
    return OK;
  };
  const auto checkState = [](Bool isOpen) -> Result<void> {
    OSTRA_CHECK_STATE(isOpen);
    OSTRA_CHECK_STATE_EXPLAINED(!isOpen, "Close it first.");
    return OK;
  };
  EXPECT_THAT(checkArgument(0), IsOk());
  EXPECT_THAT(checkArgument(-1),
              IsErrorWith(kIllegalArgumentError, "Illegal argument: Condition count >= 0 not fulfilled."));
  EXPECT_THAT(checkState(false), IsErrorWith(kIllegalStateError, "Illegal state: Condition isOpen not fulfilled."));
  EXPECT_THAT(checkState(true),
              IsErrorWith(kIllegalStateError, "Illegal state: Condition !isOpen not fulfilled. Close it first."));
}

TEST(ErrorTest, AnEmptyExplanationLeavesItsBlank) {
  const auto check = [](Bool isOpen) -> Result<void> {
    OSTRA_CHECK_STATE_EXPLAINED(isOpen, "");
    return OK;
  };
  EXPECT_THAT(check(false), IsErrorWith(kIllegalStateError, "Illegal state: Condition isOpen not fulfilled. "));
}

TEST(ErrorTest, TheUnitLivesAsLongAsACopyOfTheError) {
  std::string_view unit;
  std::optional<Error> copy;
  {
    std::string text = "a unit of a module that goes";
    const Error error = Error::Make(kIllegalStateError, "message", text.c_str(), 3);
    unit = error.GetUnit();
    copy = error;
    text.assign(text.size(), 'X');
  }
  EXPECT_EQ(unit, "a unit of a module that goes");
  EXPECT_EQ(copy->GetUnit().data(), unit.data());
}

TEST(ErrorTest, OfALongUnitTheFirst63BytesAreKept) {
  const std::string unit(100, 'u');
  EXPECT_EQ(Error::Make(kIllegalStateError, "message", unit.c_str(), 3).GetUnit(), std::string(63, 'u'));
}

TEST(ErrorTest, OwnsItsTexts) {
  char message[] = "short lived";
  char unit[] = "unit";
  const Error error = Error::Make(kIllegalStateError, message, unit, 3);
  message[0] = unit[0] = 'X';
  EXPECT_EQ(error.GetMessage(), "short lived");
  EXPECT_EQ(error.GetUnit(), "unit");
}

TEST(ErrorTest, CopiesShareAndMovesEmpty) {
  Error error = Error::Make(kIllegalStateError, "shared", "unit", 3);
  const Error copy = error;
  const Error moved = std::move(error);
  EXPECT_TRUE(error.IsTaken());
  EXPECT_FALSE(moved.IsTaken());
  const Error copyOfNothing = error;
  EXPECT_TRUE(copyOfNothing.IsTaken());
  error = copy;
  EXPECT_FALSE(error.IsTaken());
  EXPECT_EQ(&copy.GetMessage(), &moved.GetMessage());
}

TEST(ErrorTest, MakingTheOutOfMemoryErrorAllocatesNothing) {
  const Int before = AllocationFaults::GetCount();
  const Error error = OSTRA_OUT_OF_MEMORY();
  EXPECT_EQ(error.GetUnit(), "error_test");
  EXPECT_EQ(error.GetLine(), __LINE__ - 2);
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

TEST(ErrorTest, AnErrorWithoutMemoryForItsMessageBecomesTheOutOfMemoryError) {
  const Int live = AllocationFaults::GetLiveCount();
  for (Int n = 1; n <= 4; ++n) {
    const FailingAllocation failure(n);
    const Error error = OSTRA_ILLEGAL_ARGUMENT("The value @ is too large.", 77);
    ASSERT_TRUE(AllocationFaults::HasFired()) << n;
    EXPECT_EQ(error.GetKind(), kOutOfMemoryError) << n;
    EXPECT_EQ(error.GetUnit(), "error_test");
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
}

TEST(ErrorTest, MoreOutOfMemoryErrorsThanThereAreRecordsStayValidAndAreGivenBack) {
  constexpr std::size_t kMoreThanThePool = 200;
  for (int round = 0; round < 2; ++round) {
    std::vector<Error> errors;
    errors.reserve(kMoreThanThePool);
    const Int before = AllocationFaults::GetCount();
    for (std::size_t i = 0; i < kMoreThanThePool; ++i) errors.push_back(OSTRA_OUT_OF_MEMORY());
    EXPECT_EQ(AllocationFaults::GetCount(), before);
    EXPECT_EQ(errors.front().GetUnit(), "error_test");
    for (const Error& error : errors) EXPECT_EQ(error.GetKind(), kOutOfMemoryError);
  }
}

TEST(ErrorTest, ManyThreadsMakeAndCopyErrorsAtTheSameTime) {
  std::vector<std::thread> threads;
  std::atomic<Int> wrong{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&wrong] {
      for (int i = 0; i < 2000; ++i) {
        const Error error = i % 2 == 0 ? OSTRA_OUT_OF_MEMORY() : OSTRA_ILLEGAL_STATE("number @", i);
        const Error copy = error;
        if (copy.GetKind() != (i % 2 == 0 ? kOutOfMemoryError : kIllegalStateError)) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace ostra
