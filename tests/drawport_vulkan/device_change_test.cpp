// What becomes of things on a device when contexts come from another one. A device that is lost makes room for a fresh
// one of the same place, so that one is enough.
#include "ostra/drawport_vulkan/cache_items.h"
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::ElementsAre;

namespace {

constexpr const char* kElsewhere = "What is used lies on another GPU device than that of the context.";

class DeviceChangeTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("OSTRA_VULKAN_VALIDATION", "1", 1);
    setenv("OSTRA_GPU_CACHE", "off", 1);
    auto driver = Driver::Get();
    if (!driver) GTEST_SKIP() << driver.GetError().GetMessage().GetView();
    _driver = *driver;
    _cacheClass = Take(Class::Create<Cache>("net.ostra.drawport.cache.vulkan"_id));
    _cache = Take(_cacheClass->CreateObject<DrawportCacheInterface>());
    _drawport = Take(_cache->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem));
    _context = Take(_drawport->CreateOffscreenRenderContext(false, 0));
  }
  void TearDown() override {
    CallFaults::Disable();
    _context = {};
    _drawport = {};
    _cache = {};
    _driver = {};
    ExpectSilentValidation(diagnostics);
  }

  // Loses the device of the context.
  void Lose() {
    Context& inside = static_cast<Context&>(*_context);
    Take(inside.GetCommands().GetRecorder().BeginBatch());
    CallFaults::FailNth(2, VK_ERROR_DEVICE_LOST);  // after the end of recording
    EXPECT_THAT(inside.GetCommands().Execute(true), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
    CallFaults::Disable();
  }
  // The same, and returns a context on a fresh one, of the same cache.
  DrawportContextRef LoseDevice() {
    Lose();
    DrawportContextRef fresh = Take(_drawport->CreateOffscreenRenderContext(true, 0));
    EXPECT_EQ(fresh->GetDrawport()->GetDrawportCache(), _cache);
    return fresh;
  }
  DrawportDeviceBuffer* MakeValid(const DrawportVertexBufferItemRef& item, const DrawportContextRef& context) {
    DrawportDeviceBuffer* made = nullptr;
    Take(item->MakeValid(
        *context, Take(DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(made, buffer.AllocSubBuffer(*context, DrawportSubBufferUse::General, 64, 16));
          return OK;
        }))));
    return made;
  }
  Result<Byte*> Map(const DrawportContextRef& context, DrawportStagingUse use, DrawportMapMode mode,
                    DrawportDeviceBuffer& buffer) {
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           _cache->AllocStagingBuffer(*context, {.bytes = 64, .use = use}));
    auto mapped = context->GetCommandList().PrivateMapBuffer(*staging, mode, buffer, 0, 0, 64);
    context->GetCommandList().ReleaseStagingBuffer(staging);
    return mapped;
  }
  // A program with a buffer of the parameter `data`.
  static GpuComputeCallbacks MakeCallbacks(const DrawportParameterBinder& binder) {
    GpuComputeCallbacks callbacks;
    callbacks.hash = Take(Delegate<Result<void>(DrawportHashStream&)>::Create([](DrawportHashStream& stream) {
      stream.Write(1);
      return Result<void>(OK);
    }));
    callbacks.build = Take(DrawportProgramBuilder::Create([](DrawportProgramDescription& program) -> Result<void> {
      constexpr DrawportStage kStage = DrawportStage::Compute;
      OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                       "data"_iid, DrawportBufferAccess::ReadWrite));
      OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, "UNIFORM_BUFFER(data)[0] = 5u;\n"_s));
      return program.SetComputeShaderProperties(1, 1, 1);
    }));
    callbacks.bind = binder;
    return callbacks;
  }

  DiagnosticRecorder diagnostics;
  DriverRef _driver;
  ClassRef _cacheClass;
  DrawportCacheRef _cache;
  DrawportRef _drawport;
  DrawportContextRef _context;
};

