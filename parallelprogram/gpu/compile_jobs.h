// CompileJobs: jobs that compile while the thread that drives a program goes on.
#pragma once

#include "ostra/jobs/job_group.h"

namespace ostra {

// For the driving thread alone.
class CompileJobs {
 public:
  // Error: out of memory; the job is then not run.
  Result<void> Add(const StrongRef<Job>& job);
  // Until all of them have ended. A failure to wait is a diagnostic.
  void Wait();

 private:
  StrongRef<JobGroup> _group;  // null when nothing is pending
};

}  // namespace ostra
