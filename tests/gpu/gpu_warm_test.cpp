// What a dispatch costs once everything has been used: no memory of the host.
#include "conformance/client_run.h"
#include "ostra/core/memory.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

template <class Run>
void ExpectNoAllocations(Run&& run) {
  for (int i = 0; i < 20; ++i) run();  // every batch has been used
  const Int before = AllocationFaults::GetCount();
  for (int i = 0; i < 20; ++i) run();
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

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
  ExpectNoAllocations(run);
  EXPECT_EQ(ReadBuffer<Float32>(*program, "y"_iid), std::vector<Float32>(kCount, expected));
}

TEST(GpuWarmTest, NorDoKernelsInTurnWithNoisesTexturesAndCounters) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const ParallelProgramRef program = MakeProgram(kGpuProgramClass);
  ASSERT_TRUE(program);
  constexpr UInt32 kSize = 16;
  const std::vector<Float32> texels(kSize * kSize * 4, 0.5f);
  TextureBindData texture = conformance::DescribeTexels(texels, kSize, kSize);
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, texture, false), IsOk());
  StoreBuffer(*program, "target"_iid, std::vector<Vec4<Float32>>(kSize * kSize));
  StoreBuffer(*program, "result"_iid, std::vector<Vec4<Float32>>(kSize * kSize));
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  AddKernel(*program, "noise"_iid, "net.ostra.kernels.noise.krn");
  for (const auto& [name, value] : {std::pair("cells"_iid, 9.0f), std::pair("time"_iid, 0.25f)})
    ASSERT_THAT(program->SetUniform(name, Float32(value)), IsOk());
  AddKernel(*program, "warp"_iid, "net.ostra.kernels.warp.krn");
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("radius"_iid, 1.0f), IsOk());
  for (const InternedId& id : {"noise"_iid, "warp"_iid}) {
    program->SetActiveKernel(id);
    ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
    for (const InternedId& name : {"width"_iid, "height"_iid})
      ASSERT_THAT(program->SetUniform(name, Int32(kSize)), IsOk());
  }
  const auto run = [&] {
    for (Int32 i = 0; i < 5; ++i) {
      for (const InternedId& id : {"noise"_iid, "warp"_iid}) {
        program->SetActiveKernel(id);
        ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, Int32(i)), IsOk());
        ASSERT_THAT(program->SetUniform("angle"_iid, static_cast<Float32>(i)), IsOk());
        ASSERT_THAT(program->UpdateUniforms(), IsOk());
        ASSERT_THAT(program->DispatchKernel(kSize, kSize, 1, false), IsOk());
      }
    }
    ASSERT_THAT(program->Execute(true), IsOk());
  };
  ExpectNoAllocations(run);
  EXPECT_EQ(ReadBuffer<Vec4<Float32>>(*program, "result"_iid)[0], Vec4<Float32>(0.5f));
}

}  // namespace
}  // namespace ostra::test
