// What dispatches ask of any driver once each buffer has been in each place: no descriptor sets.
#include "tests/gpu/counted_programs_fixture.h"

namespace ostra::test {
namespace {

using GpuWarmDriverTest = CountedProgramsTest;

TEST_F(GpuWarmDriverTest, WarmDispatchesMakeNoDescriptorSets) {
  const ParallelProgramRef program = MakeStepProgram();
  Float32 expected = 0;
  const auto run = [&] {
    for (int i = 0; i < 80; ++i) {
      const auto step = static_cast<Float32>(i % 4 + 1);
      Take(program->SetUniform("step"_iid, step));
      Dispatch(*program);
      // What was written is read next: other buffers in the same places.
      Take(program->SwapBuffers("source"_iid, "target"_iid));
      expected += step;
      if (i % 4 == 3) Take(program->Execute(true));
    }
  };
  const DriverCounts cold = Count(run);
  EXPECT_GT(cold.sets, 0);
  EXPECT_GT(cold.pools, 0);
  const DriverCounts warm = Count(run);
  EXPECT_EQ(warm.sets, 0);
  EXPECT_EQ(warm.pools, 0);
  EXPECT_EQ(ReadFirst(*program, "source"_iid), expected);
}

}  // namespace
}  // namespace ostra::test
