// Drawports, contexts, cache items and device memory.
#include <thread>

#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using testing::Each;
using testing::ElementsAre;

namespace {

class CacheTest : public GpuTest {
 protected:
  Result<DrawportVertexBufferItemRef> TryMakeItem(Int bytes) {
    OSTRA_ASSIGN_OR_RETURN(DrawportVertexBufferItemRef item, _cache->GetVertexbuffer({{++_keys, 2, 0}}));
    OSTRA_ASSIGN_OR_RETURN(
        auto fill, DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
          OSTRA_RETURN_IF_ERROR(buffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, bytes, 16));
          return OK;
        }));
    OSTRA_RETURN_IF_ERROR(item->MakeValid(*_context, fill));
    return item;
  }
};

TEST_F(CacheTest, NamesItsTypeAndItsLanguage) {
  EXPECT_EQ(_cache->GetCacheType(), kDrawportTypeVulkan);
  EXPECT_EQ(_drawport->GetShadingLanguage(), kShadingLanguageGlsl);
  EXPECT_EQ(_drawport->GetDrawportCache(), _cache);
  EXPECT_EQ(_context->GetDrawport(), _drawport);
  EXPECT_EQ(&_context->GetCommandList(), &_context->GetCommandList());
}

TEST_F(CacheTest, HasLimitsThatProgramsCanDivide) {
  for (const auto capability : {DrawportCapability::BufferTransferChunk, DrawportCapability::TextureStagingCapacity,
                                DrawportCapability::ReadBackStagingCapacity})
    EXPECT_GE(GetCapability(capability), 65536);
  const Int alignment = GetCapability(DrawportCapability::SubBufferAlignment);
  EXPECT_GT(alignment, 0);
  EXPECT_EQ(alignment & (alignment - 1), 0);
  SetDrawportStagingCapacity(1);
  const DrawportRef small = Take(_cache->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem));
  // A row of the longest texture is moved at once, so that it must fit.
  const Int capacity = small->GetCapabilities().GetValue(DrawportCapability::TextureStagingCapacity);
  EXPECT_GE(capacity, 16 * 4096);
  EXPECT_LE(capacity, 16 * 65536);
}

TEST_F(CacheTest, HasTheFeaturesThatComputeProgramsNeed) {
  for (const auto feature : {DrawportFeature::AtomicOperations, DrawportFeature::ComputeShader,
                             DrawportFeature::ShaderStorageBuffer, DrawportFeature::ImageLoadStore})
    EXPECT_TRUE(_context->IsFeatureSupported(feature)) << static_cast<Int32>(feature);
  EXPECT_FALSE(_context->IsFeatureSupported(static_cast<DrawportFeature>(99)));
}

