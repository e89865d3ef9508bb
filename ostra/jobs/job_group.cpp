#include "ostra/jobs/job_group.h"

#include "ostra/core/format.h"
#include "ostra/jobs/job_queue.h"

OSTRA_UNIT("jobs");

namespace ostra {

JobGroup::~JobGroup() = default;

Result<StrongRef<JobGroup>> JobGroup::Create(JobGroupFlags flags) {
  if (flags != JobGroupFlags::OpenForJobs)
    return OSTRA_ILLEGAL_ARGUMENT("A job group with the flags @ could never get a job.", static_cast<Int32>(flags));
  JobGroup* group = NewObj<JobGroup>();
  if (!group) return OSTRA_OUT_OF_MEMORY();
  return StrongRef<JobGroup>::Adopt(group);
}

Result<void> JobGroup::AddJob(const StrongRef<Job>& job) { return JobQueue::Add(*job, this); }

Result<void> JobGroup::WaitGroup() {
  const Job* current = GetCurrentJob();
  if (current && current->_group.load(std::memory_order_relaxed) == this)
    return OSTRA_ILLEGAL_STATE("A job cannot wait for its own group.");
  OSTRA_RETURN_IF_ERROR(Close());
  while (JobQueue::RunOneOf(*this)) {
  }
  for (;;) {
    const UInt32 count = _unfinishedCount.load(std::memory_order_acquire);
    if (count == 0) return OK;
    _unfinishedCount.wait(count, std::memory_order_acquire);
  }
}

Bool JobGroup::HasEnded() const {
  return _state.load(std::memory_order_acquire) == State::Closed &&
         _unfinishedCount.load(std::memory_order_acquire) == 0;
}

void JobGroup::EndOne() {
  if (_unfinishedCount.fetch_sub(1, std::memory_order_acq_rel) == 1) _unfinishedCount.notify_all();
}

}  // namespace ostra
