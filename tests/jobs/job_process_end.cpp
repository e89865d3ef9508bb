// Ends the process in different ways while jobs are running and queued or a thread is in a loop, and a child of a fork
// after workers have run.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <latch>
#include <thread>

#include "ostra/jobs/job.h"
#include "ostra/jobs/paced_loop.h"
#include "ostra/jobs/worker_threads.h"

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

// A thread is in the body of a shared loop, and stays there.
void BeginEndlessLoop() {
  std::thread([] {
    const auto caller = std::this_thread::get_id();
    ParallelFor::RunPaced(2, 0, [caller](Int, Int) {
      if (std::this_thread::get_id() != caller) return g_begun.wait();
      g_begun.count_down();
      for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
    });
  }).detach();
  g_begun.wait();
}

Int Sum(Int count) {
  std::atomic<Int> sum{0};
  ParallelFor::Dynamic(count, [&](Int begin, Int end) { sum += end - begin; });
  return sum.load();
}

// The child works alone, refuses jobs and ends, by exit or by a return from main, as `name` says.
int RunForked(const char* name) {
  if (Sum(10000000) != 10000000) return 1;
  const pid_t child = ::fork();
  if (child < 0) return 1;
  if (child == 0) {
    auto job = Job::Create([]() -> Result<void> { return OK; });
    const int code = Sum(10000000) == 10000000 && job && !Enqueue(*job) ? 7 : 1;
    if (std::strcmp(name, "exit_in_child") == 0) std::exit(code);
    return code;
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 7) return 1;
  return Sum(10000000) == 10000000 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 1;
  if (std::strcmp(arguments[1], "return_in_loop") == 0) {
    SetWorkerThreadLimit(2);
    BeginEndlessLoop();
    return 0;
  }
  if (std::strstr(arguments[1], "_child")) return RunForked(arguments[1]);
  return RunCase(arguments[1]) ? 0 : 1;
}
