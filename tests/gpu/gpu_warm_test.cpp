// What a dispatch costs once everything has been used: no memory of the host.
#include "ostra/core/memory.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

TEST(GpuWarmTest, ADispatchWithNewValuesAllocatesNothing) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const ParallelProgramRef program = MakeProgram(kGpuProgramClass);
  ASSERT_TRUE(program);
  AddKernel(*program, "saxpy"_iid, "net.ostra.kernels.saxpy.krn");
  constexpr Int kCount = 64;
  StoreBuffer<Float32>(*program, "x"_iid, std::vector<Float32>(kCount, 1));
  StoreBuffer<Float32>(*program, "y"_iid, std::vector<Float32>(kCount, 0));
  for (const InternedId& id : {"x"_iid, "y"_iid}) ASSERT_THAT(program->SetBufferToActiveKernelSameId(id), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(kCount)), IsOk());
  Float32 expected = 0;
  const auto run = [&] {
    for (int i = 0; i < 10; ++i) {
      ASSERT_THAT(program->SetUniform("a"_iid, static_cast<Float32>(i)), IsOk());
      // No parameters of this kernel, but values like those of others.
      ASSERT_THAT(program->SetUniform("color"_iid, Vec4<Float32>(static_cast<Float32>(i))), IsOk());
      ASSERT_THAT(program->SetUniform("view"_iid, SquareMatrix4d32()), IsOk());
      // Links that are exchanged, bound, and exchanged again.
      for (int k = 0; k < 2; ++k) {
        ASSERT_THAT(program->SwapBuffers("x"_iid, "y"_iid), IsOk());
        ASSERT_THAT(program->UpdateUniforms(), IsOk());
      }
      ASSERT_THAT(program->DispatchKernel(UInt32(kCount), 1, 1, false), IsOk());
      expected += static_cast<Float32>(i);
    }
    ASSERT_THAT(program->Execute(true), IsOk());
  };
  for (int i = 0; i < 20; ++i) run();  // every batch has been used
  const Int before = AllocationFaults::GetCount();
  for (int i = 0; i < 20; ++i) run();
  EXPECT_EQ(AllocationFaults::GetCount(), before);
  EXPECT_EQ(ReadBuffer<Float32>(*program, "y"_iid), std::vector<Float32>(kCount, expected));
}

}  // namespace
}  // namespace ostra::test
