#include "ostra/jobs/job_group.h"

#include <gtest/gtest.h>

#include <latch>
#include <thread>
#include <vector>

#include "ostra/core/format.h"
#include "tests/jobs/thread_limit.h"

OSTRA_UNIT("job_group_test");

namespace ostra {
namespace {

StrongRef<JobGroup> MakeOpenGroup() {
  auto group = *JobGroup::Create();
  EXPECT_TRUE(group->EnqueueGroup());
  return group;
}

TEST(JobGroupTest, AnEmptyOpenGroupHasNotEnded) {
  auto group = MakeOpenGroup();
  EXPECT_FALSE(group->HasEnded());
  EXPECT_TRUE(group->WaitGroup());
  EXPECT_TRUE(group->HasEnded());
}

TEST(JobGroupTest, AGroupIsMadeOpenForJobs) {
  static_assert(static_cast<Int32>(JobGroupFlags::OpenForJobs) == 4);
  EXPECT_TRUE(JobGroup::Create(JobGroupFlags::OpenForJobs).IsOk());
  const auto closed = JobGroup::Create(JobGroupFlags::None);
  ASSERT_FALSE(closed.IsOk());
  EXPECT_EQ(closed.GetError().GetKind(), kIllegalArgumentError);
  EXPECT_EQ(closed.GetError().GetMessage(), "A job group with the flags 0 could never get a job.");
}

TEST(JobGroupTest, AGroupWhoseJobsHaveEndedIsStillOpen) {
  auto group = MakeOpenGroup();
  for (int round = 0; round < 2; ++round) {
    auto job = *Job::Create([]() -> Result<void> { return OK; });
    ASSERT_TRUE(group->AddJob(job));
    ASSERT_TRUE(Wait(*job));
    EXPECT_FALSE(group->HasEnded());
  }
  EXPECT_TRUE(group->WaitGroup());
}

TEST(JobGroupTest, AJobStartsWithoutBeingWaitedFor) {
  auto group = MakeOpenGroup();
  std::latch begun{1};
  ASSERT_TRUE(group->AddJob(*Job::Create([&]() -> Result<void> {
    begun.count_down();
    return OK;
  })));
  begun.wait();
  EXPECT_TRUE(group->WaitGroup());
}

TEST(JobGroupTest, JobsAreAddedOnlyWhileTheGroupIsOpen) {
  auto job = *Job::Create([]() -> Result<void> { return OK; });
  auto group = *JobGroup::Create();
  EXPECT_FALSE(group->AddJob(job));
  EXPECT_FALSE(group->WaitGroup());
  ASSERT_TRUE(group->EnqueueGroup());
  EXPECT_FALSE(group->EnqueueGroup());
  ASSERT_TRUE(group->AddJob(job));
  EXPECT_FALSE(group->AddJob(job));
  ASSERT_TRUE(group->WaitGroup());
  EXPECT_FALSE(group->AddJob(*Job::Create([]() -> Result<void> { return OK; })));
  EXPECT_TRUE(group->WaitGroup());
}

TEST(JobGroupTest, WaitingReturnsAfterAllJobsThatAnyThreadAdded) {
  const ThreadLimit limit(4);
  auto group = MakeOpenGroup();
  std::atomic<int> calls{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < 6; ++number) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        EXPECT_TRUE(group->AddJob(*Job::Create([&]() -> Result<void> {
          ++calls;
          return OK;
        })));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(group->WaitGroup());
  EXPECT_EQ(calls.load(), 6 * 200);
}

TEST(JobGroupTest, AJobMayAddJobsToItsOpenGroup) {
  const ThreadLimit limit(3);
  auto group = MakeOpenGroup();
  std::atomic<int> calls{0};
  std::latch added{1};
  ASSERT_TRUE(group->AddJob(*Job::Create([&]() -> Result<void> {
    for (int i = 0; i < 10; ++i) {
      OSTRA_ASSIGN_OR_RETURN(auto job, Job::Create([&]() -> Result<void> {
                               ++calls;
                               return OK;
                             }));
      OSTRA_RETURN_IF_ERROR(group->AddJob(job));
    }
    added.count_down();
    return OK;
  })));
  added.wait();
  ASSERT_TRUE(group->WaitGroup());
  EXPECT_EQ(calls.load(), 10);
}

// A group of jobs, each of which waits for a group of its own, and so on.
Result<void> RunTree(int depth, std::atomic<int>& leaves) {
  if (depth == 0) {
    ++leaves;
    return OK;
  }
  OSTRA_ASSIGN_OR_RETURN(auto group, JobGroup::Create());
  OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
  for (int i = 0; i < 3; ++i) {
    OSTRA_ASSIGN_OR_RETURN(auto job, Job::Create([&leaves, depth] { return RunTree(depth - 1, leaves); }));
    OSTRA_RETURN_IF_ERROR(group->AddJob(job));
  }
  return group->WaitGroup();
}

TEST(JobGroupTest, WaitingInsideJobsWithAllWorkersBusyDoesNotDeadlock) {
  for (const Int threads : {1, 2, 5}) {
    const ThreadLimit limit(threads);
    std::atomic<int> leaves{0};
    std::latch done{4};
    std::vector<StrongRef<Job>> jobs;
    for (int i = 0; i < 4; ++i) {
      jobs.push_back(*Job::Create([&]() -> Result<void> {
        Result<void> result = RunTree(5, leaves);
        done.count_down();
        return result;
      }));
      ASSERT_TRUE(Enqueue(jobs.back()));
    }
    done.wait();  // only workers run them
    for (const auto& job : jobs) {
      ASSERT_TRUE(Wait(*job));
      EXPECT_TRUE(job->GetResult());
    }
    EXPECT_EQ(leaves.load(), 4 * 243);
  }
}

TEST(JobGroupTest, AJobCannotWaitForItsOwnGroup) {
  auto group = MakeOpenGroup();
  auto job = *Job::Create([&]() -> Result<void> { return group->WaitGroup(); });
  ASSERT_TRUE(group->AddJob(job));
  ASSERT_TRUE(group->WaitGroup());
  EXPECT_FALSE(job->GetResult());
}

TEST(JobGroupTest, CancellingAGroupReachesRunningQueuedAndLaterJobs) {
  const ThreadLimit limit(2);
  auto group = MakeOpenGroup();
  std::latch begun{1};
  auto running = *Job::Create([&]() -> Result<void> {
    begun.count_down();
    while (!GetCurrentJob()->IsCancelled()) std::this_thread::yield();
    return OK;
  });
  auto neverCalled = []() -> Result<void> {
    ADD_FAILURE() << "called";
    return OK;
  };
  auto queued = *Job::Create(neverCalled);
  auto later = *Job::Create(neverCalled);
  ASSERT_TRUE(group->AddJob(running));
  begun.wait();
  ASSERT_TRUE(group->AddJob(queued));
  group->Cancel();
  ASSERT_TRUE(group->AddJob(later));
  ASSERT_TRUE(group->WaitGroup());
  EXPECT_TRUE(running->GetResult());
  EXPECT_FALSE(queued->GetResult());
  EXPECT_FALSE(later->GetResult());
}

TEST(JobGroupTest, AFailingJobDoesNotStopTheOthers) {
  auto group = MakeOpenGroup();
  std::atomic<int> calls{0};
  std::vector<StrongRef<Job>> jobs;
  for (int i = 0; i < 10; ++i) {
    jobs.push_back(*Job::Create([&calls, i]() -> Result<void> {
      ++calls;
      if (i % 3 == 0) return OSTRA_ILLEGAL_STATE("job @ fails for a test", i);
      return OK;
    }));
    ASSERT_TRUE(group->AddJob(jobs.back()));
  }
  ASSERT_TRUE(group->WaitGroup());
  EXPECT_EQ(calls.load(), 10);
  for (std::size_t i = 0; i < jobs.size(); ++i) EXPECT_EQ(jobs[i]->GetResult().IsOk(), i % 3 != 0);
}

TEST(JobGroupTest, NothingIsLeftAllocatedAfterwards) {
  const Int liveBefore = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    AllocationFaults::FailNth(n);
    auto scenario = []() -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(auto group, JobGroup::Create());
      OSTRA_RETURN_IF_ERROR(group->EnqueueGroup());
      OSTRA_ASSIGN_OR_RETURN(auto job, Job::Create([]() -> Result<void> { return OK; }));
      OSTRA_RETURN_IF_ERROR(group->AddJob(job));
      return group->WaitGroup();
    };
    const Result<void> result = scenario();
    const Bool fired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    EXPECT_EQ(result.IsOk(), !fired);
    if (!fired) break;
    EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError);
  }
  // A worker drops its reference to a job just after the job has ended.
  while (AllocationFaults::GetLiveCount() != liveBefore) std::this_thread::yield();
}

}  // namespace
}  // namespace ostra
