// Bytes on their way to the device and back: each test runs with memory that the host sees, with memory that it only
// writes, and through staging memory.
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using testing::Each;
using testing::ElementsAre;

namespace {

enum class Way { Direct, DirectlyWritten, Staged };

class TransferTest : public GpuTest, public testing::WithParamInterface<Way> {
 protected:
  void SetUp() override {
    GpuTest::SetUp();
    SetDrawportDirectMapping(GetParam() != Way::Staged);
    SetDrawportDirectReading(GetParam() == Way::Direct);
  }

  std::vector<Byte> MakeBytes(Int count, UInt32 seed) {
    std::vector<Byte> bytes(static_cast<std::size_t>(count));
    for (Byte& byte : bytes) byte = static_cast<Byte>((seed = seed * 1664525u + 1013904223u) >> 24);
    return bytes;
  }

  // data[i] += 1 for 32-bit words
  GpuComputeRef MakeIncrement(DrawportDeviceBuffer* data) {
    ProgramBuilder program(*this);
    program.Writes("data", "uint", 4);
    GpuComputeRef compute = program.Make("UNIFORM_BUFFER(data)[InGlobalInvocationID.x] += 1u;\n",
                                         [=](ProgramValues& values) { values.SetBuffer("data", data); });
    Take(compute->UpdateUniforms(_context, true));
    return compute;
  }
};
INSTANTIATE_TEST_SUITE_P(Memory, TransferTest, testing::Values(Way::Direct, Way::DirectlyWritten, Way::Staged),
                         [](const testing::TestParamInfo<Way>& memory) {
                           return memory.param == Way::Direct            ? "Direct"
                                  : memory.param == Way::DirectlyWritten ? "DirectlyWritten"
                                                                         : "Staged";
                         });

TEST_P(TransferTest, ABufferThatNobodyFilledIsZero) {
  DrawportDeviceBuffer* buffer = MakeBuffer(100001);
  EXPECT_EQ(buffer->GetSize(), 100001);
  EXPECT_THAT(Download(*buffer, 0, 100001), Each(Byte(0)));
}

TEST_P(TransferTest, BytesComeBackAsTheyWere) {
  for (const Int size : {Int(1), Int(3), Int(4), Int(1000), Int(65537), Int(3000001)}) {
    const std::vector<Byte> bytes = MakeBytes(size, static_cast<UInt32>(size));
    DrawportDeviceBuffer* buffer = MakeBuffer(size);
    Upload(*buffer, bytes.data(), size);
    EXPECT_EQ(Download(*buffer, 0, size), bytes) << size;
  }
}

TEST_P(TransferTest, LargeBuffersTravelInManyChunks) {
  const Int size = 3 * GetCapability(DrawportCapability::BufferTransferChunk) + 4321;
  const std::vector<Byte> bytes = MakeBytes(size, 7);
  DrawportDeviceBuffer* buffer = MakeBuffer(size);
  Upload(*buffer, bytes.data(), size);
  EXPECT_EQ(Download(*buffer, 0, size), bytes);
}

TEST_P(TransferTest, WhatSurroundsAPartThatIsWrittenStaysZeroOrAsItWas) {
  DrawportDeviceBuffer* buffer = MakeBuffer(1001);
  std::vector<Byte> expected(1001);
  for (const auto& [offset, size] : {std::pair<Int, Int>{501, 7}, {0, 3}, {3, 2}, {990, 11}, {500, 2}}) {
    const std::vector<Byte> bytes = MakeBytes(size, static_cast<UInt32>(offset + 1));
    Upload(*buffer, bytes.data(), size, offset);
    std::copy(bytes.begin(), bytes.end(), expected.begin() + offset);
  }
  EXPECT_EQ(Download(*buffer, 0, 1001), expected);
  const std::vector<Byte> part = Download(*buffer, 499, 10);
  EXPECT_TRUE(std::equal(part.begin(), part.end(), expected.begin() + 499));
}

TEST_P(TransferTest, ADispatchSeesAnUploadWithoutABarrier) {
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(256, 10));
  const GpuComputeRef increment = MakeIncrement(data);
  Take(increment->Dispatch(4, 1, 1));
  EXPECT_THAT(Download<UInt32>(*data), Each(11u));
}