TEST_F(DeviceChangeTest, PointersHoldAsLongAsTheirItemAndAreRefusedElsewhere) {
  auto describe = Take(DrawportTextureDescribe::Create([](DrawportTextureDescription& description) {
    description.format = *GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id);
    description.extent = {4, 4, 1};
  }));
  const auto textureItem = Take(_cache->GetTexture({{2, 1, 1}}, describe));
  const auto samplerItem = Take(_cache->GetTextureSampler(0));
  const auto counterItem = Take(_cache->GetAtomicCounter({"c"_iid, 1}));
  const auto bufferItem = Take(_cache->GetVertexbuffer({{1, 1, 1}}));
  DrawportTexture* const texture = Take(textureItem->MakeValid(*_context, {}));
  DrawportTextureSampler* const sampler = Take(samplerItem->MakeValid(*_context));
  DrawportAtomicCounter* const counter = Take(counterItem->MakeValid(*_context));
  DrawportDeviceBuffer* const buffer = MakeValid(bufferItem, _context);

  const DrawportContextRef fresh = LoseDevice();
  EXPECT_NE(Take(textureItem->MakeValid(*fresh, {})), texture);
  EXPECT_NE(Take(samplerItem->MakeValid(*fresh)), sampler);
  EXPECT_NE(Take(counterItem->MakeValid(*fresh)), counter);
  EXPECT_NE(MakeValid(bufferItem, fresh), buffer);
  // What was there before is there still.
  EXPECT_EQ(texture->GetDescription().extent.width, 4);
  EXPECT_EQ(static_cast<SamplerResource*>(sampler)->GetKey(), 0);
  EXPECT_EQ(buffer->GetSize(), 64);

  DrawportCommandList& list = fresh->GetCommandList();
  const auto isElsewhere = IsErrorWith(kIllegalStateError, kElsewhere);
  EXPECT_THAT(list.SetAtomicCounterValue(*counter, 1), isElsewhere);
  EXPECT_THAT(list.GetAtomicCounterValue(*counter), isElsewhere);
  EXPECT_THAT(Map(fresh, DrawportStagingUse::HostRead, DrawportMapMode::Read, *buffer), isElsewhere);
  EXPECT_THAT(Map(fresh, DrawportStagingUse::BufferUpload, DrawportMapMode::WriteDiscard, *buffer), isElsewhere);
  DrawportStagingBuffer* staging =
      Take(_cache->AllocStagingBuffer(*fresh, {.bytes = 256, .use = DrawportStagingUse::HostReadWrite}));
  EXPECT_THAT(list.PrivateMapTexture(*staging, DrawportMapMode::WriteDiscard, *texture, {{}, {4, 4, 1}}, 0, 0, 0, 0),
              isElsewhere);
  list.ReleaseStagingBuffer(staging);
}

TEST_F(DeviceChangeTest, OnALostDeviceNothingSucceeds) {
  const auto describe = Take(DrawportTextureDescribe::Create([](DrawportTextureDescription& description) {
    description.format = *GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id);
    description.extent = {4, 4, 1};
  }));
  const auto texture = Take(_cache->GetTexture({{2, 1, 1}}, describe));
  const auto newTexture = Take(_cache->GetTexture({{2, 1, 2}}, describe));
  const auto sampler = Take(_cache->GetTextureSampler(0));
  const auto newSampler = Take(_cache->GetTextureSampler(1));
  const auto counterItem = Take(_cache->GetAtomicCounter({"c"_iid, 1}));
  const auto newCounter = Take(_cache->GetAtomicCounter({"d"_iid, 1}));
  const auto bufferItem = Take(_cache->GetVertexbuffer({{1, 1, 1}}));
  Take(texture->MakeValid(*_context, {}));
  Take(sampler->MakeValid(*_context));
  DrawportAtomicCounter* const counter = Take(counterItem->MakeValid(*_context));
  DrawportDeviceBuffer* const buffer = MakeValid(bufferItem, _context);
  DrawportProgramFactoryItemRef program;
  Take(_cache->GetProgramFactory(MakeDrawportCacheKey(_drawport, DrawportCacheKeyKind::ProgramFactory),
                                 MakeCallbacks({}).build, program, *_context));
  Take(program->MakeValid(*_context));
  DrawportCommandList& list = _context->GetCommandList();
  DrawportStagingBuffer* staging = Take(_cache->AllocStagingBuffer(*_context, {.bytes = 64}));
  Take(list.PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, *buffer, 0, 0, 64));
  Lose();

  const auto isLost = IsErrorWith(kIllegalStateError, "The GPU device is lost.");
  EXPECT_THAT(list.UnmapBuffer(*staging, DrawportUnmapMode::Commit), isLost);
  list.ReleaseStagingBuffer(staging);
  Bool isFilled = false;
  const auto fill = Take(DrawportVertexBufferFill::Create([&](DrawportVertexBuffer&) {
    isFilled = true;
    return Result<void>(OK);
  }));
  EXPECT_THAT(bufferItem->MakeValid(*_context, fill), isLost);
  EXPECT_FALSE(isFilled);
  EXPECT_THAT(texture->MakeValid(*_context, {}), isLost);
  EXPECT_THAT(newTexture->MakeValid(*_context, {}), isLost);
  EXPECT_THAT(sampler->MakeValid(*_context), isLost);
  EXPECT_THAT(newSampler->MakeValid(*_context), isLost);
  EXPECT_THAT(counterItem->MakeValid(*_context), isLost);
  EXPECT_THAT(newCounter->MakeValid(*_context), isLost);
  EXPECT_THAT(program->MakeValid(*_context), isLost);
  DrawportRenderTargetDescription target{.width = 4, .height = 4};
  target.colorFormats[0] = Take(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  EXPECT_THAT(_cache->CreateRenderTarget(*_context, target), isLost);
  EXPECT_THAT(_cache->FreeTrashCaches(*_context), isLost);
  EXPECT_THAT(list.Execute(false), isLost);
  EXPECT_THAT(list.Execute(true), isLost);
  EXPECT_THAT(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer), isLost);
  EXPECT_THAT(list.SetAtomicCounterValue(*counter, 1), isLost);
  EXPECT_THAT(list.GetAtomicCounterValue(*counter), isLost);
  EXPECT_THAT(Map(_context, DrawportStagingUse::HostRead, DrawportMapMode::Read, *buffer), isLost);
}

