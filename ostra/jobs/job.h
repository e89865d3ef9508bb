// Jobs: work that worker threads do, one at a time or in groups.
//
//   OSTRA_ASSIGN_OR_RETURN(auto job, Job::Create([this]() -> Result<void> { return Compile(); }));
//   OSTRA_RETURN_IF_ERROR(Enqueue(job));
//   ...
//   OSTRA_RETURN_IF_ERROR(Wait(*job));
//   OSTRA_RETURN_IF_ERROR(job->GetResult());
//
// A group is waited for as a whole, see job_group.h. Everything here is thread-safe.
#pragma once

#include <atomic>

#include "ostra/core/delegate.h"
#include "ostra/core/export.h"
#include "ostra/core/strong_ref.h"

namespace ostra {

class Job;
class JobGroup;

// Links of a job in one list.
struct JobLinks {
  Job* next = nullptr;
  Job* previous = nullptr;
};

// A job is enqueued or added to a group, once. Then:
//
//   state     left when
//   created   it is enqueued
//   queued    a thread takes it; a cancelled job is taken, but its work is not called
//   running   its work has returned, its captures are released and its result is stored
//   ended     never
//
// An error that the work returns is kept in the job and written as a diagnostic line. The work must not throw and must
// not call exit().
class OSTRA_API Job : public RefCounted<Job> {
 public:
  // Error: out of memory.
  static Result<StrongRef<Job>> Create(Delegate<Result<void>()> work);

  // Error: out of memory.
  template <class Callable>
  requires std::is_invocable_r_v<Result<void>, Callable>
  static Result<StrongRef<Job>> Create(Callable work) {
    OSTRA_ASSIGN_OR_RETURN(auto delegate, Delegate<Result<void>()>::Create(std::move(work)));
    return Create(std::move(delegate));
  }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  ~Job();

  // Asks the job to end early: the work is not called any more, or sees it by IsCancelled.
  void Cancel() { _cancelled.store(true, std::memory_order_relaxed); }
  // True after Cancel, after the cancelling of the job's group and while the process ends.
  Bool IsCancelled() const;
  Bool HasEnded() const { return _state.load(std::memory_order_acquire) == State::Ended; }

  // What the work returned. Illegal state: the job has not ended, or was cancelled before its work was called.
  Result<void> GetResult() const;

 private:
  enum class State : UInt32 { Created, Queued, Running, Ended };

  explicit Job(Delegate<Result<void>()> work);
  void Run();

  Delegate<Result<void>()> _work;
  Result<void> _result = OK;
  std::atomic<State> _state{State::Created};
  std::atomic<bool> _cancelled{false};
  std::atomic<JobGroup*> _group{nullptr};  // counted; set once
  JobLinks _queueLinks;                    // guarded by the queue's lock, like the next ones
  JobLinks _groupLinks;

  friend class JobQueue;
  friend class JobGroup;
  template <class T, class... Arguments>
  friend T* NewObj(Arguments&&... arguments);
  friend OSTRA_API Result<void> Wait(Job& job);
};

// Lets a worker run `job` as soon as one is free. Illegal state: it was enqueued before, or the process ends. Out of
// memory: no worker could be called; the job is not enqueued.
OSTRA_API Result<void> Enqueue(const StrongRef<Job>& job);

// Returns when `job` has ended, whatever its result. A job that has not begun is run by the caller; so a job may wait
// for another one. Illegal state: it was not enqueued, or is the caller itself.
OSTRA_API Result<void> Wait(Job& job);

// The job that the calling thread works for, in its parallel loops too; null outside of jobs.
OSTRA_API Job* GetCurrentJob();

}  // namespace ostra
