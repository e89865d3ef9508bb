// JobGroup: jobs that are waited for together.
//
//   OSTRA_ASSIGN_OR_RETURN(auto group, JobGroup::Create());
//   OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
//   OSTRA_RETURN_IF_ERROR(group->AddJob(job));        // starts at once
//   OSTRA_RETURN_IF_ERROR(group->WaitGroup());
//
// Thread-safe.
#pragma once

#include "ostra/jobs/job_list.h"

namespace ostra {

enum class JobGroupFlags : Int32 {
  None = 0,
  // Jobs may be added after the group was enqueued.
  OpenForJobs = 4,
};

// state     jobs can be added   left by
// created   no                  EnqueueGroup
// open      yes                 WaitGroup
// closed    no                  never
class OSTRA_API JobGroup : public RefCounted<JobGroup> {
 public:
  // A group without a parent, for the only queue there is. Errors: illegal argument without OpenForJobs, because such a
  // group could never get a job; out of memory.
  static Result<StrongRef<JobGroup>> Create(JobGroupFlags flags = JobGroupFlags::OpenForJobs);
  JobGroup(const JobGroup&) = delete;
  JobGroup& operator=(const JobGroup&) = delete;
  ~JobGroup();

  // Opens the group for jobs. Illegal state: it was enqueued before.
  Result<void> EnqueueGroup();

  // Adds a job, from any thread; a worker runs it as soon as one is free. Illegal state: the group is not open, or the
  // job was enqueued before. Out of memory: no worker could be called; the job is not added.
  Result<void> AddJob(const StrongRef<Job>& job);

  // Closes the group and returns when all its jobs have ended, whatever their results. The caller runs jobs of the
  // group that have not begun, so a job may wait for a group; it must not hold a spin lock then. Illegal state: the
  // group was not enqueued, or the caller is one of its jobs.
  Result<void> WaitGroup();

  // Cancels the jobs of the group, later ones included.
  void Cancel() { _cancelled.store(true, std::memory_order_relaxed); }
  Bool IsCancelled() const { return _cancelled.load(std::memory_order_relaxed); }
  // An empty open group has not ended: jobs may follow.
  Bool HasEnded() const;

 private:
  enum class State : UInt32 { Created, Open, Closed };

  JobGroup() = default;
  Result<void> Close();
  void EndOne();

  std::atomic<State> _state{State::Created};  // changed with the queue's lock held
  std::atomic<bool> _cancelled{false};
  std::atomic<UInt32> _unfinishedCount{0};
  JobList<&Job::_groupLinks> _queued;  // jobs that have not begun; guarded by the queue's lock

  friend class JobQueue;
  friend class Job;
  template <class T, class... Arguments>
  friend T* NewObj(Arguments&&... arguments);
};

}  // namespace ostra
