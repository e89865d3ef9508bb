// Looks inside the backend: what the driver's failures lead to, what is compiled and kept, whether validation listens.
#include <fstream>

#include "ostra/drawport_vulkan/spirv.h"
#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::AnyOf;
using testing::Contains;
using testing::Each;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

class InternalTest : public DriverTest {
 protected:
  // A program data[i] = data[i] * 2 + texel, built for `context`.
  static Result<GpuComputeRef> MakeProgram(const DrawportContextRef& context, DrawportDeviceBuffer*& data,
                                           DrawportTexture*& texture, DrawportTextureSampler*& sampler) {
    constexpr DrawportStage kStage = DrawportStage::Compute;
    GpuComputeCallbacks callbacks;
    OSTRA_ASSIGN_OR_RETURN(callbacks.hash,
                           Delegate<Result<void>(DrawportHashStream&)>::Create([](DrawportHashStream& stream) {
                             stream.Write(1);
                             return Result<void>(OK);
                           }));
    OSTRA_ASSIGN_OR_RETURN(
        callbacks.build, DrawportProgramBuilder::Create([](DrawportProgramDescription& program) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format,
                                 GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
          OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                           "data"_iid, DrawportBufferAccess::ReadWrite));
          OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(kStage, DrawportShaderValueType::UInt, "factor"_iid));
          OSTRA_RETURN_IF_ERROR(
              program.AddTextureParameter(kStage, DrawportTextureType::Texture2D, format, true, "picture"_iid));
          OSTRA_RETURN_IF_ERROR(program.AddCode(
              kStage, kAppendCode,
              "UNIFORM_BUFFER(data)[InGlobalInvocationID.x] = UNIFORM_BUFFER(data)[InGlobalInvocationID.x] * "
              "UNIFORM(factor) + uint(FetchTexture(picture, int2(0, 0)).x);\n"_s));
          return program.SetComputeShaderProperties(64, 1, 1);
        }));
    OSTRA_ASSIGN_OR_RETURN(
        callbacks.bind,
        DrawportParameterBinder::Create([&](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                            Block<const DrawportParameter>) -> Result<void> {
          OSTRA_RETURN_IF_ERROR(factory.SetParameterUInt(values, factory.GetParameterHandle("factor"_iid), 2));
          OSTRA_RETURN_IF_ERROR(
              factory.SetParameterTexture(values, factory.GetParameterHandle("picture"_iid), texture, sampler));
          return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid), data);
        }));
    OSTRA_ASSIGN_OR_RETURN(GpuComputeRef compute, CreateObject<GpuComputeInterface>(kGpuComputeClass));
    OSTRA_RETURN_IF_ERROR(compute->Init(context, callbacks, {}));
    return compute;
  }

  // Everything that a program does with the layer, with a fresh device.
  Result<void> RunScenario() {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
    const DrawportCacheRef cache = context->GetDrawport()->GetDrawportCache();
    DrawportCommandList& list = context->GetCommandList();
    DrawportDeviceBuffer* data = nullptr;
    const std::vector<UInt32> input(64, 20);
    OSTRA_ASSIGN_OR_RETURN(auto item, cache->GetVertexbuffer({{1, 1, 1}}));
    OSTRA_ASSIGN_OR_RETURN(
        auto fill, DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(data, buffer.AllocSubBuffer(*context, DrawportSubBufferUse::General, 256, 16));
          OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging, cache->AllocStagingBuffer(*context, {.bytes = 256}));
          Result<void> done = [&]() -> Result<void> {
            OSTRA_ASSIGN_OR_RETURN(Byte * mapped,
                                   list.PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, *data, 0, 0, 256));
            MemCopy(mapped, input.data(), 256);
            return list.UnmapBuffer(*staging, DrawportUnmapMode::Commit);
          }();
          list.ReleaseStagingBuffer(staging);
          return done;
        }));
    OSTRA_RETURN_IF_ERROR(item->MakeValid(*context, fill));
    OSTRA_ASSIGN_OR_RETURN(auto describe, DrawportTextureDescribe::Create([](DrawportTextureDescription& description) {
                             description.format = *GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id);
                             description.extent = {4, 4, 1};
                           }));
    OSTRA_ASSIGN_OR_RETURN(auto textureItem, cache->GetTexture({{2, 1, 1}}, describe));
    OSTRA_ASSIGN_OR_RETURN(DrawportTexture * texture, textureItem->MakeValid(*context, {}));
    OSTRA_ASSIGN_OR_RETURN(auto samplerItem, cache->GetTextureSampler(0));
    OSTRA_ASSIGN_OR_RETURN(DrawportTextureSampler * sampler, samplerItem->MakeValid(*context));
    OSTRA_ASSIGN_OR_RETURN(auto counterItem, cache->GetAtomicCounter({"c"_iid, 1}));
    OSTRA_ASSIGN_OR_RETURN(DrawportAtomicCounter * counter, counterItem->MakeValid(*context));
    OSTRA_RETURN_IF_ERROR(list.SetAtomicCounterValue(*counter, 77));
    OSTRA_ASSIGN_OR_RETURN(const GpuComputeRef compute, MakeProgram(context, data, texture, sampler));
    OSTRA_RETURN_IF_ERROR(compute->UpdateUniforms(context, true));
    OSTRA_RETURN_IF_ERROR(compute->Dispatch(1, 1, 1));
    OSTRA_RETURN_IF_ERROR(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    OSTRA_RETURN_IF_ERROR(compute->Dispatch(1, 1, 1));
    OSTRA_ASSIGN_OR_RETURN(const UInt32 count, list.GetAtomicCounterValue(*counter));
    EXPECT_EQ(count, 77u);
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           cache->AllocStagingBuffer(*context, {.bytes = 256, .use = DrawportStagingUse::HostRead}));
    auto mapped = list.PrivateMapBuffer(*staging, DrawportMapMode::Read, *data, 0, 0, 256);
    if (mapped) {
      EXPECT_EQ(*reinterpret_cast<const UInt32*>(*mapped), 80u);
    }
    list.ReleaseStagingBuffer(staging);
    if (!mapped) return mapped.TakeError();
    return cache->FreeTrashCaches(*context);
  }

  void FailEveryCallOfScenario(VkResult fault, Bool isDirect) {
    FailEveryCall(fault, isDirect, [this] { return RunScenario(); });
  }
};