TEST_F(CacheTest, RefusesOtherTypesAndDevicesThatAreNotThere) {
  EXPECT_THAT(_cache->AllocDrawport(kDrawportTypeMetal, kDrawportSubtypeSystem), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(_cache->AllocDrawport(kDrawportTypeVulkan, "other"_id), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(_drawport->CreateOffscreenRenderContext(false, 99),
              IsErrorContaining(kIllegalArgumentError, "There is no GPU device 99; there are "));
  EXPECT_THAT(_drawport->CreateOffscreenRenderContext(true, -1), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(CacheTest, FindsItemsByKeyAsLongAsSomebodyHoldsThem) {
  const DrawportResourceKey key{{1, 2, 3}};
  DrawportVertexBufferItemRef first = Take(_cache->GetVertexbuffer(key));
  EXPECT_EQ(Take(_cache->GetVertexbuffer(key)), first);
  EXPECT_FALSE(Take(_cache->GetVertexbuffer({{1, 2, 4}})) == first);
  Int described = 0;
  const auto describe = Take(DrawportTextureDescribe::Create([&](DrawportTextureDescription&) { ++described; }));
  DrawportTextureItemRef texture = Take(_cache->GetTexture(key, describe));
  EXPECT_EQ(Take(_cache->GetTexture(key, describe)), texture);
  EXPECT_EQ(described, 1);
  texture = {};
  texture = Take(_cache->GetTexture(key, describe));
  EXPECT_EQ(described, 2);
  const DrawportTextureSamplerItemRef sampler = Take(_cache->GetTextureSampler(0x0B));
  EXPECT_EQ(Take(_cache->GetTextureSampler(0x0B)), sampler);
  const DrawportAtomicCounterItemRef counter = Take(_cache->GetAtomicCounter({"a"_iid, 1}));
  EXPECT_EQ(Take(_cache->GetAtomicCounter({"a"_iid, 1})), counter);
  EXPECT_FALSE(Take(_cache->GetAtomicCounter({"a"_iid, 2})) == counter);
}

TEST_F(CacheTest, RunsAFillCallbackOnEveryCallAndReturnsItsError) {
  DrawportVertexBufferItemRef item = Take(_cache->GetVertexbuffer({{1, 2, 3}}));
  Int calls = 0;
  const auto fill = Take(DrawportVertexBufferFill::Create([&](DrawportVertexBuffer&) -> Result<void> {
    if (++calls == 3) return Error::Make(kIllegalStateError, "enough", "test", 1);
    return OK;
  }));
  EXPECT_THAT(item->MakeValid(*_context, fill), IsOk());
  EXPECT_THAT(item->MakeValid(*_context, fill), IsOk());
  EXPECT_THAT(item->MakeValid(*_context, {}), IsOk());
  EXPECT_EQ(calls, 2);
  EXPECT_THAT(item->MakeValid(*_context, fill), IsErrorWith(kIllegalStateError, "enough"));
}

TEST_F(CacheTest, HandsOutTheSameSubBufferForTheSameSizeWithItsContents) {
  DrawportVertexBufferItemRef item = Take(_cache->GetVertexbuffer({{1, 2, 3}}));
  const auto fill = Take(DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(DrawportDeviceBuffer * first,
                           buffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, 64, 16));
    const std::vector<Byte> bytes(64, 5);
    Upload(*first, bytes.data(), 64);
    OSTRA_ASSIGN_OR_RETURN(DrawportDeviceBuffer * other,
                           buffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, 128, 16));
    OSTRA_ASSIGN_OR_RETURN(DrawportDeviceBuffer * again,
                           buffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, 64, 16));
    EXPECT_EQ(first, again);
    EXPECT_NE(first, other);
    EXPECT_THAT(Download(*again, 0, 64), Each(Byte(5)));
    EXPECT_THAT(Download(*other, 0, 128), Each(Byte(0)));
    EXPECT_THAT(buffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, 0, 16),
                IsErrorWith(kIllegalArgumentError, "A device buffer cannot have 0 bytes."));
    EXPECT_THAT(buffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, 64, 12),
                IsErrorWith(kIllegalArgumentError, "The alignment 12 is not a power of two."));
    return OK;
  }));
  Take(item->MakeValid(*_context, fill));
  EXPECT_THAT(item->SetDebugLabel("particles"), IsOk());
  EXPECT_EQ(item->GetSpecification().subBufferCount, 2);
  EXPECT_EQ(item->GetSpecification().size, 192);
}

TEST_F(CacheTest, KeepsToAMemoryLimitAndGivesMemoryBack) {
  constexpr Int kMiB = 1 << 20;
  SetDrawportMemoryLimit(8 * kMiB);
  const Int total = _context->GetAvailableAndTotalVRAMBudget().total;
  const Int before = _context->GetAvailableAndTotalVRAMBudget().available;
  EXPECT_EQ(total, 8 * kMiB);
  DrawportVertexBufferItemRef first = Take(TryMakeItem(3 * kMiB));
  DrawportVertexBufferItemRef second = Take(TryMakeItem(3 * kMiB));
  EXPECT_LE(_context->GetAvailableAndTotalVRAMBudget().available, before - 6 * kMiB);
  EXPECT_THAT(TryMakeItem(3 * kMiB), IsErrorOfKind(kOutOfMemoryError));
  first = {};
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(_context->GetAvailableAndTotalVRAMBudget().available, before - 4 * kMiB);
  EXPECT_THAT(TryMakeItem(3 * kMiB), IsOk());
}

