// Runs a scenario once for every allocation that it makes, and lets that allocation fail.
//
//   ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
//     OSTRA_ASSIGN_OR_RETURN(String text, String::Create("a text that needs memory"));
//     return OK;
//   });
//
// Expected each time: the out-of-memory error, and as many live allocations as before. In the end: success.
#pragma once

#include <gmock/gmock.h>

#include "ostra/core/memory.h"
#include "ostra/core/result.h"
#include "tests/support/result_matchers.h"

namespace ostra {

// Makes the n-th allocation fail as long as it lives.
class FailingAllocation {
 public:
  explicit FailingAllocation(Int n) { AllocationFaults::FailNth(n); }
  ~FailingAllocation() { AllocationFaults::Disable(); }
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

// `afterwards` is called after each failure, to look at what the failed scenario left behind. Returns how many
// allocations failed in turn. What is made once per process (names, types) is made in a first run without failures.
template <class Scenario, class Check>
Int ExpectEveryAllocationFailureIsReported(Scenario&& scenario, Check&& afterwards) {
  constexpr Int kLimit = 10000;
  EXPECT_THAT(scenario(), IsOk());
  const Int liveBefore = AllocationFaults::GetLiveCount();
  for (Int n = 1; n < kLimit; ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n << " fails");
    Bool fired = false;
    {
      const FailingAllocation failure(n);
      const Result<void> result = scenario();
      fired = AllocationFaults::HasFired();
      if (fired) {
        EXPECT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
      } else {
        EXPECT_THAT(result, IsOk());
      }
    }
    EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
    if (!fired) return n - 1;
    afterwards();
    if (testing::Test::HasFailure()) return n;
  }
  ADD_FAILURE() << "The scenario makes more than " << kLimit << " allocations.";
  return kLimit;
}

template <class Scenario>
Int ExpectEveryAllocationFailureIsReported(Scenario&& scenario) {
  return ExpectEveryAllocationFailureIsReported(scenario, [] {});
}

}  // namespace ostra
