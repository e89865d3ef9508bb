// The module's busy waiting: for critical sections of a few instructions. Locks are not re-entrant and not fair.
//
//   AtomicInt32 lock;                        // 0 free, -1 held
//   {
//     const SpinGuard guard(lock);
//     ...
//   }
//
// While the host writes a crash report (g_inCrashhandler) locks are skipped, so that the report cannot deadlock.
// All functions are thread-safe.
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/core/export.h"

namespace ostra {

// How far one wait has backed off.
struct SpinState {
  Int32 count = 0;          // pauses spent so far
  Int32 step = 16;          // pauses to spend in the next round
  void* context = nullptr;  // handed to g_CpuYieldDelegate
};

// Called when a wait gives up the processor, and for reports about locks: the state of the wait, or one of the codes
// below in its place, and a context.
using CpuYieldDelegate = void (*)(void* stateOrReason, void* context);

extern "C" {
// At first a function that returns at once. The host may replace it at any time when no thread is in a function of this
// file: it is read without synchronisation.
extern OSTRA_API CpuYieldDelegate g_CpuYieldDelegate;
}

// Codes in place of the state.
enum class YieldReason : Int32 {
  LockAcquired = 1,  // a lock was taken while g_trackSpinlocks is set; the context is its address
  LongWait = 3,      // a thread is about to wait for something that takes long; the context is the caller's
};
void ReportLockAcquired(void* context);
void ReportLongWait(void* context);

// After this many pauses a wait hands the processor over instead of pausing.
inline constexpr Int32 MAX_SPIN_COUNT = 262144;
inline constexpr Int32 FIRST_SPIN_STEP = 16;
inline constexpr Int32 LAST_DOUBLED_SPIN_STEP = 1024;

// One round of waiting: 16, 32, ... 2048 pauses, then from the start. The caller tests its condition between rounds.
void SpinWaitStep(SpinState& state);

void SpinLock(AtomicInt32& lock);
void SpinUnlock(AtomicInt32& lock);

class SpinGuard {
 public:
  explicit SpinGuard(AtomicInt32& lock) : _lock(lock) { SpinLock(_lock); }
  ~SpinGuard() { SpinUnlock(_lock); }
  SpinGuard(const SpinGuard&) = delete;
  SpinGuard& operator=(const SpinGuard&) = delete;

 private:
  AtomicInt32& _lock;
};

}  // namespace ostra
