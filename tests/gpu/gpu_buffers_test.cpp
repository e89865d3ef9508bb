// Buffers of the GPU program where their entries, types and sizes are unusual.
#include "tests/gpu/buffers_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

TEST_F(GpuBuffersTest, AnEntryWithoutTypeIsNoBuffer) {
  ASSERT_THAT(program->SetGlobalBufferLink("e"_iid, *Data::Create(DataBufferEntry())), IsOk());
  EXPECT_THAT(program->ResizeUniformBuffer("e"_iid, 4, false),
              IsErrorWith(kIllegalArgumentError, "DataType not specified or 0 size"));
  EXPECT_THAT(program->CopyBufferDataBytes("e"_iid, "e"_iid, 0, 0, 0), IsOk());
  EXPECT_THAT(program->CopyBufferDataBytes("e"_iid, "e"_iid, 4, 0, 0),
              IsErrorWith(kIllegalArgumentError, "count and offset out of range for source buffer"));
  EXPECT_THAT(program->CopyBufferData("e"_iid, "e"_iid, 0, 0, 0), IsOk());
  const auto empty = program->GetGlobalBufferData("e"_iid);
  ASSERT_THAT(empty, IsOk());
  EXPECT_TRUE(empty->IsEmpty());
  EXPECT_THAT(program->DeleteUniformBuffer("e"_iid), IsOk());
  // One that counts elements of no type.
  DataBufferEntry counted;
  counted._count = counted._capacity = 8;
  ASSERT_THAT(program->SetGlobalBufferLink("e"_iid, *Data::Create(counted)), IsOk());
  EXPECT_THAT(program->GetGlobalBufferData("e"_iid),
              IsErrorWith(kIllegalArgumentError, "DataType not specified or 0 size"));
  EXPECT_THAT(program->CopyBufferData("e"_iid, "e"_iid, 4, 0, 0), IsOk());  // no words
  TakeCalls();
  // One without device memory.
  counted._elementType = GetDataType<Float32>();
  ASSERT_THAT(program->SetGlobalBufferLink("e"_iid, *Data::Create(counted)), IsOk());
  EXPECT_THAT(program->CopyBufferData("e"_iid, "e"_iid, 4, 0, 0),
              IsErrorWith(kIllegalStateError, "no device buffer found to copy data into"));
  EXPECT_THAT(Update<Float32>("e"_iid, 1, {1}),
              IsErrorWith(kIllegalStateError, "no device buffer found to copy data into"));
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuBuffersTest, AnEmptyEntryIsResizedWithoutACopy) {
  DataBufferEntry entry;
  entry._elementType = GetDataType<Float32>();
  ASSERT_THAT(program->SetGlobalBufferLink("e"_iid, *Data::Create(entry)), IsOk());
  ASSERT_THAT(program->ResizeUniformBuffer("e"_iid, 2, false), IsOk());
  EXPECT_THAT(Read<Float32>("e"_iid), ElementsAre(0, 0));
}

TEST_F(GpuBuffersTest, AnUpdateOfAnotherTypeCountsInItsElements) {
  ASSERT_THAT(Store("a"_iid, 10), IsOk());
  TakeCalls();
  // As many elements as there were: in place.
  ASSERT_THAT(Update<UInt16>("a"_iid, 8, {1, 2}), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 4 use 0", "map 8 at 16 of 4", "unmap 1", "release"));
  EXPECT_EQ(GetEntry("a"_iid)._count, 10);
  EXPECT_EQ(Read<UInt16>("a"_iid).size(), 10u);
  EXPECT_THAT(Update<UInt16>("a"_iid, 9, {1, 2}),
              IsErrorWith(kIllegalArgumentError, "Data update does not fit into existing buffer"));
  // More of them: a new buffer, although the bytes would have fitted.
  TakeCalls();
  ASSERT_THAT(Update<UInt16>("a"_iid, 0, std::vector<UInt16>(12, 7)), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("sub-buffer 24 use 4 alignment 256"));
  EXPECT_THAT(Read<UInt16>("a"_iid), testing::AllOf(testing::SizeIs(12), testing::Each(7)));
  // Fewer, but larger ones than there is memory for.
  EXPECT_THAT(Update<Vec4<Float32>>("a"_iid, 0, std::vector<Vec4<Float32>>(2)),
              IsErrorWith(kIllegalArgumentError, "Data update does not fit into existing buffer"));
  EXPECT_EQ(Read<UInt16>("a"_iid).size(), 12u);
  ASSERT_THAT(Update<Vec4<Float32>>("a"_iid, 0, std::vector<Vec4<Float32>>(1)), IsOk());
  EXPECT_EQ(GetEntry("a"_iid)._count, 1);  // what there is memory for
  EXPECT_EQ(Read<Vec4<Float32>>("a"_iid).size(), 1u);
}

TEST_F(GpuBuffersTest, CopiesAndResizesMoveWholeWords) {
  ASSERT_THAT(StoreValues<UInt8>("bytes"_iid, {1, 2, 3, 4, 5, 6}), IsOk());
  ASSERT_THAT(StoreValues<UInt8>("target"_iid, {9, 9, 9, 9, 9, 9}), IsOk());
  TakeCalls();
  // One byte is no word.
  ASSERT_THAT(program->CopyBufferData("bytes"_iid, "target"_iid, 1, 0, 0), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
  // Of six bytes four are words.
  ASSERT_THAT(program->ResizeUniformBuffer("bytes"_iid, 10, false), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("uint copyCount = 1"));
  // Offsets are cut to words as well: the second element of three halves begins in the middle of one.
  ASSERT_THAT(StoreValues("halves"_iid, std::vector<Vec3<HalfFloat>>(8)), IsOk());
  ASSERT_THAT(StoreValues("others"_iid, std::vector<Vec3<HalfFloat>>(9)), IsOk());
  TakeCalls();
  ASSERT_THAT(program->CopyBufferData("halves"_iid, "others"_iid, 2, 1, 3), IsOk());
  EXPECT_THAT(TakeCalls(),
              testing::IsSupersetOf({"uint copyCount = 3", "uint sourceOffset = 1", "uint targetOffset = 4"}));
}

TEST_F(GpuBuffersTest, OffsetsAreCountedInSinglePrecision) {
  constexpr Int kWords = (Int{1} << 24) + 8;
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), kWords), IsOk());
  ASSERT_THAT(program->CreateUniformBuffer("b"_iid, GetDataType<Float32>(), 4), IsOk());
  TakeCalls();
  ASSERT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 1, (Int{1} << 24) + 1, 0), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("uint sourceOffset = 16777216"));
}

