// The CPU program when memory runs out, and what it allocates when nothing new happens.
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

// Everything a client does with one program, from Init to Reset.
Result<void> FillProgram(ParallelProgramInterface& program, const Url& file) {
  OSTRA_RETURN_IF_ERROR(program.Init(Url(), nullptr, 0, false));
  OSTRA_RETURN_IF_ERROR(program.AddKernel("a"_iid, file, true));
  OSTRA_RETURN_IF_ERROR(program.CreateUniformBuffer("values"_iid, GetDataType<Float32>(), 4));
  OSTRA_RETURN_IF_ERROR(program.ResizeUniformBuffer("values"_iid, 6, false));
  const Float32 values[] = {1, 2, 3, 4, 5, 6};
  OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData("values"_iid, Block<const Float32>(values, 6)));
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Float32> more, BaseArray<Float32>::Create({7, 8}));
  OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData("more"_iid, std::move(more)));
  OSTRA_RETURN_IF_ERROR(program.UpdateUniformBufferData("values"_iid, 0, Block<const Float32>(values, 2)));
  OSTRA_RETURN_IF_ERROR(program.CopyBufferData("more"_iid, "values"_iid, 2, 0, 4));
  OSTRA_RETURN_IF_ERROR(program.SetBufferToActiveKernelSameId("values"_iid));
  OSTRA_RETURN_IF_ERROR(program.SetBufferToActiveKernel("more"_iid, "spare"_iid));
  OSTRA_RETURN_IF_ERROR(program.SetUniform("factor"_iid, Float32(2)));
  OSTRA_RETURN_IF_ERROR(program.SetUniform("matrix"_iid, SquareMatrix4d32{}));
  OSTRA_RETURN_IF_ERROR(program.AddAtomicCounter("total"_iid, Int32(0)));
  OSTRA_RETURN_IF_ERROR(program.SetAtomicCounterToActiveKernel("total"_iid));
  OSTRA_RETURN_IF_ERROR(program.CopyKernel("a"_iid, "b"_iid, true));
  program.SetActiveKernel("b"_iid);
  OSTRA_RETURN_IF_ERROR(program.SetUniform("factor"_iid, Float32(10)));
  OSTRA_RETURN_IF_ERROR(program.SwapBuffers("values"_iid, "spare"_iid));
  return program.SwapBuffers("values"_iid, "spare"_iid);
}

Result<void> RunProgram(ParallelProgramInterface& program) {
  OSTRA_RETURN_IF_ERROR(program.UpdateUniforms());
  OSTRA_RETURN_IF_ERROR(program.DispatchKernel(6, 1, 1, false));
  OSTRA_RETURN_IF_ERROR(program.DispatchKernel(4, 0, 1, false));
  OSTRA_ASSIGN_OR_RETURN(const Data part, program.GetGlobalBufferData("values"_iid, 1, 3));
  OSTRA_ASSIGN_OR_RETURN(const Data whole, program.GetKernelBufferData("values"_iid));
  OSTRA_RETURN_IF_ERROR(program.ResizeUniformBuffer("values"_iid, 9, false));
  OSTRA_RETURN_IF_ERROR(program.DeleteUniformBuffer("more"_iid));
  return program.Reset();
}

Result<void> UseProgram(ParallelProgramInterface& program, const Url& file) {
  OSTRA_RETURN_IF_ERROR(FillProgram(program, file));
  return RunProgram(program);
}

class MemoryTest : public KernelFormTest {
 protected:
  void SetUp() override {
    KernelFormTest::SetUp();
    _file = GetKernelFile(kScale, GetParam());
    // Names, types and worker threads are made once per process.
    ASSERT_THAT(UseProgram(*program, _file), IsOk());
  }
  void TearDown() override { AllocationFaults::Disable(); }
  Url _file;
};

