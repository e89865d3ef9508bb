#include "parallelprogram/base/spin.h"

#include "ostra/core/cpu_pause.h"
#include "ostra/core/host_flags.h"
#include "parallelprogram/base/spin_step.h"

namespace ostra {
namespace {

constexpr Int32 kFree = 0;
constexpr Int32 kHeld = -1;

void ReturnAtOnce(void*, void*) {}

void CallDelegate(YieldReason reason, void* context) {
  g_CpuYieldDelegate(reinterpret_cast<void*>(static_cast<std::intptr_t>(reason)), context);
}

}  // namespace

constinit CpuYieldDelegate g_CpuYieldDelegate = &ReturnAtOnce;

void ReportLockAcquired(void* context) { CallDelegate(YieldReason::LockAcquired, context); }
void ReportLongWait(void* context) { CallDelegate(YieldReason::LongWait, context); }

void SpinWaitStep(SpinState& state) {
  SpinWaitStepWith(state, [] { CpuPause(); });
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
  if (hasWaited && g_trackCpuYield) g_CpuYieldDelegate(&state, state.context);
  if (g_trackSpinlocks) ReportLockAcquired(&lock);
}

void SpinUnlock(AtomicInt32& lock) { lock.Store(kFree); }

}  // namespace ostra