TEST_P(TransferTest, UploadsAndDispatchesHappenInTheOrderOfTheCalls) {
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(256, 10));
  const GpuComputeRef increment = MakeIncrement(data);
  const std::vector<UInt32> later(128, 50);
  Take(increment->Dispatch(4, 1, 1));
  Upload(*data, later.data(), 512);  // the dispatch has not even been submitted
  Take(increment->Dispatch(4, 1, 1));
  Upload(*data, later.data(), 4, 1020);
  const std::vector<UInt32> output = Download<UInt32>(*data);
  EXPECT_THAT(std::vector<UInt32>(output.begin(), output.begin() + 128), Each(51u));
  EXPECT_THAT(std::vector<UInt32>(output.begin() + 128, output.end() - 1), Each(12u));
  EXPECT_EQ(output.back(), 50u);
}

TEST_P(TransferTest, TheSameBytesCanBeWrittenTwiceInARow) {
  DrawportDeviceBuffer* data = MakeBuffer(4096);
  const GpuComputeRef increment = MakeIncrement(data);
  Take(increment->Dispatch(16, 1, 1));  // keeps the host from writing directly
  const std::vector<UInt32> first(1024, 1), second(1024, 2);
  Upload(*data, first.data(), 4096);
  Upload(*data, second.data(), 4096);
  EXPECT_THAT(Download<UInt32>(*data), Each(2u));
}

TEST_P(TransferTest, AStagingBufferIsMappedAgainWhileItsLastCopyIsPending) {
  DrawportDeviceBuffer* data = MakeBuffer(4096);
  const GpuComputeRef increment = MakeIncrement(data);
  Take(increment->Dispatch(16, 1, 1));
  DrawportStagingBuffer* staging = Take(_cache->AllocStagingBuffer(*_context, {.bytes = 1024}));
  for (UInt32 i = 0; i < 4; ++i) {
    Byte* mapped = Take(GetList().PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, *data, 0, 1024 * i, 1024));
    std::fill_n(reinterpret_cast<UInt32*>(mapped), 256, i + 1);
    Take(GetList().UnmapBuffer(*staging, DrawportUnmapMode::Commit));
  }
  GetList().ReleaseStagingBuffer(staging);
  const std::vector<UInt32> output = Download<UInt32>(*data);
  for (std::size_t i = 0; i < 1024; ++i) ASSERT_EQ(output[i], i / 256 + 1) << i;
}

TEST_P(TransferTest, ReadingSeesWorkThatWasOnlyRecorded) {
  DrawportDeviceBuffer* data = MakeBuffer(256 * 4);
  const GpuComputeRef increment = MakeIncrement(data);
  for (UInt32 i = 1; i <= 5; ++i) {
    Take(increment->Dispatch(4, 1, 1));
    Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    EXPECT_THAT(Download<UInt32>(*data), Each(i));
  }
}

TEST_P(TransferTest, ABufferMayGoBeforeTheWorkThatUsesIt) {
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(1 << 20, 1));
  const GpuComputeRef increment = MakeIncrement(data);
  for (int i = 0; i < 5; ++i) {
    Take(increment->Dispatch(16384, 1, 1));
    Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  }
  Take(GetList().Execute(false));
  increment->Reset();
  _items.clear();
  EXPECT_THAT(GetList().Execute(true), IsOk());
}

