// Bytes on their way between clients and buffers of the GPU program: chunks, what is refused, and what fails midway.
#include "parallelprogram/device/cache_keys.h"
#include "tests/gpu/buffers_fixture.h"
#include "tests/parallelprogram/array_sources.h"

namespace ostra::test {

// A reference to something that is no array.
struct NumberReference {
  void* number = nullptr;
};

}  // namespace ostra::test

template <>
struct ostra::DataTypeOf<ostra::test::NumberReference> {
  static DataType Make() {
    return MakeParametric<ostra::test::NumberReference>(kCowParametricType, GetDataType<Float32>());
  }
};

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

using GpuTransfersTest = GpuBuffersTest;

constexpr const char* kNoTarget = "no device buffer found to copy data into";

TEST_F(GpuTransfersTest, OnlyReferencesToArraysAreStored) {
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, NumberReference()),
              IsErrorWith(kIllegalArgumentError, "only array container references are supported"));
  ASSERT_THAT(Store("a"_iid, 4), IsOk());
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, NumberReference()),
              IsErrorWith(kIllegalArgumentError, "only array container references are supported"));
}

TEST_F(GpuTransfersTest, ArraysInPiecesAreStoredWhole) {
  Array<Generic> pieces = TwoPieceArray::Create();
  const DataType type = *DataType::MakeArray(GetDataType<Int32>());
  const Data data = *Data::CreateCopy(type, &pieces);
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, data), IsOk());
  EXPECT_THAT(Read<Int32>("a"_iid), ElementsAre(1, 2, 3));
  ASSERT_THAT(StoreValues<Int32>("b"_iid, {9, 9, 9, 9}), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("b"_iid, 1, data), IsOk());
  EXPECT_THAT(Read<Int32>("b"_iid), ElementsAre(9, 1, 2, 3));
}

TEST_F(GpuTransfersTest, CopiesOfBytesLookAtTheTargetAsAtTheSource) {
  ASSERT_THAT(StoreValues<Float32>("floats"_iid, {1, 2, 3, 4}), IsOk());
  ASSERT_THAT(StoreValues<UInt8>("bytes"_iid, {1, 2, 3, 4}), IsOk());
  ASSERT_THAT(StoreValues<Float32>("short"_iid, {1}), IsOk());
  TakeCalls();
  const auto expect = [&](const Result<void>& result, const char* message) {
    EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, message));
  };
  expect(program->CopyBufferDataBytes("floats"_iid, "nowhere"_iid, 4, 0, 0), "target buffer could not be found");
  expect(program->CopyBufferData("floats"_iid, "nowhere"_iid, 1, 0, 0), "target buffer could not be found");
  expect(program->CopyBufferDataBytes("floats"_iid, "short"_iid, 8, 0, 0),
         "count and offset out of range for target buffer");
  expect(program->CopyBufferData("floats"_iid, "short"_iid, 2, 0, 0),
         "count and offset out of range for target buffer");
  expect(program->CopyBufferDataBytes("floats"_iid, "bytes"_iid, 4, 0, 0),
         "target buffer datatype's size must be a multiple of 16 bits");
  // Ranges come first, for both, and then the source.
  expect(program->CopyBufferDataBytes("floats"_iid, "bytes"_iid, 8, 0, 0),
         "count and offset out of range for target buffer");
  expect(program->CopyBufferDataBytes("bytes"_iid, "bytes"_iid, 4, 0, 0),
         "source buffer datatype's size must be a multiple of 16 bits");
  // Up to the very end.
  EXPECT_THAT(program->CopyBufferDataBytes("floats"_iid, "short"_iid, 4, 12, 0), IsOk());
  expect(program->CopyBufferDataBytes("floats"_iid, "short"_iid, 4, 13, 0),
         "count and offset out of range for source buffer");
}