TEST_P(MemoryTest, EveryAllocationMayFailAndNothingLeaks) {
  Int failures = 0;
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 100000);
    SCOPED_TRACE(testing::Message() << "allocation " << n);
    const Int live = AllocationFaults::GetLiveCount();
    AllocationFaults::FailNth(n);
    auto created = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
    Result<void> result = created ? UseProgram(**created, _file) : Result<void>(created.GetError());
    const Bool hasFired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    if (!hasFired) {
      ASSERT_THAT(result, IsOk());
      break;
    }
    if (!result) {
      ++failures;
      ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    }
    // The program is usable again, whatever it holds of the first attempt.
    if (created) {
      ASSERT_THAT((*created)->Reset(), IsOk());
      ASSERT_THAT(UseProgram(**created, _file), IsOk());
    }
    result = OK;
    created = Error::MakeOutOfMemory("cpu_memory_test", 0);
    ASSERT_EQ(AllocationFaults::GetLiveCount(), live);
  }
  EXPECT_GT(failures, 20);
}

TEST_P(MemoryTest, AFailedStoreLeavesTheOldBuffer) {
  GetDataType<Block<const Int32>>();  // known before allocations are counted
  StoreBuffer<Int32>("a"_iid, {1, 2});
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    const Int32 values[] = {7, 8, 9};
    AllocationFaults::FailNth(n);
    const auto result = program->StoreUniformBufferData("a"_iid, Block<const Int32>(values, 3));
    const Bool hasFired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    if (result) {
      EXPECT_FALSE(hasFired);
      break;
    }
    ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    ASSERT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
  }
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{7, 8, 9}));
}

TEST_P(MemoryTest, AFailedAddLeavesNoKernel) {
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    const Int kernels = g_liveKernels;
    AllocationFaults::FailNth(n);
    const auto result = program->AddKernel("a"_iid, _file, true);
    AllocationFaults::Disable();
    if (result) break;
    ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    ASSERT_FALSE(program->HasKernel("a"_iid));
    ASSERT_TRUE(program->GetActiveKernelId().IsEmpty());
    ASSERT_EQ(g_liveKernels, kernels);
  }
  EXPECT_TRUE(program->HasKernel("a"_iid));
}

TEST_P(MemoryTest, AFailedResizeLeavesTheBufferAndItsLinks) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), IsOk());
  const auto view = program->GetGlobalBufferData("a"_iid);
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    AllocationFaults::FailNth(n);
    const auto result = program->ResizeUniformBuffer("a"_iid, 3, false);
    AllocationFaults::Disable();
    if (result) break;
    ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    ASSERT_EQ(ReadKernelBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
  }
  EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 0}));
  EXPECT_EQ(GetElements<Int32>(view), (std::vector<Int32>{1, 2}));
}

TEST_P(MemoryTest, ADispatchAllocatesNothing) {
  StoreBuffer<Float32>("values"_iid, std::vector<Float32>(20000, 1.0f));
  StoreBuffer<Vec4<Int32>>("counts"_iid, {Vec4<Int32>(100, 1, 1, 0), Vec4<Int32>(10, 1, 1, 0)});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const auto dispatchAll = [this] {
    return program->DispatchKernel(20000, 1, 1, false) && program->DispatchKernel(20000, 1, 0, false) &&
           program->DispatchIndirectKernel("counts"_iid, 0, false) &&
           program->DispatchIndirectKernel("counts"_iid, 1, false);
  };
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(dispatchAll());
  const Int allocations = AllocationFaults::GetCount();
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(dispatchAll());
  EXPECT_EQ(AllocationFaults::GetCount(), allocations);
}

TEST_P(MemoryTest, UpdatesAndCopiesOfBuffersAllocateNothing) {
  GetDataType<Block<const Int32>>();  // known before allocations are counted
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  StoreBuffer<Int32>("b"_iid, {1, 2, 3});
  const Int32 values[] = {7, 8};
  const Int allocations = AllocationFaults::GetCount();
  EXPECT_TRUE(program->UpdateUniformBufferData("a"_iid, 1, Block<const Int32>(values, 2)));
  EXPECT_TRUE(program->CopyBufferData("a"_iid, "b"_iid, 2, 1, 0));
  EXPECT_TRUE(program->CopyBufferDataBytes("a"_iid, "b"_iid, 3, 1, 0));
  EXPECT_EQ(AllocationFaults::GetCount(), allocations);
}

TEST_P(MemoryTest, RepeatedUpdatesDoNotPileUpMemory) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(2)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const Int live = AllocationFaults::GetLiveCount();
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(program->UpdateUniforms());
  EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
}

OSTRA_TEST_BOTH_FORMS(MemoryTest);

}  // namespace
}  // namespace ostra::test