TEST_F(GpuBuffersTest, TypesAreLookedAtBeforeRangesAndNothingIsAskedOfTheDevice) {
  ASSERT_THAT(Store("floats"_iid, 4), IsOk());
  ASSERT_THAT(StoreValues<UInt8>("bytes"_iid, {1, 2, 3, 4}), IsOk());
  TakeCalls();
  EXPECT_THAT(program->CopyBufferData("floats"_iid, "bytes"_iid, 100, 0, 0),
              IsErrorWith(kIllegalArgumentError, "Buffers have mismatching data types"));
  EXPECT_THAT(program->CopyBufferDataBytes("floats"_iid, "bytes"_iid, 100, 0, 0),
              IsErrorWith(kIllegalArgumentError, "count and offset out of range for source buffer"));
  EXPECT_THAT(program->CopyBufferDataBytes("bytes"_iid, "floats"_iid, 4, 0, 0),
              IsErrorWith(kIllegalArgumentError, "source buffer datatype's size must be a multiple of 16 bits"));
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuBuffersTest, AForcedResizeToTheSameSizeFindsTheSameMemory) {
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 4), IsOk());
  ASSERT_THAT(Update<Float32>("a"_iid, 0, {1, 2, 3, 4}), IsOk());
  TakeCalls();
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 4, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("get buffer 4", "label a", "valid buffer", "sub-buffer 16 use 4 alignment 256"));
  EXPECT_THAT(Read<Float32>("a"_iid), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, -1, true),
              IsErrorWith(kIllegalArgumentError, "Empty buffers are not allowed to be added."));
}

TEST_F(GpuBuffersTest, DeletingABufferClearsItsLinks) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(Store("values"_iid, 5), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, "values"_iid), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, "other"_iid), IsOk());
  ASSERT_THAT(program->DeleteUniformBuffer("a"_iid), IsOk());
  EXPECT_THAT(program->GetGlobalBufferLink("a"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  // The links are there and lead nowhere.
  for (const InternedId& name : {"values"_iid, "other"_iid}) {
    const auto link = program->GetKernelBufferLink(name);
    ASSERT_THAT(link, IsOk());
    EXPECT_TRUE(*link->GetIf<DataBufferEntry>() == DataBufferEntry());
    const auto data = program->GetKernelBufferData(name);
    ASSERT_THAT(data, IsOk());
    EXPECT_TRUE(data->IsEmpty());
  }
  EXPECT_THAT(program->SwapBuffers("values"_iid, "other"_iid), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("buffer values = 20"));  // the program's buffer of the parameter's name
}

TEST_F(GpuBuffersTest, StoringNeedsAnArray) {
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Float32(1)),
              IsErrorWith(kIllegalArgumentError, "data is not an base array, block or array ref"));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, BaseArray<Float32>()),
              IsErrorWith(kIllegalArgumentError,
                          "Empty buffers are not allowed to be added. Please resize to the required size before "
                          "storing."));
  const std::vector<Float32> values = {1, 9, 2, 9, 3, 9};
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, Block<const Float32>(values.data(), 3, 8)), IsOk());
  EXPECT_THAT(Read<Float32>("a"_iid), ElementsAre(1, 2, 3));
}

TEST_F(GpuBuffersTest, ALayerWithoutStagingMemoryIsAnErrorAndNoEndlessTransfer) {
  device.capacity = 0;
  Start();
  EXPECT_THAT(Store("a"_iid, 4), IsErrorWith(kIllegalStateError, "The GPU layer has no staging memory."));
}

