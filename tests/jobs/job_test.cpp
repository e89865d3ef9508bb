#include "ostra/jobs/job.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ostra/jobs/job_failure.h"
#include "ostra/jobs/parallel_for.h"
#include "tests/jobs/thread_limit.h"
#include "tests/support/diagnostic_recorder.h"

OSTRA_UNIT("job_test");

namespace ostra {
namespace {

// Keeps the only worker busy until it is destroyed.
class BusyWorker {
 public:
  BusyWorker() {
    _job = *Job::Create([this]() -> Result<void> {
      _begun.count_down();
      _release.wait();
      return OK;
    });
    EXPECT_TRUE(Enqueue(_job));
    _begun.wait();
  }
  ~BusyWorker() {
    _release.count_down();
    EXPECT_TRUE(Wait(*_job));
  }

 private:
  ThreadLimit _limit{2};
  std::latch _begun{1};
  std::latch _release{1};
  StrongRef<Job> _job;
};

TEST(JobTest, AWorkerRunsAJobThatNobodyWaitsFor) {
  std::latch done{1};
  std::thread::id thread;
  auto job = *Job::Create([&]() -> Result<void> {
    thread = std::this_thread::get_id();
    done.count_down();
    return OK;
  });
  ASSERT_TRUE(Enqueue(job));
  done.wait();
  EXPECT_NE(thread, std::this_thread::get_id());
  ASSERT_TRUE(Wait(*job));
  EXPECT_TRUE(job->HasEnded());
  EXPECT_TRUE(job->GetResult());
}

TEST(JobTest, TheErrorIsKeptInTheJobAndWrittenAsADiagnosticLine) {
  const DiagnosticRecorder recorder;
  auto job = *Job::Create([]() -> Result<void> { return OSTRA_ILLEGAL_ARGUMENT("kernel @ is broken", "blur"); });
  ASSERT_TRUE(Enqueue(job));
  ASSERT_TRUE(Wait(*job));
  const Result<void> result = job->GetResult();
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kIllegalArgumentError);
  EXPECT_EQ(result.GetError().GetMessage().GetView(), "kernel blur is broken");
  EXPECT_THAT(recorder.GetLines(), testing::ElementsAre(testing::HasSubstr("kernel blur is broken")));
  EXPECT_TRUE(IsJobFailure(recorder.GetLines()[0]));
  EXPECT_FALSE(IsJobFailure("The kernel blur is broken."));
}

TEST(JobTest, AJobThatHasNotEndedHasNoResult) {
  auto job = *Job::Create([]() -> Result<void> { return OK; });
  const Result<void> result = job->GetResult();
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kIllegalStateError);
}

TEST(JobTest, AJobIsEnqueuedOnlyOnce) {
  std::atomic<int> calls{0};
  auto job = *Job::Create([&]() -> Result<void> {
    ++calls;
    return OK;
  });
  ASSERT_TRUE(Enqueue(job));
  EXPECT_FALSE(Enqueue(job));
  ASSERT_TRUE(Wait(*job));
  EXPECT_FALSE(Enqueue(job));
  EXPECT_EQ(calls.load(), 1);
}

TEST(JobTest, WaitingForAJobThatWasNotEnqueuedFails) {
  auto job = *Job::Create([]() -> Result<void> { return OK; });
  EXPECT_FALSE(Wait(*job));
}

