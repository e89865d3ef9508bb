// How long dispatches took, by the device's own clock.
#include "parallelprogram/program/dispatch_times_interface.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

class GpuDispatchTimesTest : public DeviceProgramTest {
 protected:
  void SetUp() override {
    DeviceProgramTest::SetUp();
    if (IsSkipped()) return;
    AddKernel(*program, "index"_iid, "net.ostra.kernels.index.krn");
    StoreBuffer<UInt32>(*program, "values"_iid, std::vector<UInt32>(1000));
    ASSERT_THAT(program->SetUniform("count"_iid, UInt32(1000)), IsOk());
    times = FindInterface<DispatchTimesInterface>(*program);
    ASSERT_TRUE(times);
    const auto started = times->MeasureDispatches(true);
    if (!started && started.GetError().GetKind() == kNotImplementedError)
      GTEST_SKIP() << started.GetError().GetMessage().GetView();
    ASSERT_THAT(started, IsOk());
  }
  void Dispatch(UInt32 count) {
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(count, 1, 1, false), IsOk());
  }

  DispatchTimesInterface* times = nullptr;
};

TEST_F(GpuDispatchTimesTest, EveryDispatchHasATimeInOrder) {
  Dispatch(1000);
  Dispatch(500);
  const auto taken = times->TakeDispatchTimes();
  ASSERT_THAT(taken, IsOk());
  ASSERT_EQ(taken->GetCount(), 2);
  EXPECT_EQ((*taken)[0].kernel, "index"_iid);
  EXPECT_EQ((*taken)[0].invocations, Vec3<UInt32>(1000, 1, 1));
  EXPECT_EQ((*taken)[1].invocations, Vec3<UInt32>(500, 1, 1));
  EXPECT_GT((*taken)[0].duration, 0);
  EXPECT_GE((*taken)[1].begin, (*taken)[0].begin);
  EXPECT_EQ(times->TakeDispatchTimes()->GetCount(), 0);
}

TEST_F(GpuDispatchTimesTest, NothingIsMeasuredAfterItWasTurnedOff) {
  ASSERT_THAT(times->MeasureDispatches(false), IsOk());
  Dispatch(1000);
  EXPECT_EQ(times->TakeDispatchTimes()->GetCount(), 0);
}

}  // namespace
}  // namespace ostra::test
