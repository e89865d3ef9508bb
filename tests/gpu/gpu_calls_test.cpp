// What the GPU program asks of the GPU layer, call by call.
#include "parallelprogram/program/recorded_dispatches_interface.h"
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

TEST_F(GpuCallsTest, InitBuildsTheCopyKernel) {
  EXPECT_THAT(calls, ElementsAre("program net.ostra.kernel.copy"));
  const DrawportProgramDescription& copy = GetCache().programs["net.ostra.kernel.copy"]->description;
  EXPECT_EQ(copy.GetWorkGroupSize()[0], 256u);
  ASSERT_EQ(copy.GetRequiredFeatures().GetCount(), 2);
  EXPECT_EQ(copy.GetRequiredFeatures()[0].feature, DrawportFeature::ComputeShader);
  EXPECT_EQ(copy.GetRequiredFeatures()[1].feature, DrawportFeature::ShaderStorageBuffer);
  std::vector<std::string> names;
  for (const DrawportParameter& parameter : copy.GetParameters()) names.emplace_back(parameter.name.GetView());
  EXPECT_THAT(names, ElementsAre("copyCount", "sourceOffset", "targetOffset", "sourceData", "targetData"));
  EXPECT_EQ(copy.GetParameters()[3].access, DrawportBufferAccess::ReadOnly);
  EXPECT_EQ(copy.GetParameters()[4].access, DrawportBufferAccess::ReadWrite);
}

TEST_F(GpuCallsTest, AStoreGoesThroughStagingMemoryInChunks) {
  ASSERT_THAT(Store("a"_iid, 20000), IsOk());  // 80000 bytes, 65536 at a time
  EXPECT_THAT(TakeCalls(),
              ElementsAre("get buffer 20000", "label a", "valid buffer", "sub-buffer 80000 use 4 alignment 256",
                          "staging 65536 use 0", "map 8 at 0 of 65536", "unmap 1", "release", "staging 14464 use 0",
                          "map 8 at 65536 of 14464", "unmap 1", "release"));
  const auto data = program->GetGlobalBufferData("a"_iid, 16000, 2000);
  ASSERT_THAT(data, IsOk());
  EXPECT_EQ((*data->Get<Array<Float32>>())[1999], 17999.0f);
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 8000 use 32", "map 1 at 64000 of 8000", "unmap 1", "release"));
}

TEST_F(GpuCallsTest, ALayerThatCannotRecordSaysSo) {
  auto* const recordings = FindInterface<RecordedDispatchesInterface>(*program);
  ASSERT_TRUE(recordings);
  EXPECT_THAT(recordings->BeginRecording(), IsErrorContaining(kNotImplementedError, "cannot record work"));
  EXPECT_THAT(recordings->EndRecording(), IsErrorOfKind(kIllegalStateError));
}

TEST_F(GpuCallsTest, ChunksHoldWholeElements) {
  BaseArray<Vec3<Float32>> values;
  ASSERT_THAT(values.Resize(6000), IsOk());  // of 12 bytes: 65532 at a time
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, std::move(values)), IsOk());
  const std::vector<std::string> taken = TakeCalls();
  EXPECT_THAT(taken, testing::Contains("map 8 at 0 of 65532"));
  EXPECT_THAT(taken, testing::Contains("map 8 at 65532 of 6468"));
}

TEST_F(GpuCallsTest, TheKeyOfABufferIsMadeOfNameCountAndBytes) {
  ASSERT_THAT(Store("a"_iid, 10), IsOk());
  ASSERT_THAT(Store("a"_iid, 10), IsOk());
  ASSERT_THAT(Store("b"_iid, 10), IsOk());
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 10), IsOk());
  const auto& keys = GetCache().bufferKeys;
  EXPECT_TRUE(keys[0] == keys[1]);
  EXPECT_NE(keys[0].values[0], keys[2].values[0]);
  EXPECT_EQ(keys[0].values[2], keys[2].values[2]);
  EXPECT_EQ(keys[3].values[0], keys[0].values[0]);
  EXPECT_EQ(keys[3].values[1], 10u);
  EXPECT_EQ(keys[3].values[2], 0u);
}