TEST_F(InternalTest, AFailureOfAnyCallIsAnErrorAndLeavesNothingBehind) {
  FailEveryCallOfScenario(VK_ERROR_OUT_OF_DEVICE_MEMORY, true);
}

TEST_F(InternalTest, AFailureOfAnyCallIsAnErrorAlsoWhenBytesGoThroughStagingMemory) {
  FailEveryCallOfScenario(VK_ERROR_OUT_OF_DEVICE_MEMORY, false);
}

TEST_F(InternalTest, ALostDeviceIsAnErrorAndTheNextContextGetsAFreshOne) {
  FailEveryCallOfScenario(VK_ERROR_DEVICE_LOST, false);
  EXPECT_THAT(RunScenario(), IsOk());
}

TEST_F(InternalTest, ALostDeviceAnswersEverythingWithTheSameError) {
  const DrawportContextRef context = Take(MakeContext());
  Context& inside = static_cast<Context&>(*context);
  const BufferRef buffer = Take(BufferResource::Create(inside.GetDevice(), 64, MemoryUse::Device, false));
  Take(inside.GetCommands().GetRecorder().BeginBatch());
  CallFaults::FailNth(2, VK_ERROR_DEVICE_LOST);  // after the end of recording
  EXPECT_THAT(inside.GetCommands().Execute(true), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  CallFaults::Disable();
  EXPECT_TRUE(inside.GetDevice().IsLost());
  EXPECT_THAT(inside.GetCommands().GetRecorder().BeginBatch(),
              IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  EXPECT_THAT(RunScenario(), IsOk());  // others go on with a fresh device
}

TEST_F(InternalTest, ValuesOfCountersGoWithTheWorkThatIsDropped) {
  const DrawportContextRef context = Take(MakeContext());
  CommandList& list = static_cast<Context&>(*context).GetCommands();
  const CounterRef counter = Take(CounterResource::Create(list.GetDevice()));
  const UInt64 dropped = Take(list.RecordCounterRead(*counter));
  CallFaults::FailNth(1, VK_ERROR_OUT_OF_DEVICE_MEMORY);
  EXPECT_THAT(list.TakeCounterRead(dropped), IsErrorOfKind(kOutOfMemoryError));
  CallFaults::Disable();
  EXPECT_THAT(list.TakeCounterRead(dropped), IsErrorContaining(kIllegalStateError, "was dropped"));
  Take(list.SetAtomicCounterValue(*counter, 8));
  EXPECT_EQ(Take(list.TakeCounterRead(Take(list.RecordCounterRead(*counter)))), 8u);
}

TEST_F(InternalTest, NumbersOfCounterReadsAreThoseOfTheirList) {
  const DrawportContextRef context = Take(MakeContext()), other = Take(MakeContext());
  CommandList& list = static_cast<Context&>(*context).GetCommands();
  CommandList& otherList = static_cast<Context&>(*other).GetCommands();
  const CounterRef counter = Take(CounterResource::Create(list.GetDevice()));
  Take(list.SetAtomicCounterValue(*counter, 5));
  const UInt64 number = Take(list.RecordCounterRead(*counter));
  EXPECT_NE(Take(otherList.RecordCounterRead(*counter)), number);
  EXPECT_THAT(otherList.TakeCounterRead(number), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(Take(list.TakeCounterRead(number)), 5u);
}

// The second piece is there already when it is asked for; what was recorded meanwhile is submitted with the copy of the
// third.
TEST_F(InternalTest, AFailureWhileMoreIsReadAheadDropsNoWorkInSilence) {
  constexpr Int kPiece = ReadAhead::kMinBytes;
  SetDrawportDirectMapping(false);
  int toldCount = 0;
  for (Int n = 1;; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 100);
    const DrawportContextRef context = Take(MakeContext());
    CommandList& list = static_cast<Context&>(*context).GetCommands();
    const BufferRef buffer = Take(BufferResource::Create(list.GetDevice(), 4 * kPiece, MemoryUse::Device, true));
    const CounterRef counter = Take(CounterResource::Create(list.GetDevice()));
    DrawportStagingBuffer* const staging = Take(list.AllocStagingBuffer(kPiece, DrawportStagingUse::HostRead));
    const auto read = [&](Int piece) {
      const auto mapped = list.PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffer, 0, piece * kPiece, kPiece);
      return mapped ? list.UnmapBuffer(*staging, DrawportUnmapMode::Commit) : Result<void>(Error(mapped.GetError()));
    };
    EXPECT_EQ(Take(list.GetAtomicCounterValue(*counter)), 0u);
    Take(read(0));
    Take(list.SetAtomicCounterValue(*counter, 9));
    CallFaults::FailNth(n, VK_ERROR_OUT_OF_DEVICE_MEMORY);
    const Result<void> second = read(1);
    const Bool hasFired = CallFaults::HasFired();
    CallFaults::Disable();
    const UInt32 value = Take(list.GetAtomicCounterValue(*counter));
    if (second) {
      EXPECT_EQ(value, 9u);
    }
    list.ReleaseStagingBuffer(staging);
    toldCount += second ? 0 : 1;
    if (!hasFired) break;
  }
  EXPECT_GT(toldCount, 0);
}

TEST_F(InternalTest, ALossThatIsFoundByLookingWhetherABufferIsInUseIsAnError) {
  const DrawportContextRef context = Take(MakeContext());
  CommandList& list = static_cast<Context&>(*context).GetCommands();
  const BufferRef buffer = Take(BufferResource::Create(list.GetDevice(), 64, MemoryUse::Device, true));
  Recorder& recorder = list.GetRecorder();
  Take(recorder.BeginBatch());
  Take(recorder.Keep(*buffer));
  Take(recorder.Submit());
  CallFaults::FailNth(1, VK_ERROR_DEVICE_LOST);
  EXPECT_THAT(recorder.WaitFor(*buffer), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  EXPECT_EQ(CallFaults::GetFiredCall(), "vkGetSemaphoreCounterValue");
}

TEST_F(InternalTest, ALossThatIsFoundByTheNextBatchIsAnError) {
  const DrawportContextRef context = Take(MakeContext());
  Recorder& recorder = static_cast<Context&>(*context).GetCommands().GetRecorder();
  Take(recorder.BeginBatch());
  Take(recorder.Submit());
  CallFaults::FailNth(1, VK_ERROR_DEVICE_LOST);
  EXPECT_THAT(recorder.BeginBatch(), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  EXPECT_EQ(CallFaults::GetFiredCall(), "vkGetSemaphoreCounterValue");
}

TEST_F(InternalTest, NoTimeLimitInTheEnvironmentGoesBeforeThatOfTheProgram) {
  setenv("OSTRA_GPU_TIME_LIMIT", "off", 1);
  SetDrawportTimeLimit(1e-9);
  EXPECT_EQ(GetDrawportTimeLimit(), 1e-6) << "shorter ones are raised";
  EXPECT_THAT(RunScenario(), IsOk());
  SetDrawportTimeLimit(0);
  unsetenv("OSTRA_GPU_TIME_LIMIT");
}

TEST_F(InternalTest, TheSameTextIsCompiledOnceAndFoundOnDiskByTheNextStart) {
  DrawportDeviceBuffer* data = nullptr;
  DrawportTexture* texture = nullptr;
  DrawportTextureSampler* sampler = nullptr;
  {
    const DrawportContextRef context = Take(MakeContext());
    const GpuComputeRef first = Take(MakeProgram(context, data, texture, sampler));
    const GpuComputeRef second = Take(MakeProgram(context, data, texture, sampler));
    const ProgramStatistics statistics = GetStatistics(context);
    EXPECT_EQ(statistics.compiled, 1);
    EXPECT_EQ(statistics.loaded, 0);
    EXPECT_EQ(statistics.shared, 1);
  }
  {
    const DrawportContextRef context = Take(MakeContext());
    const GpuComputeRef first = Take(MakeProgram(context, data, texture, sampler));
    EXPECT_EQ(GetStatistics(context).compiled, 0);
    EXPECT_EQ(GetStatistics(context).loaded, 1);
  }
}

TEST_F(InternalTest, DamagedFilesOfTheDiskCacheAreMadeAgain) {
  DrawportDeviceBuffer* data = nullptr;
  DrawportTexture* texture = nullptr;
  DrawportTextureSampler* sampler = nullptr;
  const auto countCompiled = [&] {
    const DrawportContextRef context = Take(MakeContext());
    const GpuComputeRef program = Take(MakeProgram(context, data, texture, sampler));
    return GetStatistics(context).compiled;
  };
  EXPECT_EQ(countCompiled(), 1);
  for (const auto& entry : fs::directory_iterator(_folder)) {
    std::fstream file(entry.path(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(60);
    file.put('\x55');
  }
  EXPECT_EQ(countCompiled(), 1);
  for (const auto& entry : fs::directory_iterator(_folder)) fs::resize_file(entry.path(), 10);
  EXPECT_EQ(countCompiled(), 1);
  EXPECT_EQ(countCompiled(), 0);
}

// Without this the silence of the layer would say nothing.
TEST(Validation, SpeaksWhenACallIsWrong) {
  setenv("OSTRA_VULKAN_VALIDATION", "1", 1);
  DiagnosticRecorder diagnostics;
  auto driver = Driver::Get();
  if (!driver) GTEST_SKIP() << driver.GetError().GetMessage().GetView();
  for (const std::string& line : diagnostics.GetLines())
    if (line == kNoValidation) GTEST_SKIP() << kNoValidation;
  const DeviceRef device = Take(Device::Open(0));
  VkBufferCreateInfo info = {VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
  info.usage = VK_BUFFER_USAGE_TRANSFER_SRC_BIT;  // of 0 bytes
  VkBuffer buffer = VK_NULL_HANDLE;
  if (vkCreateBuffer(device->GetHandle(), &info, nullptr, &buffer) == VK_SUCCESS)
    vkDestroyBuffer(device->GetHandle(), buffer, nullptr);
  EXPECT_THAT(diagnostics.GetLines(), Contains(StartsWith("Vulkan: ")));
}

}  // namespace
