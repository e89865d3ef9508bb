// The parts of the GPU program, without a program and without a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/math/data_types.h"
#include "parallelprogram/gpu/compile_jobs.h"
#include "parallelprogram/gpu/gpu_buffers.h"
#include "parallelprogram/gpu/gpu_dispatch_times.h"
#include "parallelprogram/gpu/gpu_reports.h"
#include "parallelprogram/gpu/gpu_textures.h"
#include "tests/support/arrays.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

OSTRA_UNIT("gpu_program_parts_test");

namespace ostra::test {
namespace {

class GpuBuffersTest : public testing::Test {
 protected:
  // Gives a name elements that are on no device.
  void Link(InternedId attr, DataType type, Int count) {
    DataBufferEntry entry;
    entry._elementType = type;
    entry._count = entry._capacity = count;
    ASSERT_THAT(buffers.GetNames().Set(attr, std::move(entry)), IsOk());
  }
  Result<void> Copy(Int count, Int sourceOffset, Int targetOffset) {
    return buffers.Copy(context, "a"_iid, "b"_iid, count, sourceOffset, targetOffset);
  }

  const GpuContextData context;
  const DeviceOwner owner{context, 1};
  GpuRecordings recordings;
  GpuBuffers buffers{recordings};
};

TEST_F(GpuBuffersTest, WithoutAContextNothingIsStored) {
  EXPECT_THAT(buffers.Create(owner, "a"_iid, GetDataType<Float32>(), 4), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(buffers.Find("a"_iid), nullptr);
  EXPECT_THAT(buffers.Update(owner, "a"_iid, 0, MakeArray<Float32>({1})),
              IsErrorWith(kIllegalArgumentError, "buffer for update could not be found"));
  EXPECT_THAT(buffers.Resize(owner, "a"_iid, 4, false),
              IsErrorWith(kIllegalArgumentError, "buffer for resize could not be found"));
}

TEST_F(GpuBuffersTest, CopiesNameTheBufferThatIsMissingOrTooSmall) {
  EXPECT_THAT(Copy(1, 0, 0), IsErrorWith(kIllegalArgumentError, "source buffer could not be found"));
  Link("a"_iid, GetDataType<Float32>(), 4);
  EXPECT_THAT(Copy(1, 0, 0), IsErrorWith(kIllegalArgumentError, "target buffer could not be found"));
  Link("b"_iid, GetDataType<Int32>(), 2);
  EXPECT_THAT(Copy(1, 0, 0), IsErrorWith(kIllegalArgumentError, "Buffers have mismatching data types"));
  Link("b"_iid, GetDataType<Float32>(), 2);
  EXPECT_THAT(Copy(3, 2, 0), IsErrorWith(kIllegalArgumentError, "count and offset out of range for source buffer"));
  EXPECT_THAT(Copy(3, 1, 0), IsErrorWith(kIllegalArgumentError, "count and offset out of range for target buffer"));
  EXPECT_THAT(Copy(0, 0, 0), IsOk());
  EXPECT_THAT(Copy(2, 0, 0), IsErrorWith(kIllegalStateError, "no device buffer found to copy data into"));
}

TEST_F(GpuBuffersTest, ABufferIsOfItsElementsWhileNothingElseIsKnown) {
  Link("a"_iid, GetDataType<Int32>(), 4);
  EXPECT_EQ(buffers.GetStoredType(*buffers.Find("a"_iid)), GetDataType<Int32>());
  ASSERT_THAT(buffers.Erase("a"_iid), IsOk());
  EXPECT_EQ(buffers.Find("a"_iid), nullptr);
}

TEST(GpuDispatchTimesTest, WithoutAClockNothingIsMeasured) {
  GpuDispatchTimes times;
  DrawportCommandList& list = GpuContextData().GetCommandList();
  EXPECT_FALSE(times.SetOn(list, true).IsOk());
  EXPECT_FALSE(times.IsOn());
  Bool isRecorded = false;
  EXPECT_FALSE(times
                   .RecordTimed(list, 1, "k"_iid, {1, 1, 1},
                                [&]() -> Result<void> {
                                  isRecorded = true;
                                  return OK;
                                })
                   .IsOk());
  EXPECT_FALSE(isRecorded);
}

TEST(GpuReportsTest, AKernelThatReportsNothingLosesTheBufferOfItsWords) {
  const GpuContextData context;
  GpuKernel kernel;
  const auto name = InternedId::Create(kReportBuffer);
  ASSERT_THAT(kernel.buffers.Set(*name, DataBufferEntry()), IsOk());
  GpuReports reports;
  ASSERT_THAT(reports.LinkBuffer({context, 1}, kernel, true), IsOk());
  EXPECT_FALSE(kernel.buffers.Contains(*name));
}

class GpuKernelTableTest : public testing::Test {
 protected:
  static GpuKernelRef Make(InternedId id, const char* fileName) {
    GpuKernel* kernel = NewObj<GpuKernel>();
    kernel->id = id;
    kernel->fileName = String::Create(fileName).GetValue();
    kernel->state = CompileState::Ready;
    return GpuKernelRef::Adopt(kernel);
  }
  Result<void> Add(const GpuKernelRef& kernel) {
    return kernels.Add(kernel, []() -> Result<void> { return OK; });
  }

  GpuKernelTable kernels;
};

TEST_F(GpuKernelTableTest, TheKernelThatWasAddedLastIsActiveUntilAnotherOneIsChosen) {
  EXPECT_THAT(kernels.GetActive(), IsErrorWith(kIllegalStateError, "no active kernel set"));
  ASSERT_THAT(Add(Make("a"_iid, "x.krn")), IsOk());
  ASSERT_THAT(Add(Make("b"_iid, "y.krn")), IsOk());
  EXPECT_EQ(kernels.GetActiveId(), "b"_iid);
  kernels.SetActive("a"_iid);
  EXPECT_EQ(kernels.GetActive()->id, "a"_iid);
  kernels.SetActive("unknown"_iid);
  EXPECT_EQ(kernels.GetActiveId(), "a"_iid);
  kernels.Reset();
  EXPECT_EQ(kernels.FindActive(), nullptr);
  EXPECT_THAT(kernels.Find("a"_iid), IsErrorWith(kIllegalStateError, "kernel not found"));
}

TEST_F(GpuKernelTableTest, AKernelThatCannotBeginLeavesTheTableAsItWas) {
  ASSERT_THAT(Add(Make("a"_iid, "x.krn")), IsOk());
  const GpuKernelRef failing = Make("b"_iid, "x.krn");
  Bool wasActive = false;
  EXPECT_THAT(kernels.Add(failing,
                          [&]() -> Result<void> {
                            wasActive = kernels.FindActive() == failing;
                            return OSTRA_ILLEGAL_STATE("it cannot begin");
                          }),
              IsErrorWith(kIllegalStateError, "it cannot begin"));
  EXPECT_TRUE(wasActive);
  EXPECT_EQ(kernels.GetActiveId(), "a"_iid);
  EXPECT_EQ(kernels.FindOrNull("b"_iid), nullptr);
  EXPECT_THAT(Add(Make("a"_iid, "z.krn")), IsErrorWith(kIllegalArgumentError, "Kernel id is already used"));
  EXPECT_EQ(kernels.GetActive()->fileName.GetView(), "x.krn");
}

TEST_F(GpuKernelTableTest, KernelsAreCountedByTheirFiles) {
  ASSERT_THAT(Add(Make("a"_iid, "x.krn")), IsOk());
  ASSERT_THAT(Add(Make("b"_iid, "x.krn")), IsOk());
  ASSERT_THAT(Add(Make("c"_iid, "")), IsOk());
  EXPECT_EQ(kernels.CountPrograms(String::Create("x.krn").GetValue()), 2);
  EXPECT_EQ(kernels.CountPrograms(String()), 0);
}

TEST_F(GpuKernelTableTest, AKernelThatDidNotCompileIsActiveButDoesNotRun) {
  const GpuKernelRef kernel = Make("a"_iid, "x.krn");
  kernel->EndCompile(OSTRA_ILLEGAL_STATE("a word is missing"), false);
  ASSERT_THAT(Add(kernel), IsOk());
  EXPECT_THAT(kernels.GetActive(), IsOk());
  EXPECT_THAT(kernels.GetRunnable(), IsErrorOfKind(kIllegalStateError));
}

TEST_F(GpuKernelTableTest, WithoutMemoryNothingIsAdded) {
  const GpuKernelRef kernel = Make("a"_iid, "x.krn");
  EXPECT_GT(ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
              GpuKernelTable table;
              Result<void> added = table.Add(kernel, []() -> Result<void> { return OK; });
              EXPECT_EQ(added.IsOk(), table.FindActive() == kernel);
              OSTRA_RETURN_IF_ERROR(added);
              return table.GetAll() ? Result<void>(OK) : OSTRA_OUT_OF_MEMORY();
            }),
            1);
}

TEST(CompileJobsTest, AllOfThemHaveEndedAfterTheWait) {
  CompileJobs jobs;
  jobs.Wait();  // for nothing
  for (int round = 0; round < 2; ++round) {
    std::atomic<int> count{0};
    for (int i = 0; i < 20; ++i)
      ASSERT_THAT(jobs.Add(*Job::Create([&]() -> Result<void> {
        ++count;
        return OK;
      })),
                  IsOk());
    jobs.Wait();
    EXPECT_EQ(count, 20);
  }
}

TEST(GpuTexturesTest, WithoutAContextNothingIsStoredOrRead) {
  const GpuKernelTable kernels;
  const GpuContexts contexts;
  GpuTextures textures(kernels);
  TextureBindData bindData;
  bindData._dimensions = {2, 2, 1};
  bindData._format = TextureFormat::F32;
  bindData._numChannels = 1;
  EXPECT_THAT(textures.Store(contexts, "t"_iid, bindData), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(textures.Find("t"_iid), nullptr);
  EXPECT_THAT(textures.Update(contexts.current, "t"_iid, bindData),
              IsErrorWith(kIllegalArgumentError, "texture for update could not be found"));
  EXPECT_THAT(textures.Swap("t"_iid, "u"_iid), IsErrorWith(kIllegalArgumentError, "texture one could not be found"));
  EXPECT_THAT(textures.Delete("t"_iid, false), IsOk());
  EXPECT_FALSE(textures.Read(contexts.current, "t"_iid, {1, 1, 1}).IsOk());
  EXPECT_EQ(GetMemoryBudget(contexts.previous).total, 0);
}

TEST(GpuTexturesTest, AKernelWithoutTexturesNeedsNoneBack) {
  const GpuKernelTable kernels;
  const GpuContexts contexts;
  GpuTextures textures(kernels);
  GpuKernel kernel;
  EXPECT_THAT(textures.Restore(contexts, kernel), IsOk());
}

}  // namespace
}  // namespace ostra::test
