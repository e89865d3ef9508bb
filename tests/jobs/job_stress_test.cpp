// Jobs, loops in jobs and waits, from several threads at once and with more threads than processors.
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>
#include <vector>

#include "ostra/jobs/job_group.h"
#include "ostra/jobs/parallel_for.h"
#include "tests/jobs/thread_limit.h"

namespace ostra {
namespace {

Int SumInLoop(Int count) {
  std::vector<Int> values(static_cast<std::size_t>(count));
  ParallelFor::Dynamic(count, [&](Int begin, Int end) {
    for (Int i = begin; i < end; ++i) values[static_cast<std::size_t>(i)] = i;
    std::this_thread::yield();
  });
  Int sum = 0;
  for (const Int value : values) sum += value;
  return sum;
}

Result<void> RunGroup(unsigned seed, std::atomic<Int>& wrongSums, std::atomic<Int>& calls) {
  std::mt19937 random(seed);
  OSTRA_ASSIGN_OR_RETURN(auto group, JobGroup::Create());
  OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
  for (unsigned i = 0; i < 8; ++i) {
    const Int count = 1 + static_cast<Int>(random() % 400);
    OSTRA_ASSIGN_OR_RETURN(auto job, Job::Create([&wrongSums, &calls, count]() -> Result<void> {
                             if (SumInLoop(count) != count * (count - 1) / 2) ++wrongSums;
                             ++calls;
                             return OK;
                           }));
    OSTRA_RETURN_IF_ERROR(group->AddJob(job));
  }
  return group->WaitGroup();
}

TEST(JobStressTest, GroupsWithLoopsFromManyThreadsAllEndWithRightSums) {
  const ThreadLimit limit(6);
  std::atomic<Int> wrongSums{0};
  std::atomic<Int> calls{0};
  std::vector<std::thread> threads;
  for (unsigned number = 0; number < 6; ++number) {
    threads.emplace_back([&, number] {
      for (unsigned round = 0; round < 30; ++round) {
        EXPECT_TRUE(RunGroup(number * 1000 + round, wrongSums, calls));
        // Sometimes long enough that workers give their threads back.
        if (round % 8 == 7) std::this_thread::sleep_for(std::chrono::microseconds(100 + 20 * number));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrongSums.load(), 0);
  EXPECT_EQ(calls.load(), 6 * 30 * 8);
}

TEST(JobStressTest, NoJobIsForgottenWhenWorkersAreAboutToLeave) {
  const ThreadLimit limit(2);
  for (int round = 0; round < 1500; ++round) {
    std::atomic<bool> called{false};
    auto job = *Job::Create([&]() -> Result<void> {
      called = true;
      called.notify_all();
      return OK;
    });
    ASSERT_TRUE(Enqueue(job));
    called.wait(false);  // a worker must come by itself
    ASSERT_TRUE(Wait(*job));
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(80 + round % 40);
    while (std::chrono::steady_clock::now() < end) {
    }
  }
}

TEST(JobStressTest, CancellingAtAnyTimeLeavesEveryJobEnded) {
  const ThreadLimit limit(4);
  for (int round = 0; round < 300; ++round) {
    auto group = *JobGroup::Create();
    ASSERT_TRUE(group->EnqueueGroup());
    std::atomic<int> calls{0};
    std::vector<StrongRef<Job>> jobs;
    std::thread canceller([&] {
      while (calls.load() < round % 8) std::this_thread::yield();
      group->Cancel();
    });
    for (int i = 0; i < 8; ++i) {
      jobs.push_back(*Job::Create([&]() -> Result<void> {
        ++calls;
        return OK;
      }));
      ASSERT_TRUE(group->AddJob(jobs.back()));
    }
    ASSERT_TRUE(group->WaitGroup());
    canceller.join();
    int succeeded = 0;
    for (const auto& job : jobs) {
      ASSERT_TRUE(job->HasEnded());
      if (job->GetResult()) ++succeeded;
    }
    EXPECT_EQ(succeeded, calls.load());
  }
}

}  // namespace
}  // namespace ostra
