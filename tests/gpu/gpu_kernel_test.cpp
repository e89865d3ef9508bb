// What only the GPU program does, whatever the device: kernels that do not compile, memory.
#include <fstream>

#include "ostra/core/diagnostics.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

constexpr const char* kIndex = "net.ostra.kernels.index.krn";
using testing::ElementsAre;

using GpuProgramTest = DeviceProgramTest;

TEST_F(GpuProgramTest, AKernelThatDoesNotCompileSaysWhereAndStaysInTheTable) {
  const std::string path = testing::TempDir() + "net.ostra.test.broken.krn";
  std::ofstream(path) << "#define KERNELINPUTS \\\n(Block<Float32>) y\n\n"
                         "OSTRA_PARALLEL_KERNEL(Broken, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(y)[0] = nothing;\n}\n"
                         "OSTRA_PARALLEL_KERNEL_END\n";
  SetDiagnosticStreamLevel(DiagnosticLevel::Critical);
  ASSERT_THAT(program->AddKernel("broken"_iid, *Url::Create(path), true), IsOk());
  SetDiagnosticStreamLevel(DiagnosticLevel::Warning);
  EXPECT_TRUE(program->HasKernel("broken"_iid));
  for (const Result<void>& result : {program->UpdateUniforms(), program->DispatchKernel(1, 1, 1, false)}) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.GetError().GetKind(), kIllegalStateError);
    EXPECT_THAT(std::string(result.GetError().GetMessage().GetView()),
                testing::AllOf(testing::StartsWith("The kernel \"broken\" cannot run because it could not be compiled"),
                               testing::HasSubstr("net.ostra.test.broken.krn:6:25: error: unknown name \"nothing\"")));
  }
  AddKernel(*program, "index"_iid, kIndex);
  StoreBuffer<UInt32>(*program, "values"_iid, {9, 9});
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(2)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());  // the buffer of the parameter's name is found without a link
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_THAT(ReadBuffer<UInt32>(*program, "values"_iid), ElementsAre(0, 1));
}

// A program is built for the modes that are set; one whose modes change all the time chooses as it runs.
TEST_F(GpuProgramTest, ModesOfNoisesMayChangeAsOftenAsOneLikes) {
  const ParallelProgramRef cpu = MakeProgram(kCpuProgramClass);
  ASSERT_TRUE(cpu);
  for (ParallelProgramInterface* each : {cpu.GetPointer(), program.GetPointer()}) {
    AddKernel(*each, "noise"_iid, "net.ostra.kernels.noise.krn");
    StoreBuffer(*each, "target"_iid, std::vector<Vec4<Float32>>(16));
    ASSERT_THAT(each->SetBufferToActiveKernelSameId("target"_iid), IsOk());
    for (const auto& [name, value] : {std::pair("width"_iid, 16), std::pair("height"_iid, 1)})
      ASSERT_THAT(each->SetUniform(name, Int32(value)), IsOk());
    for (const auto& [name, value] : {std::pair("cells"_iid, 9.0f), std::pair("time"_iid, 0.25f)})
      ASSERT_THAT(each->SetUniform(name, Float32(value)), IsOk());
    ASSERT_THAT(each->SetUniform("noiseSeed_0"_iid, Int32(5)), IsOk());
  }
  const auto draw = [](ParallelProgramInterface& each, Int32 mode) {
    EXPECT_THAT(each.SetUniform("noiseMode_0"_iid, Int32(mode)), IsOk());
    EXPECT_THAT(each.UpdateUniforms(), IsOk());
    EXPECT_THAT(each.DispatchKernel(16, 1, 1, false), IsOk());
    return ReadBuffer<Vec4<Float32>>(each, "target"_iid);
  };
  const std::vector<Vec4<Float32>> perlin = draw(*cpu, 0), cells = draw(*cpu, 24);
  ASSERT_NE(perlin, cells);
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(draw(*program, 24), cells) << round;
    ASSERT_EQ(draw(*program, 0), perlin) << round;
  }
}

TEST_F(GpuProgramTest, MemoryIsKnown) {
  Int64 available = 0, total = 0;
  EXPECT_TRUE(program->GetMemoryInformation(available, total));
  EXPECT_GT(total, 0);
  EXPECT_LE(available, total);
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget().second, total);
}

}  // namespace
}  // namespace ostra::test
