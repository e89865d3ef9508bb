#include "ostra/jobs/worker_pool.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <optional>

#include "ostra/core/diagnostics.h"
#include "ostra/jobs/job_queue.h"
#include "ostra/jobs/library_threads.h"
#include "ostra/jobs/shared_loop.h"
#include "ostra/jobs/signal_stack.h"
#include "ostra/jobs/ticks.h"
#include "ostra/jobs/worker_threads.h"

namespace ostra {
namespace {

constexpr UInt64 kLookingTicks = 100 * kTicksPerMicrosecond;

// Workers called and not yet gone, and those of them that look for work.
alignas(64) std::atomic<Int> g_presentCount{0};
alignas(64) std::atomic<Int> g_lookingCount{0};
// Threads that take part in parallel work, callers included; 0 until first asked for.
alignas(64) std::atomic<Int> g_threadCount{0};
std::atomic<bool> g_stopping{false};
std::atomic<bool> g_isForkedChild{false};
thread_local Bool t_isWorker = false;

// A machine with one thread still has one worker, so that jobs run without being waited for.
Int GetWorkerLimit() { return std::max<Int>(GetWorkerThreadCount() - 1, 1); }

Bool HasWork() { return JobQueue::HasJobs() || SharedLoop::HasOpenLoops(); }

Bool JoinPool() {
  Int present = g_presentCount.load();
  do {
    if (present >= GetWorkerLimit() || g_stopping.load() || g_isForkedChild.load()) return false;
  } while (!g_presentCount.compare_exchange_weak(present, present + 1));
  return true;
}

void LeavePool() {
  g_presentCount.fetch_sub(1);
  if (g_stopping.load()) g_presentCount.notify_all();
}

Bool LookForWork() {
  const UInt64 start = ReadTicks();
  do {
    for (Int round = 0; round < 16; ++round) {
      if (g_stopping.load(std::memory_order_relaxed)) return false;
      if (HasWork()) return true;
      PauseProcessor();
    }
  } while (ReadTicks() - start < kLookingTicks && g_presentCount.load(std::memory_order_relaxed) <= GetWorkerLimit());
  return false;
}

void RunWorker() {
  t_isWorker = true;
  std::optional<SignalStack> signalStack;
  for (;;) {
    g_lookingCount.fetch_add(1);
    const Bool found = LookForWork();
    g_lookingCount.fetch_sub(1);
    if (found) {
      if (!signalStack && SignalStack::IsRequestedForWorkers()) signalStack.emplace();
      if (!JobQueue::RunOne()) SharedLoop::HelpOne();
      continue;
    }
    LeavePool();
    // Work that was notified since the last look may have counted on this worker.
    if (!HasWork() || !JoinPool()) break;
  }
  t_isWorker = false;
}

// A fork copies the calling thread only. What was counted about the others would be waited for in vain.
void EnterForkedChild() {
  g_isForkedChild.store(true);
  g_presentCount.store(0);
  g_lookingCount.store(0);
  g_threadCount.store(1);
  t_isWorker = false;
  SharedLoop::ForgetHelpers();
  JobQueue::Unlock();
}

// The queue is locked over a fork, so that the child finds it whole.
[[maybe_unused]] const int g_forkHandlers = pthread_atfork(&JobQueue::Lock, &JobQueue::Unlock, &EnterForkedChild);

}  // namespace

Int GetWorkerThreadCount() {
  const Int count = g_threadCount.load(std::memory_order_relaxed);
  if (count > 0) return count;
  Int unknown = 0;
  g_threadCount.compare_exchange_strong(unknown, LibraryThreads::GetHardwareThreadCount());
  return g_threadCount.load(std::memory_order_relaxed);
}

void SetWorkerThreadLimit(Int count) {
  if (g_isForkedChild.load()) return;
  count = std::min(count, LibraryThreads::kMaxRunning);
  if (count < 1) count = LibraryThreads::GetHardwareThreadCount();
  LibraryThreads::SetLimit(count);
  g_threadCount.store(count);
}

namespace WorkerPool {

Bool Notify() {
  if (g_lookingCount.load() > 0) return true;
  while (!JoinPool()) {
    if (g_presentCount.load() > 0) return true;  // it looks for work once more when it leaves
    // No room, and then no worker: the last one left in between, and its place can be taken.
    if (g_stopping.load() || g_isForkedChild.load()) return false;
  }
  if (LibraryThreads::Run(&RunWorker)) return true;
  LeavePool();
  return g_presentCount.load() > 0;
}

void Stop() {
  g_stopping.store(true);
  if (t_isWorker) {
    CriticalOutput("A job must not end the process: exit() was called on a worker thread.");
    std::abort();
  }
  for (Int present = g_presentCount.load(); present > 0; present = g_presentCount.load()) g_presentCount.wait(present);
  // No loop of a job any more, which may still run until here.
  if (SharedLoop::HasUsedLoops())
    CriticalOutput("The process ends while threads run parallel loops, as dispatches are; end these threads before.");
}

Bool IsStopping() { return g_stopping.load(); }
Bool IsForkedChild() { return g_isForkedChild.load(); }

}  // namespace WorkerPool
}  // namespace ostra
