// Several programs on one device, each driven by a thread of its own.
#include <atomic>
#include <thread>

#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

TEST(GpuThreadsTest, ProgramsOnOneDeviceDoNotDisturbEachOther) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  constexpr int kThreads = 4, kRounds = 8;
  constexpr Int kCount = 5000;
  std::atomic<int> rightRounds{0};
  const auto drive = [&](int number) {
    const ParallelProgramRef program = MakeProgram(kGpuProgramClass);
    if (!program) return;
    const auto file = Url::Create("relative://net.ostra.kernels.saxpy.krn");
    // Every program compiles several kernels in the background.
    for (const InternedId& id : {"one"_iid, "two"_iid, "three"_iid})
      EXPECT_THAT(program->AddKernel(id, *file, false), IsOk());
    program->WaitForKernelCompile();
    for (int round = 0; round < kRounds; ++round) {
      const auto value = static_cast<Float32>(number * 100 + round);
      StoreBuffer<Float32>(*program, "x"_iid, std::vector<Float32>(kCount, value));
      StoreBuffer<Float32>(*program, "y"_iid, std::vector<Float32>(kCount, 1));
      EXPECT_THAT(program->SetBufferToActiveKernelSameId("x"_iid), IsOk());
      EXPECT_THAT(program->SetBufferToActiveKernelSameId("y"_iid), IsOk());
      EXPECT_THAT(program->SetUniform("a"_iid, Float32(2)), IsOk());
      EXPECT_THAT(program->SetUniform("count"_iid, UInt32(kCount)), IsOk());
      EXPECT_THAT(program->UpdateUniforms(), IsOk());
      EXPECT_THAT(program->DispatchKernel(UInt32(kCount), 1, 1, false), IsOk());
      rightRounds += ReadBuffer<Float32>(*program, "y"_iid) == std::vector<Float32>(kCount, 2 * value + 1);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(drive, i);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(rightRounds, kThreads * kRounds);
}

TEST(GpuThreadsTest, AKernelMayBeDispatchedAsSoonAsItIsCompiled) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const ParallelProgramRef program = MakeProgram(kGpuProgramClass);
  ASSERT_TRUE(program);
  const auto file = Url::Create("relative://net.ostra.kernels.saxpy.krn");
  for (int i = 0; i < 8; ++i) {
    ASSERT_THAT(program->AddKernel(*InternedId::Create("k@", i), *file, false), IsOk());
    // Nothing was updated: it never runs, and is refused for one of two reasons.
    while (true) {
      const Result<void> result = program->DispatchKernel(1, 1, 1, true);
      ASSERT_FALSE(result);
      EXPECT_EQ(result.GetError().GetKind(), kIllegalStateError);
      if (result.GetError().GetMessage().Contains("have not been updated")) break;
      std::this_thread::yield();
    }
  }
}

TEST(GpuThreadsTest, AProgramThatGoesWaitsForItsCompileJobs) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  for (int i = 0; i < 4; ++i) {
    const ParallelProgramRef program = MakeProgram(kGpuProgramClass);
    ASSERT_TRUE(program);
    const auto file = Url::Create("relative://net.ostra.kernels.blur5.krn");
    for (const InternedId& id : {"one"_iid, "two"_iid}) ASSERT_THAT(program->AddKernel(id, *file, false), IsOk());
    const Result<void> early = program->DispatchKernel(1, 1, 1, false);
    if (!early) {
      EXPECT_EQ(early.GetError().GetKind(), kIllegalStateError);
    }
    if (i % 2 == 0) {
      EXPECT_THAT(program->Reset(), IsOk());
    }
  }
}

}  // namespace
}  // namespace ostra::test
