// A scenario in which each allocation fails in turn: whatever it answers, it must run again afterwards.
//
//   ExpectScenarioSurvives([&] { return program->UpdateUniforms(); });
//
// For what may get along without some of its memory; otherwise ExpectEveryAllocationFailureIsReported says more.
#pragma once

#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"

namespace ostra {

// At least one failure must be reported. Diagnostics are swallowed.
template <class Scenario>
void ExpectScenarioSurvives(Scenario&& scenario) {
  constexpr Int kLimit = 5000;
  ASSERT_THAT(scenario(), IsOk());
  const DiagnosticRecorder diagnostics;
  Int failures = 0;
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, kLimit) << "The scenario makes too many allocations.";
    Bool fired = false;
    {
      const FailingAllocation failure(n);
      const Result<void> result = scenario();
      fired = AllocationFaults::HasFired();
      if (fired && !result) ++failures;
      if (!fired) {
        EXPECT_THAT(result, IsOk());
      }
    }
    if (!fired) break;
    ASSERT_THAT(scenario(), IsOk()) << "after the failure of allocation " << n;
  }
  EXPECT_GT(failures, 0);
}

}  // namespace ostra