TEST_F(GpuCallsTest, AFailedTransferReleasesItsStagingBufferAndKeepsTheOldBuffer) {
  ASSERT_THAT(Store("a"_iid, 4), IsOk());
  TakeCalls();
  device.failing = "map";
  EXPECT_THAT(Store("a"_iid, 5), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_EQ(TakeCalls().back(), "release");
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_EQ(TakeCalls().back(), "release");
  device.failing = "";
  const auto data = program->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(data, IsOk());
  EXPECT_EQ(data->Get<Array<Float32>>()->GetCount(), 4);
}

TEST_F(GpuCallsTest, ACopyIsADispatchThatIsWaitedFor) {
  ASSERT_THAT(Store("a"_iid, 600), IsOk());
  ASSERT_THAT(Store("b"_iid, 500), IsOk());
  TakeCalls();
  ASSERT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 300, 100, 200), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("uint copyCount = 300", "uint sourceOffset = 100", "uint targetOffset = 200",
                                       "buffer sourceData = 2400", "buffer targetData = 2000", "barrier 16384",
                                       "dispatch 2 1 1", "execute 1"));
  ASSERT_THAT(program->CopyBufferDataBytes("a"_iid, "b"_iid, 6, 9, 5), IsOk());
  EXPECT_THAT(TakeCalls(), testing::IsSupersetOf({"uint copyCount = 1", "uint sourceOffset = 2",
                                                  "uint targetOffset = 1", "dispatch 1 1 1"}));
  ASSERT_THAT(program->CopyBufferDataBytes("a"_iid, "b"_iid, 3, 0, 0), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
}

TEST_F(GpuCallsTest, ALargeCopyIsCutAndSaidSo) {
  constexpr Int kWords = 65535 * 256 + 1000;
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), kWords), IsOk());
  ASSERT_THAT(program->CreateUniformBuffer("b"_iid, GetDataType<Float32>(), kWords), IsOk());
  TakeCalls();
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->CopyBufferData("a"_iid, "b"_iid, kWords, 0, 0), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("dispatch 65535 1 1"));
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre("A copy of 16777960 words was cut to 16776960 words."));
}

TEST_F(GpuCallsTest, ValuesLinksAndCountersAreBoundInTheirOrder) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  std::vector<Float32> texels(4 * 2, 1.0f);
  TextureBindData texture = Describe(4, 2);
  texture._data = reinterpret_cast<const Byte*>(texels.data());
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, texture, false), IsOk());
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, HalfFloat(2.0f)), IsOk());
  ASSERT_THAT(program->SetUniform("color"_iid, Vec4<HalfFloat>(HalfFloat(3.0f))), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(9)), IsOk());
  ASSERT_THAT(program->SetUniform("unknown"_iid, UInt32(9)), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("float factor = 2", "float4 color = 3", "uint count = 9", "buffer values = 12",
                                       "texture image = 4", "counter hits = 0"));
  ASSERT_THAT(program->DispatchKernel(9, 9, 1, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("barrier 16384", "dispatch 2 3 1"));
  ASSERT_THAT(program->DispatchKernel(9, 1, 1, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("dispatch 2 1 1"));
  ASSERT_THAT(program->DispatchKernel(0, 1, 1, false), IsOk());
  ASSERT_THAT(program->DispatchKernel(8, 8, 0, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("barrier 16384"));
  ASSERT_THAT(program->AddTextureMemoryBarrier(), IsOk());
  ASSERT_THAT(program->Execute(false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("barrier 136", "execute 0"));
  EXPECT_THAT(program->DispatchIndirectKernel("nowhere"_iid, 0, true),
              IsErrorWith(kIllegalStateError, "trying to dispatch indirect from unknown buffer"));
}

TEST_F(GpuCallsTest, AValueWithoutSetterIsNamed) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(program->SetUniform("factor"_iid, Float64(2)), IsOk());
  EXPECT_THAT(
      program->UpdateUniforms(),
      IsErrorWith(kIllegalArgumentError, "The uniform \"factor\" cannot be given a value of type \"float64\"."));
}

TEST_F(GpuCallsTest, ACreatedTextureIsThereWhenTheCallReturns) {
  TextureBindData texture = Describe(16, 8);
  ASSERT_THAT(program->CreateTexture("t"_iid, texture), IsOk());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("get sampler 171", "get texture 512", "valid texture", "valid sampler", "execute 1"));
}

TEST_F(GpuCallsTest, ATextureIsFilledInBlocksOfWholeRows) {
  TextureBindData texture = Describe(1024, 64);  // rows of 4096 bytes, 16 of which fit
  std::vector<Float32> texels(1024 * 64);
  for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i);
  texture._data = reinterpret_cast<const Byte*>(texels.data());
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, texture, false), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("get sampler 171", "get texture 262144", "valid texture", "staging 65536 use 4",
                                       "map texture 8 at 0,0,0 of 1024x16x1", "map texture 8 at 0,16,0 of 1024x16x1",
                                       "map texture 8 at 0,32,0 of 1024x16x1", "map texture 8 at 0,48,0 of 1024x16x1",
                                       "release", "valid sampler"));
  const auto read = program->GetTextureData("t"_iid, Vec3<Int32>(10), Vec3<Int32>(1 << 30));
  ASSERT_THAT(read, IsOk());
  EXPECT_EQ(std::memcmp(read->GetIf<SamplingData>()->_texels, texels.data(), texels.size() * 4), 0);
  EXPECT_EQ(TakeCalls()[0], "staging 65536 use 32");
}

