// The parts of the GPU program, without a program and without a device.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/math/data_types.h"
#include "parallelprogram/gpu/gpu_buffers.h"
#include "parallelprogram/gpu/gpu_dispatch_times.h"
#include "parallelprogram/gpu/gpu_reports.h"
#include "tests/support/arrays.h"
#include "tests/support/result_matchers.h"

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

}  // namespace
}  // namespace ostra::test
