// Looks inside the module: spin waits are not visible from outside.
#include "parallelprogram/base/spin.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

#include "ostra/core/host_flags.h"
#include "parallelprogram/base/spin_step.h"

namespace ostra {
namespace {

using testing::ElementsAre;

struct Call {
  void* stateOrReason;
  void* context;
  friend bool operator==(const Call&, const Call&) = default;
};
std::vector<Call> g_calls;

void Record(void* stateOrReason, void* context) { g_calls.push_back({stateOrReason, context}); }

void* MakeReason(YieldReason reason) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(reason)); }

class SpinTest : public testing::Test {
 protected:
  void SetUp() override {
    g_calls.clear();
    g_CpuYieldDelegate = &Record;
  }
  void TearDown() override {
    g_CpuYieldDelegate = _original;
    g_trackCpuYield = false;
    g_trackSpinlocks = false;
    g_inCrashhandler = false;
  }

  // The lock is held by another thread and released when the waiter calls the delegate.
  static void ReleaseInDelegate(void* stateOrReason, void* context) {
    Record(stateOrReason, context);
    SpinUnlock(g_lock);
  }
  static AtomicInt32 g_lock;

 private:
  CpuYieldDelegate _original = g_CpuYieldDelegate;
};
AtomicInt32 SpinTest::g_lock;

TEST_F(SpinTest, TheFirstDelegateReturnsAtOnce) {
  TearDown();
  SpinState state;
  g_CpuYieldDelegate(&state, nullptr);
  EXPECT_EQ(state.count, 0);
  EXPECT_EQ(state.step, 16);
}

TEST_F(SpinTest, StepsDoubleUpTo2048AndStartAgain) {
  SpinState state;
  std::vector<Int32> steps;
  for (int i = 0; i < 10; ++i) {
    steps.push_back(state.step);
    const Int32 before = state.count;
    SpinWaitStep(state);
    EXPECT_EQ(state.count, before + steps.back());
  }
  EXPECT_THAT(steps, ElementsAre(16, 32, 64, 128, 256, 512, 1024, 2048, 16, 32));
  EXPECT_TRUE(g_calls.empty());
}

TEST_F(SpinTest, AfterMoreThan262144PausesEveryStepCallsTheDelegateAndNothingElse) {
  int context = 0;
  SpinState state;
  state.context = &context;
  while (state.count <= 262144) SpinWaitStep(state);
  EXPECT_TRUE(g_calls.empty());
  const SpinState before = state;
  SpinWaitStep(state);
  SpinWaitStep(state);
  EXPECT_THAT(g_calls, ElementsAre(Call{&state, &context}, Call{&state, &context}));
  EXPECT_EQ(state.count, before.count);
  EXPECT_EQ(state.step, before.step);
}

TEST_F(SpinTest, ExactlyAtTheLimitThereIsOneMorePause) {
  SpinState state;
  state.count = 262144;
  SpinWaitStep(state);
  EXPECT_TRUE(g_calls.empty());
  EXPECT_EQ(state.count, 262144 + 16);
}

TEST_F(SpinTest, TrackedWaitsCallTheDelegateOnceBeforeTheFirstPause) {
  g_trackCpuYield = true;
  SpinState state;
  SpinWaitStep(state);
  SpinWaitStep(state);
  EXPECT_EQ(g_calls.size(), 1U);
}

TEST_F(SpinTest, TheDelegateIsCalledBeforeThePausesOfATrackedWait) {
  g_trackCpuYield = true;
  SpinState state;
  Int pauses = 0;
  std::size_t callsBeforeFirstPause = 0;
  SpinWaitStepWith(state, [&] {
    if (pauses++ == 0) callsBeforeFirstPause = g_calls.size();
  });
  EXPECT_EQ(callsBeforeFirstPause, 1U);
  EXPECT_THAT(g_calls, ElementsAre(Call{&state, nullptr}));
  EXPECT_EQ(pauses, 16);
}

TEST_F(SpinTest, EachStepSpendsTheProcessorPausesThatItCounts) {
  SpinState state;
  for (const Int32 expected : {16, 32, 64, 128, 256, 512, 1024, 2048, 16}) {
    Int32 pauses = 0;
    SpinWaitStepWith(state, [&] { ++pauses; });
    EXPECT_EQ(pauses, expected);
  }
  // Past the limit there is no pause.
  state.count = 262145;
  SpinWaitStepWith(state, [] { ADD_FAILURE() << "a pause past the limit"; });
}

