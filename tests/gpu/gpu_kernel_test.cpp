// What only the GPU program does, whatever the device: kernels that do not compile, memory.
#include <fstream>

#include "ostra/core/diagnostics.h"
#include "tests/gpu/gpu_fixture.h"

namespace ostra::test {
namespace {

constexpr const char* kIndex = "net.ostra.kernels.index.krn";
using testing::ElementsAre;

class GpuProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
    program = MakeProgram(kGpuProgramClass);
    ASSERT_TRUE(program);
  }
  ParallelProgramRef program;
};

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
                               testing::HasSubstr("net.ostra.test.broken.krn:6: error: ")));
  }
  AddKernel(*program, "index"_iid, kIndex);
  StoreBuffer<UInt32>(*program, "values"_iid, {9, 9});
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(2)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());  // the buffer of the parameter's name is found without a link
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_THAT(ReadBuffer<UInt32>(*program, "values"_iid), ElementsAre(0, 1));
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