TEST_F(GpuTransfersTest, CopiesOfFewerThanNoElementsDoNothingAndOffsetsBelowNoneAreRefused) {
  ASSERT_THAT(StoreValues<Float32>("a"_iid, {1, 2, 3, 4}), IsOk());
  ASSERT_THAT(StoreValues<Float32>("b"_iid, {5, 6, 7, 8}), IsOk());
  TakeCalls();
  EXPECT_THAT(program->CopyBufferData("a"_iid, "b"_iid, -5, 0, 0), IsOk());
  EXPECT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 0, -3, -3), IsOk());
  EXPECT_THAT(program->CopyBufferDataBytes("a"_iid, "b"_iid, -8, 0, 0), IsOk());
  EXPECT_THAT(program->CopyBufferDataBytes("a"_iid, "b"_iid, 0, -1, -1), IsOk());
  EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, -4, false), IsOk());
  const auto expect = [&](const Result<void>& result, const char* message) {
    EXPECT_THAT(result, IsErrorWith(kIllegalArgumentError, message));
  };
  constexpr const char* kSource = "count and offset out of range for source buffer";
  constexpr const char* kTarget = "count and offset out of range for target buffer";
  expect(program->CopyBufferData("a"_iid, "b"_iid, 0, 5, 0), kSource);
  expect(program->CopyBufferData("a"_iid, "b"_iid, -1, 0, 6), kTarget);
  expect(program->CopyBufferData("a"_iid, "b"_iid, 1, -1, 0), kSource);
  expect(program->CopyBufferData("a"_iid, "b"_iid, 1, 0, -1), kTarget);
  expect(program->CopyBufferData("a"_iid, "b"_iid, INT64_MAX, 1, 0), kSource);
  expect(program->CopyBufferDataBytes("a"_iid, "b"_iid, 4, -4, 0), kSource);
  expect(program->CopyBufferDataBytes("a"_iid, "b"_iid, 4, 0, -4), kTarget);
  expect(program->UpdateUniformBufferData("a"_iid, -1, MakeArray<Float32>({1})),
         "Data update does not fit into existing buffer");
  EXPECT_THAT(TakeCalls(), ElementsAre());
  EXPECT_THAT(Read<Float32>("b"_iid), ElementsAre(5, 6, 7, 8));
}

TEST_F(GpuTransfersTest, RangesThatAreReadLieInsideOfTheBuffer) {
  ASSERT_THAT(StoreValues<Float32>("a"_iid, {1, 2, 3, 4}), IsOk());
  TakeCalls();
  for (const Int offset : {0, 4}) {
    const auto none = program->GetGlobalBufferData("a"_iid, offset, 0);
    ASSERT_THAT(none, IsOk());
    ASSERT_TRUE(none->GetIf<Array<Float32>>());
    EXPECT_EQ(none->GetIf<Array<Float32>>()->GetCount(), 0);
  }
  for (const auto& [offset, count] : {std::pair<Int, Int>(0, -2), {5, 0}, {4, 1}, {0, 5}, {-1, 2}, {1, INT64_MAX}}) {
    EXPECT_THAT(program->GetGlobalBufferData("a"_iid, offset, count),
                IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds"))
        << offset << " " << count;
  }
  EXPECT_THAT(TakeCalls(), ElementsAre());
  // -1 stands for all, from the first one on.
  const auto all = program->GetGlobalBufferData("a"_iid, 3, -1);
  ASSERT_THAT(all, IsOk());
  EXPECT_EQ(all->GetIf<Array<Float32>>()->GetCount(), 4);
  EXPECT_EQ((*program->GetGlobalBufferData("a"_iid, 3, 1)->GetIf<Array<Float32>>())[0], 4);
}

TEST_F(GpuTransfersTest, WhatIsReadComesInWholeElementsToo) {
  std::vector<Vec3<Float32>> values;
  for (int i = 0; i < 6000; ++i) values.emplace_back(static_cast<Float32>(i), 0.5f, -static_cast<Float32>(i));
  ASSERT_THAT(StoreValues("a"_iid, values), IsOk());
  TakeCalls();
  EXPECT_EQ(Read<Vec3<Float32>>("a"_iid), values);
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65532 use 32", "map 1 at 0 of 65532", "unmap 1", "release",
                                       "staging 6468 use 32", "map 1 at 65532 of 6468", "unmap 1", "release"));
}

