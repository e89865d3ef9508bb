#include "ostra/jobs/job.h"

#include "ostra/core/diagnostics.h"
#include "ostra/jobs/current_job.h"
#include "ostra/jobs/job_failure.h"
#include "ostra/jobs/job_queue.h"
#include "ostra/jobs/worker_pool.h"
#include "ostra/monitor/monitor.h"

OSTRA_UNIT("jobs");

namespace ostra {
namespace {

thread_local Job* t_currentJob = nullptr;

}  // namespace

CurrentJobScope::CurrentJobScope(Job* job) : _previous(std::exchange(t_currentJob, job)) {}
CurrentJobScope::~CurrentJobScope() { t_currentJob = _previous; }

Job* GetCurrentJob() { return t_currentJob; }

Job::Job(Delegate<Result<void>()> work) : _work(std::move(work)) {}

Job::~Job() {
  if (const JobGroup* group = _group.load(std::memory_order_relaxed)) group->Release();
}

Result<StrongRef<Job>> Job::Create(Delegate<Result<void>()> work) {
  Job* job = NewObj<Job>(std::move(work));
  if (!job) return OSTRA_OUT_OF_MEMORY();
  return StrongRef<Job>::Adopt(job);
}

Bool Job::IsCancelled() const {
  if (_cancelled.load(std::memory_order_relaxed) || WorkerPool::IsStopping()) return true;
  const JobGroup* group = _group.load(std::memory_order_acquire);
  return group && group->IsCancelled();
}

Result<void> Job::GetResult() const {
  if (!HasEnded()) return OSTRA_ILLEGAL_STATE("The job has not ended yet.");
  return _result;
}

void Job::Run() {
  if (IsCancelled()) {
    _result = OSTRA_ILLEGAL_STATE("The job was cancelled before its work was called.");
  } else {
    const CurrentJobScope scope(this);
    const MonitorScope monitorScope("job");
    _result = _work();
    if (!_result) {
      const Error& error = _result.GetError();
      CriticalOutput(kJobFailurePattern, error, error.GetUnit(), error.GetLine());
    }
  }
  // Before anybody is told: the code behind the captures may be unloaded as soon as the job has ended.
  _work = {};
  _state.store(State::Ended, std::memory_order_release);
  _state.notify_all();
  if (JobGroup* group = _group.load(std::memory_order_relaxed)) group->EndOne();
}

Result<void> Enqueue(const StrongRef<Job>& job) { return JobQueue::Add(*job, nullptr); }

Result<void> Wait(Job& job) {
  if (&job == t_currentJob) return OSTRA_ILLEGAL_STATE("A job cannot wait for itself.");
  (void)JobQueue::RunThis(job);  // when another thread runs it, its end is waited for
  for (;;) {
    const Job::State state = job._state.load(std::memory_order_acquire);
    if (state == Job::State::Ended) return OK;
    if (state == Job::State::Created) return OSTRA_ILLEGAL_STATE("The job was not enqueued.");
    job._state.wait(state, std::memory_order_acquire);
  }
}

}  // namespace ostra
