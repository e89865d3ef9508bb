#include "ostra/jobs/job_queue.h"

#include <mutex>

#include "ostra/core/format.h"

#include "ostra/jobs/worker_pool.h"

OSTRA_UNIT("jobs");

namespace ostra {
namespace {

// Never destroyed, as threads may still wait for jobs while the process ends.
constinit std::mutex g_mutex;
alignas(64) std::atomic<Int> g_queuedCount{0};

}  // namespace

constinit JobList<&Job::_queueLinks> JobQueue::_jobs;

Result<void> JobQueue::Add(Job& job, JobGroup* group) {
  if (WorkerPool::IsStopping()) return OSTRA_ILLEGAL_STATE("A job was enqueued while the process ends.");
  if (WorkerPool::IsForkedChild())
    return OSTRA_ILLEGAL_STATE("A job was enqueued in the child of a fork, which has no worker threads.");
  OSTRA_RETURN_IF_ERROR(Link(job, group));
  if (WorkerPool::Notify() || !Withdraw(job)) return OK;
  return OSTRA_OUT_OF_MEMORY();
}

void JobQueue::Lock() { g_mutex.lock(); }
void JobQueue::Unlock() { g_mutex.unlock(); }

Result<void> JobQueue::Link(Job& job, JobGroup* group) {
  const std::scoped_lock lock(g_mutex);
  if (job._state.load(std::memory_order_relaxed) != Job::State::Created)
    return OSTRA_ILLEGAL_STATE("The job was enqueued before.");
  if (group && group->_state.load(std::memory_order_relaxed) != JobGroup::State::Open)
    return OSTRA_ILLEGAL_STATE("The job group is not open for jobs.");
  job.AddRef();
  _jobs.Append(job);
  if (group) {
    group->AddRef();
    group->_queued.Append(job);
    group->_unfinishedCount.fetch_add(1, std::memory_order_relaxed);
    job._group.store(group, std::memory_order_release);
  }
  job._state.store(Job::State::Queued, std::memory_order_release);
  g_queuedCount.fetch_add(1);
  return OK;
}

void JobQueue::Unlink(Job& job) {
  _jobs.Remove(job);
  if (JobGroup* group = job._group.load(std::memory_order_relaxed)) group->_queued.Remove(job);
  g_queuedCount.fetch_sub(1);
}

// Takes back what Link did; false when the job has begun meanwhile.
Bool JobQueue::Withdraw(Job& job) {
  JobGroup* group = nullptr;
  {
    const std::scoped_lock lock(g_mutex);
    if (job._state.load(std::memory_order_relaxed) != Job::State::Queued) return false;
    Unlink(job);
    group = job._group.exchange(nullptr, std::memory_order_relaxed);
    job._state.store(Job::State::Created, std::memory_order_release);
  }
  job._state.notify_all();
  if (group) {
    group->EndOne();
    group->Release();
  }
  job.Release();
  return true;
}

void JobQueue::Take(Job& job) {
  Unlink(job);
  job._state.store(Job::State::Running, std::memory_order_relaxed);
}

void JobQueue::Run(Job& job) {
  job.Run();
  job.Release();
}

Bool JobQueue::HasJobs() { return g_queuedCount.load() > 0; }

Bool JobQueue::RunOne() {
  if (!HasJobs()) return false;
  Job* job = nullptr;
  {
    const std::scoped_lock lock(g_mutex);
    job = _jobs.GetFirst();
    if (!job) return false;
    Take(*job);
  }
  if (HasJobs()) (void)WorkerPool::Notify();  // this worker no longer looks; without another it comes back
  Run(*job);
  return true;
}

Bool JobQueue::RunOneOf(JobGroup& group) {
  Job* job = nullptr;
  {
    const std::scoped_lock lock(g_mutex);
    job = group._queued.GetFirst();
    if (!job) return false;
    Take(*job);
  }
  Run(*job);
  return true;
}

Bool JobQueue::RunThis(Job& job) {
  {
    const std::scoped_lock lock(g_mutex);
    if (job._state.load(std::memory_order_relaxed) != Job::State::Queued) return false;
    Take(job);
  }
  Run(job);
  return true;
}

Result<void> JobGroup::EnqueueGroup() {
  const std::scoped_lock lock(g_mutex);
  if (_state.load(std::memory_order_relaxed) != State::Created)
    return OSTRA_ILLEGAL_STATE("The job group was enqueued before.");
  _state.store(State::Open, std::memory_order_relaxed);
  return OK;
}

Result<void> JobGroup::Close() {
  const std::scoped_lock lock(g_mutex);
  if (_state.load(std::memory_order_relaxed) == State::Created)
    return OSTRA_ILLEGAL_STATE("The job group was not enqueued.");
  _state.store(State::Closed, std::memory_order_release);
  return OK;
}

}  // namespace ostra