TEST_P(TransferTest, RefusesToMapWhatIsNotThere) {
  DrawportDeviceBuffer* buffer = MakeBuffer(1000);
  DrawportStagingBuffer* staging = Take(_cache->AllocStagingBuffer(*_context, {.bytes = 100}));
  const auto map = [&](Int offset, Int bytes, DrawportMapMode mode = DrawportMapMode::WriteDiscard) {
    return GetList().PrivateMapBuffer(*staging, mode, *buffer, 0, offset, bytes);
  };
  EXPECT_THAT(map(901, 100), IsErrorWith(kIllegalArgumentError,
                                         "100 bytes from byte 901 on are not inside a device buffer of 1000 bytes."));
  EXPECT_THAT(map(-1, 10), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(map(0, 101),
              IsErrorWith(kIllegalArgumentError, "101 bytes cannot be mapped in a staging buffer of 100 bytes."));
  EXPECT_THAT(map(0, 0), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(map(0, 10, DrawportMapMode::Read),
              IsErrorWith(kIllegalArgumentError, "A staging buffer for use 0 cannot be mapped in mode 1."));
  EXPECT_THAT(GetList().UnmapBuffer(*staging, DrawportUnmapMode::Commit), IsErrorOfKind(kIllegalStateError));
  Byte* mapped = Take(map(900, 100));
  std::fill_n(mapped, 100, Byte(3));
  EXPECT_THAT(map(0, 10), IsErrorWith(kIllegalStateError, "The staging buffer is mapped already."));
  Take(GetList().UnmapBuffer(*staging, DrawportUnmapMode::Commit));
  GetList().ReleaseStagingBuffer(staging);
  EXPECT_THAT(map(0, 10), IsErrorWith(kIllegalStateError, "The staging buffer has been released."));
  EXPECT_THAT(Download(*buffer, 899, 3), ElementsAre(0, 3, 3));
}

TEST_P(TransferTest, AStagingBufferHasTheSizeOfItsCapabilityAtMost) {
  const Int limit = GetCapability(DrawportCapability::BufferTransferChunk);
  EXPECT_GE(limit, 65536);
  EXPECT_THAT(_cache->AllocStagingBuffer(*_context, {.bytes = limit + 1}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(_cache->AllocStagingBuffer(*_context, {.bytes = 0}), IsErrorOfKind(kIllegalArgumentError));
  DrawportStagingBuffer* staging = Take(_cache->AllocStagingBuffer(*_context, {.bytes = limit}));
  EXPECT_EQ(staging->GetSize(), limit);
  GetList().ReleaseStagingBuffer(staging);
}

TEST_P(TransferTest, AnAbandonedMappingLeavesEverythingUsable) {
  DrawportDeviceBuffer* buffer = MakeBuffer(std::vector<UInt32>(4, 9));
  DrawportStagingBuffer* staging =
      Take(_cache->AllocStagingBuffer(*_context, {.bytes = 16, .use = DrawportStagingUse::HostReadWrite}));
  Take(GetList().PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffer, 0, 0, 16));
  GetList().ReleaseStagingBuffer(staging);  // still mapped
  EXPECT_THAT(Download<UInt32>(*buffer), Each(9u));
}

TEST_P(TransferTest, SetsAndReadsCountersThatWorkIsUsing) {
  auto item = Take(_cache->GetAtomicCounter({"n"_iid, 5}));
  DrawportAtomicCounter* counter = Take(item->MakeValid(*_context));
  ProgramBuilder program(*this);
  program.Uniform(DrawportShaderValueType::AtomicUInt, "n");
  GpuComputeRef compute = program.Make("uint old;\nAtomicAdd(GetAtomicCounter(n), 2u, old);\n",
                                       [&](ProgramValues& values) { values.SetCounter("n", counter); });
  Take(compute->UpdateUniforms(_context, true));
  for (UInt32 i = 0; i < 3; ++i) {
    Take(compute->Dispatch(1, 1, 1));
    Take(GetList().SetAtomicCounterValue(*counter, i));
    Take(compute->Dispatch(2, 1, 1));
  }
  EXPECT_EQ(Take(GetList().GetAtomicCounterValue(*counter)), 2u + 256u);
}

}  // namespace
