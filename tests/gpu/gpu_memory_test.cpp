// The GPU program when memory runs out: each allocation of a scenario fails in turn.
#include <filesystem>
#include <fstream>

#include "tests/gpu/gpu_fixture.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/surviving_scenario.h"

namespace ostra::test {
namespace {

constexpr const char* kSaxpy = "net.ostra.kernels.saxpy.krn";

using GpuMemoryTest = DeviceProgramTest;

TEST_F(GpuMemoryTest, BuffersSurviveFailingAllocations) {
  std::vector<Float32> values(100, 2.0f);
  const Block<Float32> block(values.data(), 100);
  ExpectScenarioSurvives([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 100));
    OSTRA_RETURN_IF_ERROR(program->StoreUniformBufferData("b"_iid, block));
    OSTRA_RETURN_IF_ERROR(program->CopyBufferData("b"_iid, "a"_iid, 100, 0, 0));
    OSTRA_RETURN_IF_ERROR(program->GetGlobalBufferData("a"_iid));
    return program->DeleteUniformBuffer("b"_iid);
  });
}

TEST_F(GpuMemoryTest, ADispatchSurvivesFailingAllocations) {
  AddKernel(*program, "saxpy"_iid, kSaxpy);
  StoreBuffer<Float32>(*program, "x"_iid, {1, 2, 3});
  StoreBuffer<Float32>(*program, "y"_iid, {1, 2, 3});
  ExpectScenarioSurvives([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernelSameId("x"_iid));
    OSTRA_RETURN_IF_ERROR(program->SetUniform("count"_iid, UInt32(3)));
    OSTRA_RETURN_IF_ERROR(program->SetUniform("a"_iid, Float32(0)));
    OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
    OSTRA_RETURN_IF_ERROR(program->DispatchKernel(3, 1, 1, false));
    return program->Execute(true);
  });
  EXPECT_THAT(ReadBuffer<Float32>(*program, "y"_iid), testing::ElementsAre(1, 2, 3));
}

TEST_F(GpuMemoryTest, AKernelThatWasAddedWithoutMemoryRunsOnceThereIsSome) {
  AddKernel(*program, "first"_iid, kSaxpy);  // holds the device's program, so that no other one is compiled
  StoreBuffer<Float32>(*program, "x"_iid, {1, 2, 3});
  StoreBuffer<Float32>(*program, "y"_iid, {1, 2, 3});
  const auto run = [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(program->SetUniform("count"_iid, UInt32(3)));
    OSTRA_RETURN_IF_ERROR(program->SetUniform("a"_iid, Float32(0)));
    OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
    return program->DispatchKernel(3, 1, 1, false);
  };
  const auto file = Url::Create(std::string("relative://") + kSaxpy);
  Int withoutJob = 0, refused = 0, notCompiled = 0;
  for (Int n = 1; n < 4000; ++n) {
    SCOPED_TRACE(testing::Message() << "allocation " << n << " fails");
    const InternedId id = *InternedId::Create("k@", n);
    const DiagnosticRecorder diagnostics;
    const Result<void> added = [&] {
      const FailingAllocation failure(n);
      return program->AddKernel(id, *file, true);
    }();
    if (!AllocationFaults::HasFired()) break;
    if (!added) {
      ++refused;
      EXPECT_THAT(added, IsErrorOfKind(kOutOfMemoryError));
      EXPECT_FALSE(program->HasKernel(id));
      EXPECT_EQ(program->GetActiveKernelId(), "first"_iid);
      continue;
    }
    EXPECT_EQ(program->GetActiveKernelId(), id);
    for (const std::string& line : diagnostics.GetLines())
      withoutJob += line == "something went wrong. compile job is nullptr. Not enqueuing";
    const Result<void> early = program->DispatchKernel(1, 1, 1, true);
    ASSERT_FALSE(early);
    notCompiled += early.GetError().GetMessage().Contains("cannot run because");
    EXPECT_THAT(run(), IsOk());
    program->SetActiveKernel("first"_iid);
    if (HasFailure()) return;
  }
  EXPECT_GT(withoutJob, 0);
  EXPECT_GT(refused, 0);
  EXPECT_GT(notCompiled, withoutJob);
  EXPECT_THAT(ReadBuffer<Float32>(*program, "y"_iid), testing::ElementsAre(1, 2, 3));
}

}  // namespace
}  // namespace ostra::test