TEST_F(DeviceChangeTest, WhatIsRecordedWhenTheDeviceIsLostEndsWithItsError) {
  const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(true, 0));
  Take(static_cast<Context&>(*other).GetCommands().GetRecorder().BeginBatch());
  Lose();
  const auto isLost = IsErrorWith(kIllegalStateError, "The GPU device is lost.");
  EXPECT_THAT(static_cast<Context&>(*other).GetCommands().GetRecorder().BeginBatch(), isLost);
  EXPECT_THAT(other->GetCommandList().Execute(false), isLost);
  EXPECT_THAT(other->GetCommandList().Execute(false), isLost);
}

TEST_F(DeviceChangeTest, AProgramThatCannotBeBoundOnTheNewDeviceForgetsTheOldOne) {
  const auto bufferItem = Take(_cache->GetVertexbuffer({{1, 1, 1}}));
  DrawportDeviceBuffer* buffer = MakeValid(bufferItem, _context);
  const GpuComputeRef compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
  Take(compute->Init(
      _context,
      MakeCallbacks(Take(DrawportParameterBinder::Create(
          [&](DrawportProgramFactory& factory, DrawportParameterValueSet& values, Block<const DrawportParameter>) {
            return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid), buffer);
          }))),
      {}));
  Take(compute->UpdateUniforms(_context, true));
  const DrawportContextRef fresh = LoseDevice();
  EXPECT_THAT(compute->UpdateUniforms(fresh, true),
              IsErrorWith(kIllegalStateError,
                          "What is set as parameter \"data\" lies on another GPU device than the program."));
  // The program for the old device has gone with its values.
  EXPECT_THAT(compute->Dispatch(1, 1, 1),
              IsErrorWith(kIllegalStateError, "The uniforms of the GPU program have not been updated."));
  EXPECT_THAT(compute->DispatchIndirect(fresh->GetCommandList(), *buffer, 0),
              IsErrorWith(kIllegalStateError, "The uniforms of the GPU program have not been updated."));
  DrawportDeviceBuffer* const old = buffer;
  buffer = MakeValid(bufferItem, fresh);
  Take(compute->UpdateUniforms(fresh, true));
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_THAT(compute->DispatchIndirect(fresh->GetCommandList(), *old, 0), IsErrorWith(kIllegalStateError, kElsewhere));
  const auto mapped = Map(fresh, DrawportStagingUse::HostRead, DrawportMapMode::Read, *buffer);
  ASSERT_THAT(mapped, IsOk());
  EXPECT_EQ(**mapped, 5);
}

}  // namespace
