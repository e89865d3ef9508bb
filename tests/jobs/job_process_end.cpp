// Ends the process in different ways while jobs are running and queued.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <latch>
#include <thread>

#include "ostra/jobs/job.h"
#include "ostra/jobs/parallel_for.h"

using namespace ostra;

namespace {

std::latch g_begun{1};

// Destroyed after main; the host library ends its workers later still, as it was loaded earlier.
struct LateUser {
  ~LateUser() {
    std::atomic<Int> sum{0};
    ParallelFor::Dynamic(100, [&](Int begin, Int end) { sum += end - begin; });
    if (sum.load() != 100) std::puts("ended too early");
  }
} g_lateUser;

Result<void> RunUntilCancelled() {
  g_begun.count_down();
  while (!GetCurrentJob()->IsCancelled()) std::this_thread::yield();
  return OK;
}

Result<void> RunCase(const char* name) {
  OSTRA_ASSIGN_OR_RETURN(auto running, Job::Create(RunUntilCancelled));
  OSTRA_RETURN_IF_ERROR(Enqueue(running));
  for (int i = 0; i < 20; ++i) {
    OSTRA_ASSIGN_OR_RETURN(auto queued, Job::Create([]() -> Result<void> { return OK; }));
    OSTRA_RETURN_IF_ERROR(Enqueue(queued));
  }
  g_begun.wait();
  if (std::strcmp(name, "exit_in_main") == 0) std::exit(0);
  return OK;
}

}  // namespace

int main(int count, char** arguments) { return count == 2 && RunCase(arguments[1]) ? 0 : 1; }
