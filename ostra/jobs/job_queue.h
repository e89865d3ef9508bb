// The jobs that have not begun, in the order in which they came. Internal to this folder.
//
// A queued job stands in the queue and, when it has a group, in the group's list, too. Each job is taken exactly once:
// by a worker, or by a thread that waits for it. The queue holds a reference to it until then. Thread-safe.
#pragma once

#include "ostra/jobs/job_group.h"

namespace ostra {

class JobQueue {
 public:
  // Queues `job`, which becomes one of `group` when that is not null, and notifies the pool. Errors: those of AddJob.
  static Result<void> Add(Job& job, JobGroup* group);

  static Bool HasJobs();
  // Run the oldest job, the oldest one of `group`, `job` itself; false when that one has begun already.
  static Bool RunOne();
  static Bool RunOneOf(JobGroup& group);
  static Bool RunThis(Job& job);

  // Keeps the queue still while the process forks.
  static void Lock();
  static void Unlock();

 private:
  static Result<void> Link(Job& job, JobGroup* group);
  static Bool Withdraw(Job& job);
  static void Unlink(Job& job);
  static void Take(Job& job);
  static void Run(Job& job);

  static JobList<&Job::_queueLinks> _jobs;
};

}  // namespace ostra