TEST_F(GpuTransfersTest, ElementsThatAreLargerThanStagingMemoryGoThroughItInParts) {
  device.capacity = 8;
  Start();
  const std::vector<Vec4<Float32>> values = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  ASSERT_THAT(StoreValues("a"_iid, values), IsOk());
  const std::vector<std::string> stored = TakeCalls();
  EXPECT_EQ(std::count(stored.begin(), stored.end(), "staging 8 use 0"), 4);
  EXPECT_THAT(stored, Contains("map 8 at 24 of 8"));
  EXPECT_EQ(Read<Vec4<Float32>>("a"_iid), values);
  const std::vector<std::string> read = TakeCalls();
  EXPECT_EQ(std::count(read.begin(), read.end(), "staging 8 use 32"), 4);
}

TEST_F(GpuTransfersTest, StagingMemoryIsReleasedWhateverFails) {
  ASSERT_THAT(StoreValues<Float32>("a"_iid, {1, 2}), IsOk());
  for (const char* failing : {"staging", "map", "unmap"}) {
    SCOPED_TRACE(failing);
    device.failing = failing;
    const auto expect = [&](const auto& result) {
      EXPECT_THAT(result, IsErrorWith(kIllegalStateError, "made-up failure"));
      const std::vector<std::string> taken = TakeCalls();
      // What was not given needs not be given back, and nothing is done after the failure.
      const bool wasGiven = std::string(failing) != "staging";
      EXPECT_EQ(std::count(taken.begin(), taken.end(), "release"), wasGiven ? 1 : 0);
      const std::string& last = taken[taken.size() - (wasGiven ? 2 : 1)];
      EXPECT_TRUE(last.starts_with(failing)) << last;
    };
    TakeCalls();
    expect(StoreValues<Float32>("b"_iid, {3, 4, 5}));
    expect(Update<Float32>("a"_iid, 1, {3}));
    expect(program->GetGlobalBufferData("a"_iid));
    EXPECT_THAT(program->GetGlobalBufferLink("b"_iid), IsErrorOfKind(kIllegalArgumentError));
  }
  device.failing = "";
  EXPECT_EQ(Read<Float32>("a"_iid).size(), 2u);
}

TEST_F(GpuTransfersTest, AResizeWhoseCopyFailsKeepsTheBuffer) {
  ASSERT_THAT(StoreValues<Float32>("a"_iid, {1, 2}), IsOk());
  const DataBufferEntry before = GetEntry("a"_iid);
  for (const char* failing : {"uint copyCount", "barrier", "dispatch", "execute", "sub-buffer"}) {
    device.failing = failing;
    EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, 8, false), IsErrorWith(kIllegalStateError, "made-up failure"));
    EXPECT_TRUE(GetEntry("a"_iid) == before) << failing;
  }
  device.failing = "";
  EXPECT_THAT(Read<Float32>("a"_iid), ElementsAre(1, 2));
  EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, 8, false), IsOk());
  EXPECT_EQ(GetEntry("a"_iid)._count, 8);
}

TEST_F(GpuTransfersTest, WhatIsOnNoDeviceIsNotRead) {
  DataBufferEntry entry;
  entry._elementType = GetDataType<Float32>();
  entry._count = entry._capacity = 4;
  ASSERT_THAT(program->SetGlobalBufferLink("e"_iid, *Data::Create(entry)), IsOk());
  EXPECT_THAT(program->GetGlobalBufferData("e"_iid),
              IsErrorWith(kIllegalStateError, "no device buffer found to copy data from"));
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(program->SetBufferToActiveKernel("e"_iid, "values"_iid), IsOk());
  EXPECT_THAT(program->GetKernelBufferData("values"_iid),
              IsErrorWith(kIllegalStateError, "no device buffer found to copy data from"));
  EXPECT_THAT(Update<Float32>("e"_iid, 0, {1}), IsErrorWith(kIllegalStateError, kNoTarget));
}

