#include "parallelprogram/gpu/compile_jobs.h"

#include "ostra/core/diagnostics.h"

namespace ostra {

Result<void> CompileJobs::Add(const StrongRef<Job>& job) {
  if (!_group) {
    OSTRA_ASSIGN_OR_RETURN(StrongRef<JobGroup> group, JobGroup::Create());
    OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
    _group = std::move(group);
  }
  return _group->AddJob(job);
}

void CompileJobs::Wait() {
  if (!_group) return;
  if (auto waited = _group->WaitGroup(); !waited) CriticalOutput("@", waited.GetError());
  _group = nullptr;
}

}  // namespace ostra