TEST_F(GpuBuffersTest, CountersSurviveAResetAndTakeValuesWithoutAContext) {
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounter("hits"_iid, 5), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{0}, Int64{0}));
  EXPECT_THAT(program->SetAtomicCounter("hits"_iid, 7), IsOk());
  EXPECT_THAT(program->GetAtomicCounter("hits"_iid), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(program->AddMemoryBarrier(), IsOk());
  EXPECT_THAT(program->Execute(true), IsOk());
  EXPECT_THAT(program->SetAtomicCounter("none"_iid, 7),
              IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
  TakeCalls();
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program net.ostra.kernel.copy"));
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());  // it stands at 0 again
  EXPECT_THAT(TakeCalls(), ElementsAre("counter 0"));
}

InternedId MakeKernelId() {
  static Int number = 0;
  return *InternedId::Create("k@", ++number);
}

// What UpdateUniforms says when the kernel of `file` is given two elements of type T.
template <class T>
Result<void> Give(ParallelProgramInterface& program, const Url& file) {
  BaseArray<T> values;
  OSTRA_RETURN_IF_ERROR(values.Resize(2));
  OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData("values"_iid, std::move(values)));
  const InternedId id = MakeKernelId();
  OSTRA_RETURN_IF_ERROR(program.AddKernel(id, file, true));
  program.SetActiveKernel(id);
  return program.UpdateUniforms();
}

TEST_F(GpuBuffersTest, ElementsOfOtherNumbersThanDeclaredAreRefused) {
  const auto write = [this](const std::string& word) {
    std::string text = kPlain;
    text.replace(text.find("Float32"), 7, word);
    return Write("net.ostra.test." + word + ".krn", text);
  };
  EXPECT_THAT(Give<Float64>(*program, write("Float32")),
              IsErrorWith(kIllegalArgumentError,
                          "The kernel's buffer \"values\" is declared with elements of type Float32 and was given a "
                          "buffer of type float64."));
  for (const char* word : {"float", "Vector32", "Int32", "HalfFloat", "Float64", "mat4", "int2", "uint3"}) {
    SCOPED_TRACE(word);
    EXPECT_THAT(Give<UInt8>(*program, write(word)), IsErrorOfKind(kIllegalArgumentError));
  }
  EXPECT_THAT(Give<Float32>(*program, write("Float64")), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Give<Float32>(*program, write("uint")), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Give<Float32>(*program, write("Vector4d32")), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Give<Vec2<Float32>>(*program, write("uint2")), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Give<Float64>(*program, write("double")), IsOk());
  EXPECT_THAT(Give<Int32>(*program, write("UInt32")), IsOk());
  EXPECT_THAT(Give<Vector4d32>(*program, write("float4")), IsOk());
  EXPECT_THAT(Give<HalfFloat>(*program, write("half")), IsOk());
  EXPECT_THAT(Give<SquareMatrix32>(*program, write("sqmat")), IsOk());
  EXPECT_THAT(Give<Vec3<UInt32>>(*program, write("uint3")), IsOk());
  // A struct of the client.
  EXPECT_THAT(Give<Float64>(*program, write("Particle")), IsOk());
}

// Updates bring bytes of any type; what a kernel reads is what was stored.
TEST_F(GpuBuffersTest, AnUpdateOfAnotherTypeLeavesTheElementsThatKernelsRead) {
  ASSERT_THAT(Store("values"_iid, 4), IsOk());
  AddKernel("k"_iid, kPlain);
  ASSERT_THAT(Update<UInt16>("values"_iid, 0, {1, 2}), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(Update<UInt16>("values"_iid, 0, std::vector<UInt16>(20)), IsOk());  // a new buffer
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->ResizeUniformBuffer("values"_iid, 100, false), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("values"_iid, "values"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  // What is stored counts again, in the memory of the first update as well.
  ASSERT_THAT(StoreValues<UInt16>("values"_iid, {1, 2, 3, 4}), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(Store("values"_iid, 4), IsOk());
  ASSERT_THAT(Update<UInt16>("values"_iid, 0, {1, 2}), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->CreateUniformBuffer("values"_iid, GetDataType<UInt16>(), 4), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(GpuBuffersTest, TheResourcePathCountsAlsoWhenInitFails) {
  device.failing = "program";
  program = *programClass->CreateObject<ParallelProgramInterface>();
  Write("shaders/k.krn", kKernel);
  EXPECT_THAT(program->Init(*Url::Create(folder.string()), &context, 0, false), IsErrorOfKind(kIllegalStateError));
  device.failing = "";
  TakeCalls();
  const DiagnosticRecorder diagnostics;  // there is no context yet
  EXPECT_THAT(program->AddKernel("k"_iid, Url("relative://k.krn"_s), true), IsOk());
  EXPECT_EQ(program->GetProgramCount("k.krn"_s), 1);
  ASSERT_THAT(program->Init(*Url::Create(folder.string()), &context, 0, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program net.ostra.kernel.copy"));
  // A second Init only takes the path.
  ASSERT_THAT(program->Init(Url(), nullptr, 3, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

}  // namespace
}  // namespace ostra::test