TEST_F(GpuTransfersTest, ABufferThatIsMadeAnewKeepsNothingOfTheHostsData) {
  Int number = 0;
  const auto link = [&](InternedId id) {
    DataBufferEntry entry = GetEntry(id);
    entry._data = &number;
    EXPECT_THAT(program->SetGlobalBufferLink(id, *Data::Create(std::move(entry))), IsOk());
    EXPECT_EQ(GetEntry(id)._data, &number);
  };
  ASSERT_THAT(StoreValues<Float32>("a"_iid, {1, 2}), IsOk());
  link("a"_iid);
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 2), IsOk());
  EXPECT_EQ(GetEntry("a"_iid)._data, nullptr);
  link("a"_iid);
  ASSERT_THAT(StoreValues<Float32>("a"_iid, {1, 2}), IsOk());
  EXPECT_EQ(GetEntry("a"_iid)._data, nullptr);
  link("a"_iid);
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 5, false), IsOk());
  EXPECT_EQ(GetEntry("a"_iid)._data, nullptr);
}

TEST_F(GpuTransfersTest, TheBytesArePartOfTheKeyOfABuffer) {
  const auto store = [&](const ParallelProgramRef& into, InternedId id, const std::vector<Float32>& values) {
    EXPECT_THAT(into->StoreUniformBufferData(id, MakeArray(values)), IsOk());
    return GetCache().bufferKeys.back();
  };
  const auto fold = [](const std::vector<Float32>& values) {
    return *FoldBytes(reinterpret_cast<const Byte*>(values.data()), static_cast<Int>(values.size() * sizeof(Float32)));
  };
  const std::vector<Float32> one = {1, 2, 3}, other = {1, 2, 4};
  const DrawportResourceKey first = store(program, "a"_iid, one), second = store(program, "a"_iid, other);
  EXPECT_EQ(first.values[0], second.values[0]);
  EXPECT_EQ(first.values[1], 3u);
  EXPECT_EQ(first.values[2], fold(one));
  EXPECT_EQ(second.values[2], fold(other));
  EXPECT_NE(fold(one), fold(other));
  // Another program has buffers of its own, whatever their names and bytes are.
  const ParallelProgramRef neighbour = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(neighbour->Init(Url(), &context, 0, false), IsOk());
  const DrawportResourceKey foreign = store(neighbour, "a"_iid, one);
  EXPECT_NE(foreign.values[0], first.values[0]);
  EXPECT_EQ(foreign.values[1], first.values[1]);
  EXPECT_EQ(foreign.values[2], first.values[2]);
  // The first number is made of the name's hash and of what tells programs apart.
  const DrawportResourceKey named = store(program, "b"_iid, one);
  EXPECT_EQ(named.values[0] - first.values[0],
            (("b"_iid).GetHashCode() - ("a"_iid).GetHashCode()) * 0xBF58476D1CE4E5B9ULL);
}

TEST_F(GpuTransfersTest, AnIndirectDispatchWaitsBeforeItLooksForItsBuffer) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(StoreValues<Float32>("values"_iid, {1}), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  TakeCalls();
  EXPECT_THAT(program->DispatchIndirectKernel("nowhere"_iid, 0, false),
              IsErrorWith(kIllegalStateError, "trying to dispatch indirect from unknown buffer"));
  EXPECT_THAT(TakeCalls(), ElementsAre("barrier 16384"));
  ASSERT_THAT(StoreValues<Vec4<Int32>>("counts"_iid, {{1, 1, 1, 0}, {2, 2, 2, 0}}), IsOk());
  TakeCalls();
  ASSERT_THAT(program->DispatchIndirectKernel("counts"_iid, 1, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("barrier 16384", "dispatch indirect 16"));
  ASSERT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("dispatch indirect 0"));
  EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, 2, true), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

}  // namespace
}  // namespace ostra::test