TEST(JobTest, TheWaitingThreadRunsAJobThatNoWorkerIsFreeFor) {
  const BusyWorker busy;
  std::thread::id thread;
  auto job = *Job::Create([&]() -> Result<void> {
    thread = std::this_thread::get_id();
    return OK;
  });
  ASSERT_TRUE(Enqueue(job));
  ASSERT_TRUE(Wait(*job));
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(JobTest, AJobMayWaitForAChainOfJobsOnTheOnlyWorker) {
  const ThreadLimit limit(2);
  std::atomic<int> calls{0};
  std::function<Result<void>(int)> run = [&](int depth) -> Result<void> {
    ++calls;
    if (depth == 0) return OK;
    OSTRA_ASSIGN_OR_RETURN(auto next, Job::Create([&run, depth] { return run(depth - 1); }));
    OSTRA_RETURN_IF_ERROR(Enqueue(next));
    OSTRA_RETURN_IF_ERROR(Wait(*next));
    return next->GetResult();
  };
  std::latch done{1};
  auto job = *Job::Create([&]() -> Result<void> {
    Result<void> result = run(50);
    done.count_down();
    return result;
  });
  ASSERT_TRUE(Enqueue(job));
  done.wait();  // without helping
  ASSERT_TRUE(Wait(*job));
  EXPECT_TRUE(job->GetResult());
  EXPECT_EQ(calls.load(), 51);
}

TEST(JobTest, AJobCannotWaitForItself) {
  auto job = *Job::Create([]() -> Result<void> { return Wait(*GetCurrentJob()); });
  ASSERT_TRUE(Enqueue(job));
  ASSERT_TRUE(Wait(*job));
  EXPECT_FALSE(job->GetResult());
}

TEST(JobTest, ACancelledJobThatHasNotBegunIsNotCalled) {
  const DiagnosticRecorder recorder;
  StrongRef<Job> job;
  {
    const BusyWorker busy;
    job = *Job::Create([]() -> Result<void> {
      ADD_FAILURE() << "called";
      return OK;
    });
    ASSERT_TRUE(Enqueue(job));
    job->Cancel();
  }
  ASSERT_TRUE(Wait(*job));
  const Result<void> result = job->GetResult();
  ASSERT_FALSE(result);
  EXPECT_EQ(result.GetError().GetKind(), kIllegalStateError);
  EXPECT_TRUE(recorder.GetLines().empty());  // asked for, so nothing went wrong
}

TEST(JobTest, ARunningJobSeesThatItIsCancelled) {
  std::latch begun{1};
  auto job = *Job::Create([&]() -> Result<void> {
    EXPECT_FALSE(GetCurrentJob()->IsCancelled());
    begun.count_down();
    while (!GetCurrentJob()->IsCancelled()) std::this_thread::yield();
    return OK;
  });
  ASSERT_TRUE(Enqueue(job));
  begun.wait();
  job->Cancel();
  ASSERT_TRUE(Wait(*job));
  EXPECT_TRUE(job->GetResult());
}

TEST(JobTest, TheCurrentJobIsKnownInTheJobInItsLoopsAndNowhereElse) {
  const ThreadLimit limit(4);
  EXPECT_EQ(GetCurrentJob(), nullptr);
  StrongRef<Job> job;
  std::atomic<int> wrong{0};
  job = *Job::Create([&]() -> Result<void> {
    if (GetCurrentJob() != job.GetPointer()) ++wrong;
    ParallelFor::Dynamic(500, [&](Int, Int) {
      if (GetCurrentJob() != job.GetPointer()) ++wrong;
      std::this_thread::yield();
    });
    return OK;
  });
  ASSERT_TRUE(Enqueue(job));
  ASSERT_TRUE(Wait(*job));
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(GetCurrentJob(), nullptr);
  ParallelFor::Dynamic(500, [&](Int, Int) {
    if (GetCurrentJob()) ++wrong;
    std::this_thread::yield();
  });
  EXPECT_EQ(wrong.load(), 0);
}

TEST(JobTest, TheCapturesAreReleasedWhenTheJobHasEnded) {
  auto captured = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = captured;
  auto job = *Job::Create([captured = std::move(captured)]() -> Result<void> { return OK; });
  EXPECT_FALSE(watch.expired());
  ASSERT_TRUE(Enqueue(job));
  ASSERT_TRUE(Wait(*job));
  EXPECT_TRUE(watch.expired());
}

TEST(JobTest, MissingMemoryForAJobIsReportedAndNothingLeaks) {
  const Int liveBefore = AllocationFaults::GetLiveCount();
  for (Int n = 1;; ++n) {
    AllocationFaults::FailNth(n);
    auto job = Job::Create([]() -> Result<void> { return OK; });
    const Bool fired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    EXPECT_EQ(job.IsOk(), !fired);
    if (!fired) break;
    EXPECT_EQ(job.GetError().GetKind(), kOutOfMemoryError);
  }
  EXPECT_EQ(AllocationFaults::GetLiveCount(), liveBefore);
}

TEST(JobDeathTest, AJobThatEndsTheProcessIsReported) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto endInJob = [] {
    auto job = *Job::Create([]() -> Result<void> { std::exit(0); });
    (void)Enqueue(job);
    std::this_thread::sleep_for(std::chrono::minutes(1));
  };
  EXPECT_DEATH(endInJob(), "A job must not end the process");
}

}  // namespace
}  // namespace ostra
