#include "parallelprogram/module/spin.h"

#include "ostra/core/cpu_pause.h"
#include "ostra/core/host_flags.h"

namespace ostra {
namespace {

constexpr Int32 kFree = 0;
constexpr Int32 kHeld = -1;
constexpr Int32 kPausesPerRound = 8;

void ReturnAtOnce(void*, void*) {}

void CallDelegate(SpinState& state) { g_CpuYieldDelegate(&state, state.context); }

void CallDelegate(YieldReason reason, void* context) {
  g_CpuYieldDelegate(reinterpret_cast<void*>(static_cast<std::intptr_t>(reason)), context);
}

void Pause(Int32 count) {
  for (Int32 round = 0; round < count / kPausesPerRound; ++round) {
    for (Int32 i = 0; i < kPausesPerRound; ++i) CpuPause();
  }
}

}  // namespace

constinit CpuYieldDelegate g_CpuYieldDelegate = &ReturnAtOnce;

void ReportLockAcquired(void* context) { CallDelegate(YieldReason::LockAcquired, context); }
void ReportLongWait(void* context) { CallDelegate(YieldReason::LongWait, context); }

void SpinWaitStep(SpinState& state) {
  if (state.count > MAX_SPIN_COUNT) {
    CallDelegate(state);
    return;
  }
  if (state.count == 0 && g_trackCpuYield) CallDelegate(state);
  state.count += state.step;
  Pause(state.step);
  state.step = state.step <= LAST_DOUBLED_SPIN_STEP ? state.step * 2 : FIRST_SPIN_STEP;
}

void SpinLock(AtomicInt32& lock) {
  if (g_inCrashhandler) return;
  SpinState state;
  for (Int32 expected = kHeld; expected != kFree;) {
    while (lock.LoadRelaxed() != kFree) SpinWaitStep(state);
    expected = kFree;
    lock.CompareExchange(expected, kHeld);  // leaves kFree in `expected` when the lock was taken
  }
  const Bool hasWaited = state.count != 0;
  if (hasWaited && g_trackCpuYield) CallDelegate(state);
  if (g_trackSpinlocks) ReportLockAcquired(&lock);
}

void SpinUnlock(AtomicInt32& lock) { lock.Store(kFree); }

}  // namespace ostra