TEST_F(CacheTest, GivesTheMemoryOfRunningWorkBackOnlyWhenItIsDone) {
  const Int before = _context->GetAvailableAndTotalVRAMBudget().available;
  {
    DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(1 << 20, 1));
    ProgramBuilder program(*this);
    program.Writes("data", "uint", 4);
    GpuComputeRef compute = program.Make("UNIFORM_BUFFER(data)[InGlobalInvocationID.x] += 1u;\n",
                                         [&](ProgramValues& values) { values.SetBuffer("data", data); });
    Take(compute->UpdateUniforms(_context, true));
    Take(compute->Dispatch(16384, 1, 1));
    _items.clear();
  }
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(_context->GetAvailableAndTotalVRAMBudget().available, before);
}

TEST_F(CacheTest, GivesMemoryBackThatOnlyTheParametersOfAProgramStillName) {
  constexpr Int kMiB = 1 << 20;
  ProgramBuilder program(*this);
  program.Writes("data", "uint", 4);
  DrawportDeviceBuffer* data = MakeBuffer(16 * kMiB);
  GpuComputeRef compute =
      program.Make("UNIFORM_BUFFER(data)[0] = 1u;\n", [&](ProgramValues& values) { values.SetBuffer("data", data); });
  Take(compute->UpdateUniforms(_context, true));
  Take(compute->Dispatch(1, 1, 1));
  const Int before = _context->GetAvailableAndTotalVRAMBudget().available;
  _items.clear();
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(_context->GetAvailableAndTotalVRAMBudget().available, before + 16 * kMiB);
  EXPECT_THAT(compute->Dispatch(1, 1, 1),
              IsErrorWith(kIllegalStateError, "The parameter \"data\" of the GPU program is not set."));
  data = MakeBuffer(4);
  Take(compute->UpdateUniforms(_context, true));
  Take(_cache->FreeTrashCaches(*_context));  // this one is held
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_THAT(Download<UInt32>(*data), ElementsAre(1));
}

TEST_F(CacheTest, SharesBuffersBetweenContextsOfADevice) {
  const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(true, 0));
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(64, 1));
  ProgramBuilder program(*this);
  program.Writes("data", "uint", 4);
  GpuComputeRef compute = program.Make("UNIFORM_BUFFER(data)[InGlobalInvocationID.x] *= 3u;\n",
                                       [&](ProgramValues& values) { values.SetBuffer("data", data); });
  for (int i = 0; i < 3; ++i) {
    for (const DrawportContextRef& context : {_context, other}) {
      Take(compute->UpdateUniforms(context, true));
      Take(compute->Dispatch(1, 1, 1));
      Take(context->GetCommandList().Execute(true));
    }
  }
  EXPECT_THAT(Download<UInt32>(*data), Each(729u));
}

TEST_F(CacheTest, SeveralThreadsBuildAndRunProgramsAtOnce) {
  constexpr int kThreads = 4;
  std::vector<std::thread> threads;
  std::vector<UInt32> results(kThreads);
  std::vector<DrawportDeviceBuffer*> buffers;
  std::vector<DrawportContextRef> contexts;
  for (int i = 0; i < kThreads; ++i) {
    buffers.push_back(MakeBuffer(256));
    contexts.push_back(Take(_drawport->CreateOffscreenRenderContext(true, 0)));
  }
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      ProgramBuilder program(*this);
      program.Writes("data", "uint", 4).Uniform(DrawportShaderValueType::UInt, "step");
      // Two of the threads have the same text.
      const std::string body =
          "UNIFORM_BUFFER(data)[InGlobalInvocationID.x] += UNIFORM(step) + " + std::to_string(i / 2) + "u;\n";
      auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
      Take(compute->Init(contexts[i],
                         program.MakeCallbacks(body,
                                               [&](ProgramValues& values) {
                                                 values.Set("step", UInt32(10));
                                                 values.SetBuffer("data", buffers[i]);
                                               }),
                         {}));
      for (int k = 0; k < 50; ++k) {
        Take(compute->UpdateUniforms(contexts[i], true));
        Take(contexts[i]->GetCommandList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
        Take(compute->Dispatch(1, 1, 1));
        if (k % 7 == 0) Take(contexts[i]->GetCommandList().Execute(k % 2 == 0));
      }
      Take(contexts[i]->GetCommandList().Execute(true));
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < kThreads; ++i) EXPECT_THAT(Download<UInt32>(*buffers[i]), Each(UInt32(50 * (10 + i / 2)))) << i;
}

}  // namespace
