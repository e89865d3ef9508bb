// Uses jobs from a loaded module.
#include "ostra/jobs/job_group.h"
#include "ostra/jobs/parallel_for.h"

namespace {

using namespace ostra;

Result<Int> CountWithJobs() {
  std::atomic<Int> sum{0};
  OSTRA_ASSIGN_OR_RETURN(auto group, JobGroup::Create());
  OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
  for (int i = 0; i < 20; ++i) {
    OSTRA_ASSIGN_OR_RETURN(auto job, Job::Create([&sum]() -> Result<void> {
                             ParallelFor::Dynamic(1000, [&sum](Int begin, Int end) {
                               for (Int k = begin; k < end; ++k) sum.fetch_add(1, std::memory_order_relaxed);
                             });
                             return OK;
                           }));
    OSTRA_RETURN_IF_ERROR(group->AddJob(job));
  }
  OSTRA_RETURN_IF_ERROR(group->WaitGroup());
  return sum.load();
}

}  // namespace

extern "C" OSTRA_API long RunModule() {
  const auto sum = CountWithJobs();
  return sum ? static_cast<long>(*sum) : -1;
}