TEST_F(SpinTest, PausesComeInRoundsOfEight) {
  const auto count = [](Int32 wanted) {
    Int32 pauses = 0;
    PauseInRounds(wanted, [&] { ++pauses; });
    return pauses;
  };
  EXPECT_EQ(count(0), 0);
  EXPECT_EQ(count(7), 0);
  EXPECT_EQ(count(8), 8);
  EXPECT_EQ(count(23), 16);
}

TEST_F(SpinTest, AFreeLockIsTakenWithoutWaiting) {
  g_trackCpuYield = true;
  AtomicInt32 lock;
  SpinLock(lock);
  EXPECT_EQ(lock.Load(), -1);
  EXPECT_TRUE(g_calls.empty());
  SpinUnlock(lock);
  EXPECT_EQ(lock.Load(), 0);
}

TEST_F(SpinTest, AHeldLockIsWaitedForThroughTheDelegate) {
  g_CpuYieldDelegate = &ReleaseInDelegate;
  SpinLock(g_lock);
  SpinLock(g_lock);
  EXPECT_EQ(g_lock.Load(), -1);
  EXPECT_EQ(g_calls.size(), 1U);
  SpinUnlock(g_lock);
}

TEST_F(SpinTest, ATrackedWaitIsReportedWhenTheLockIsTaken) {
  g_trackCpuYield = true;
  g_CpuYieldDelegate = &ReleaseInDelegate;
  SpinLock(g_lock);
  SpinLock(g_lock);
  // Once before the first pause, which releases the lock, and once afterwards.
  EXPECT_EQ(g_calls.size(), 2U);
  SpinUnlock(g_lock);
}

TEST_F(SpinTest, TrackedLocksReportEveryAcquisition) {
  g_trackSpinlocks = true;
  AtomicInt32 lock;
  SpinLock(lock);
  EXPECT_THAT(g_calls, ElementsAre(Call{MakeReason(YieldReason::LockAcquired), &lock}));
  SpinUnlock(lock);
}

TEST_F(SpinTest, WithBothSwitchesTheEndOfAWaitIsReportedBeforeTheLock) {
  SpinLock(g_lock);
  g_trackCpuYield = true;
  g_trackSpinlocks = true;
  g_CpuYieldDelegate = &ReleaseInDelegate;
  SpinLock(g_lock);
  ASSERT_EQ(g_calls.size(), 3U);
  EXPECT_EQ(g_calls[1], g_calls[0]);  // the state of the wait, at its begin and at its end
  EXPECT_NE(g_calls[0].stateOrReason, MakeReason(YieldReason::LockAcquired));
  EXPECT_EQ(g_calls[2], (Call{MakeReason(YieldReason::LockAcquired), &g_lock}));
  SpinUnlock(g_lock);
}

TEST_F(SpinTest, InTheCrashHandlerALockThatIsHeldIsPassed) {
  AtomicInt32 lock;
  SpinLock(lock);
  g_inCrashhandler = true;
  g_trackSpinlocks = true;
  g_trackCpuYield = true;
  SpinLock(lock);  // would wait for ever
  EXPECT_EQ(lock.Load(), -1);
  EXPECT_TRUE(g_calls.empty());
  g_inCrashhandler = false;
  SpinUnlock(lock);
}

TEST_F(SpinTest, InTheCrashHandlerLocksAreNotTaken) {
  g_inCrashhandler = true;
  g_trackSpinlocks = true;
  AtomicInt32 lock;
  SpinLock(lock);
  EXPECT_EQ(lock.Load(), 0);
  SpinLock(lock);
  EXPECT_EQ(lock.Load(), 0);
  EXPECT_TRUE(g_calls.empty());
}

TEST_F(SpinTest, ReportsCarryTheirCodeAndTheCallersContext) {
  int context = 0;
  ReportLockAcquired(&context);
  ReportLongWait(&context);
  EXPECT_THAT(g_calls,
              ElementsAre(Call{reinterpret_cast<void*>(1), &context}, Call{reinterpret_cast<void*>(3), &context}));
}

TEST_F(SpinTest, ALockExcludesThreadsFromEachOther) {
  g_CpuYieldDelegate = [](void*, void*) { std::this_thread::yield(); };
  constexpr Int kRounds = 20000;
  AtomicInt32 lock;
  Int counter = 0;
  const auto count = [&] {
    for (Int i = 0; i < kRounds; ++i) {
      const SpinGuard guard(lock);
      ++counter;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(count);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter, 4 * kRounds);
}

}  // namespace
}  // namespace ostra
