// Times of the device: what they say of dispatches, over many batches.
#include <chrono>

#include "ostra/drawport_vulkan/device_clock.h"
#include "tests/drawport_vulkan/gpu_test.h"
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using namespace ostra::vulkan;

namespace {

Int GetHostTime() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

class WorkTimesTest : public GpuTest {
 protected:
  // A program whose invocations do something `steps` times.
  GpuComputeRef MakeBusy(UInt32 steps) {
    DrawportDeviceBuffer* target = MakeBuffer(64 * 1024);
    return ProgramBuilder(*this)
        .Uniform(DrawportShaderValueType::UInt, "steps")
        .Writes("target", "uint", 4)
        .Make(
            "uint sum = InGlobalInvocationID.x;\n"
            "for (uint i = 0u; i < UNIFORM(steps); ++i) sum = sum * 1664525u + 1013904223u;\n"
            "UNIFORM_BUFFER(target)[InGlobalInvocationID.x] = sum;\n",
            [=](ProgramValues& values) {
              values.Set("steps", steps);
              values.SetBuffer("target", target);
            });
  }

  Bool HasClock() {
    const auto number = GetList().BeginTimedWork();
    return number && GetList().EndTimedWork(*number);
  }

  UInt64 Record(GpuComputeInterface& compute) {
    Take(compute.UpdateUniforms(_context, true));
    const UInt64 number = Take(GetList().BeginTimedWork());
    Take(compute.Dispatch(16, 1, 1));
    Take(GetList().EndTimedWork(number));
    return number;
  }
};

TEST_F(WorkTimesTest, WorkLiesBetweenItsSubmissionAndTheEndOfTheWait) {
  if (!HasClock()) GTEST_SKIP() << "the device has no time stamps";
  const GpuComputeRef compute = MakeBusy(200000);
  Take(compute->UpdateUniforms(_context, true));
  Take(GetList().Execute(true));
  const Int before = GetHostTime();
  const UInt64 number = Record(*compute);
  Take(GetList().Execute(true));
  const Int after = GetHostTime();
  const DrawportWorkTime time = Take(GetList().TakeWorkTime(number));
  EXPECT_GT(time.duration, 0);
  EXPECT_LE(time.duration, after - before);
  // The clocks were set beside each other to less than this.
  constexpr Int kTolerance = 20'000'000;
  EXPECT_GT(time.begin, before - kTolerance);
  EXPECT_LT(time.begin + time.duration, after + kTolerance);
  EXPECT_THAT(GetList().TakeWorkTime(number), IsErrorContaining(kIllegalStateError, "has no time of the work"));
}

TEST_F(WorkTimesTest, MoreDispatchesThanABatchHasStampsForAreTimedInOrder) {
  if (!HasClock()) GTEST_SKIP() << "the device has no time stamps";
  const GpuComputeRef compute = MakeBusy(1);
  std::vector<UInt64> numbers;
  for (int i = 0; i < 1500; ++i) numbers.push_back(Record(*compute));
  Take(GetList().Execute(true));
  Int last = 0;
  for (const UInt64 number : numbers) {
    const DrawportWorkTime time = Take(GetList().TakeWorkTime(number));
    EXPECT_GE(time.begin, last);
    EXPECT_GE(time.duration, 0);
    last = time.begin;
  }
}

TEST_F(WorkTimesTest, WorkThatIsNotDoneHasNoTime) {
  if (!HasClock()) GTEST_SKIP() << "the device has no time stamps";
  const UInt64 number = Take(GetList().BeginTimedWork());
  EXPECT_THAT(GetList().TakeWorkTime(number), IsErrorContaining(kIllegalStateError, "has no time of the work"));
}

TEST(DeviceClockTest, StepsBecomeNanosecondsOfTheHost) {
  DeviceClock clock(64, 2.5, 1000, 7000);
  EXPECT_EQ(clock.GetTime(1000), 7000);
  EXPECT_EQ(clock.GetTime(1004), 7010);
}

TEST(DeviceClockTest, StampsBeginAgainFromZeroAndBitsThatDoNotCountAreIgnored) {
  DeviceClock clock(36, 1, (UInt64(1) << 36) - 10, 0);
  EXPECT_EQ(clock.GetTime((UInt64(0xabc) << 36) + 5), 15);
  EXPECT_EQ(clock.GetTime(UInt64(1) << 34), (Int(1) << 34) + 10);
  EXPECT_EQ(clock.GetTime(UInt64(3) << 34), (Int(3) << 34) + 10);
  EXPECT_EQ(clock.GetTime(UInt64(1) << 33), (Int(1) << 36) + (Int(1) << 33) + 10);
}

TEST(DeviceClockTest, AStampThatIsALittleEarlierDoesNotGoRound) {
  DeviceClock clock(36, 1, 100, 1000);
  EXPECT_EQ(clock.GetTime(200), 1100);
  EXPECT_EQ(clock.GetTime(190), 1090);
}

}  // namespace