TEST_F(GpuCallsTest, PaddedRowsAreReadBackPacked) {
  device.rowAlignment = 256;
  Start();
  TextureBindData texture = Describe(5, 3);
  const std::vector<Float32> texels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
  texture._data = reinterpret_cast<const Byte*>(texels.data());
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, texture, false), IsOk());
  const auto read = program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(3, 2, 1));
  ASSERT_THAT(read, IsOk());
  const auto* record = read->GetIf<SamplingData>();
  ASSERT_EQ(record->_dataSize, 24);
  std::vector<Float32> values(6);
  MemCopy(values.data(), record->_texels, 24);
  EXPECT_THAT(values, ElementsAre(0, 1, 2, 5, 6, 7));
}

TEST_F(GpuCallsTest, BlocksThatTheTexelsDoNotReachStayUnwritten) {
  TextureBindData texture = Describe(1024, 32);  // two blocks
  const std::vector<Float32> texels(1024 * 31, 1.0f);
  texture._data = reinterpret_cast<const Byte*>(texels.data());
  texture._dataSize = static_cast<Int64>(texels.size() * 4);
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, texture, false), IsOk());
  const std::vector<std::string> taken = TakeCalls();
  EXPECT_THAT(taken, testing::Contains("map texture 8 at 0,0,0 of 1024x16x1"));
  EXPECT_THAT(taken, testing::Not(testing::Contains("map texture 8 at 0,16,0 of 1024x16x1")));
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre());
  // What is read back has no room for rows that were never given.
  EXPECT_THAT(
      program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(1 << 30)),
      IsErrorWith(kIllegalStateError,
                  "Tried to copy more bytes than allocated in parallelProgramGPU.GetTextureData(). Texture maybe "
                  "too small (Minimum of 256 bytes per line)?"));
}

TEST_F(GpuCallsTest, AFillThatFailsIsSaidAndAReadThatFailsIsAnError) {
  TextureBindData texture = Describe(4, 4);
  const std::vector<Float32> texels(16, 1.0f);
  texture._data = reinterpret_cast<const Byte*>(texels.data());
  device.failing = "map texture";
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->StoreTextureBindData("t"_iid, texture, false), IsOk());
  EXPECT_THAT(program->GetTextureData("t"_iid, Vec3<Int32>(0), Vec3<Int32>(4)),
              IsErrorWith(kIllegalStateError, "MapTexture in GetTextureData failed"));
  EXPECT_EQ(TakeCalls().back(), "release");
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre("made-up failure, at attribute t", "MapTexture in GetTextureData: made-up failure",
                          "MapTexture in GetTextureData failed, at attribute t"));
}

TEST_F(GpuCallsTest, TexturesOfOneKeyButOtherChannelsAreTwoTextures) {
  TextureBindData one = Describe(4, 4);
  ASSERT_THAT(program->CreateTexture("t"_iid, one), IsOk());
  DrawportTexture* first = *program->GetTextureHandle("t"_iid);
  TextureBindData four = Describe(4, 4);
  four._numChannels = 4;
  ASSERT_THAT(program->CreateTexture("t"_iid, four), IsOk());
  DrawportTexture* second = *program->GetTextureHandle("t"_iid);
  EXPECT_NE(first, second);
  EXPECT_EQ(second->GetDescription().format->channels, 4);
}

TEST_F(GpuCallsTest, MemoryIsThatOfTheContext) {
  device.budget = {1000, 4000};
  Int64 available = 0, total = 0;
  EXPECT_TRUE(program->GetMemoryInformation(available, total));
  EXPECT_EQ(available, 1000);
  EXPECT_EQ(total, 4000);
  g_outOfCoreParallelProgram = true;
  EXPECT_TRUE(program->GetMemoryInformation(available, total));
  EXPECT_EQ(available, 3000);
  EXPECT_EQ(program->GetAvailableAndTotalVRAMBudget(), std::make_pair(Int64{1000}, Int64{4000}));
}

}  // namespace
}  // namespace ostra::test
