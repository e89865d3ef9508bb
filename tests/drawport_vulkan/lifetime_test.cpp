// How long what lies on the device stays there: as long as its item, and as the work that was recorded with it.
#include <thread>

#include "ostra/core/memory.h"
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using testing::Each;
using testing::ElementsAre;

namespace {

constexpr Int kMiB = Int(1) << 20;

class LifetimeTest : public GpuTest {
 protected:
  Int GetAvailable() { return _context->GetAvailableAndTotalVRAMBudget().available; }

  // A program that writes 1 to the buffer that `data` is at its next UpdateUniforms.
  GpuComputeRef MakeWriter(DrawportDeviceBuffer*& data) {
    ProgramBuilder program(*this);
    program.Writes("data", "uint", 4);
    return program.Make("UNIFORM_BUFFER(data)[0] = 1u;\n",
                        [&data](ProgramValues& values) { values.SetBuffer("data", data); });
  }
};

TEST_F(LifetimeTest, ABufferThatSeveralProgramsNameGoesWithItsItem) {
  DrawportDeviceBuffer* data = MakeBuffer(16 * kMiB);
  const GpuComputeRef programs[] = {MakeWriter(data), MakeWriter(data), MakeWriter(data)};
  for (const GpuComputeRef& program : programs) {
    Take(program->UpdateUniforms(_context, true));
    Take(program->Dispatch(1, 1, 1));
  }
  const Int before = GetAvailable();
  _items.clear();
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(GetAvailable(), before + 16 * kMiB);
  for (const GpuComputeRef& program : programs)
    EXPECT_THAT(program->Dispatch(1, 1, 1),
                IsErrorWith(kIllegalStateError, "The parameter \"data\" of the GPU program is not set."));
  data = MakeBuffer(4);
  for (const GpuComputeRef& program : programs) {
    Take(program->UpdateUniforms(_context, true));
    Take(program->Dispatch(1, 1, 1));
  }
  EXPECT_THAT(Download<UInt32>(*data), ElementsAre(1));
}

TEST_F(LifetimeTest, TexturesAndCountersGoWithTheirItemsToo) {
  const PixelFormatRef format = Take(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  auto textureItem = Take(
      _cache->GetTexture({{9, 9, 9}}, Take(DrawportTextureDescribe::Create([&](DrawportTextureDescription& wanted) {
                           wanted.format = format;
                           wanted.extent = {1024, 1024, 1};
                         }))));
  DrawportTexture* texture = Take(textureItem->MakeValid(*_context, {}));
  auto samplerItem = Take(_cache->GetTextureSampler(0));
  DrawportTextureSampler* sampler = Take(samplerItem->MakeValid(*_context));
  auto counterItem = Take(_cache->GetAtomicCounter({"hits"_iid, 1}));
  DrawportAtomicCounter* counter = Take(counterItem->MakeValid(*_context));
  DrawportDeviceBuffer* data = MakeBuffer(4);
  ProgramBuilder builder(*this);
  builder.Texture("picture", DrawportTextureType::Texture2D, format, true)
      .Uniform(DrawportShaderValueType::AtomicUInt, "hits")
      .Writes("data", "uint", 4);
  const GpuComputeRef program = builder.Make(
      "uint old;\nAtomicAdd(GetAtomicCounter(hits), 1u, old);\n"
      "UNIFORM_BUFFER(data)[0] = old + uint(FetchTexture(picture, int2(0, 0)).x);\n",
      [&](ProgramValues& values) {
        values.SetTexture("picture", texture, sampler);
        values.SetCounter("hits", counter);
        values.SetBuffer("data", data);
      });
  Take(program->UpdateUniforms(_context, true));
  Take(program->Dispatch(1, 1, 1));
  const Int before = GetAvailable();
  textureItem = {};
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(GetAvailable(), before + 16 * kMiB);
  EXPECT_THAT(program->Dispatch(1, 1, 1),
              IsErrorWith(kIllegalStateError, "The parameter \"picture\" of the GPU program is not set."));
  counterItem = {};
  samplerItem = {};
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_THAT(program->Dispatch(1, 1, 1), IsErrorOfKind(kIllegalStateError));
}

TEST_F(LifetimeTest, WhatAFailedBinderHasSetIsNotKept) {
  DrawportDeviceBuffer* data = MakeBuffer(16 * kMiB);
  Bool fails = true;
  ProgramBuilder builder(*this);
  builder.Writes("data", "uint", 4);
  const GpuComputeRef program =
      builder.MakeWithBinder("UNIFORM_BUFFER(data)[0] = 1u;\n",
                             [&](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                 Block<const DrawportParameter>) -> Result<void> {
                               ProgramValues(factory, values).SetBuffer("data", data);
                               if (fails) return Error::Make(kIllegalStateError, "enough", "test", 1);
                               return OK;
                             });
  EXPECT_THAT(program->UpdateUniforms(_context, true), IsErrorWith(kIllegalStateError, "enough"));
  const Int before = GetAvailable();
  _items.clear();
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(GetAvailable(), before + 16 * kMiB);
  data = MakeBuffer(4);
  fails = false;
  Take(program->UpdateUniforms(_context, true));
  Take(program->Dispatch(1, 1, 1));
  EXPECT_THAT(Download<UInt32>(*data), ElementsAre(1));
}

TEST_F(LifetimeTest, MemoryOfWhatHasGoneServesTheNextAllocation) {
  SetDrawportMemoryLimit(64 * kMiB);
  DrawportDeviceBuffer* data = nullptr;
  const GpuComputeRef program = MakeWriter(data);
  for (int i = 0; i < 3; ++i) {
    data = MakeBuffer(40 * kMiB);
    Take(program->UpdateUniforms(_context, true));
    Take(program->Dispatch(1, 1, 1));
    if (i == 1) Take(GetList().Execute(false));  // submitted or only recorded: the next one waits for it
    _items.clear();
  }
}

TEST_F(LifetimeTest, FinishedWorkOfAContextThatDoesNothingMoreHoldsNothing) {
  const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(true, 0));
  DrawportDeviceBuffer* data = MakeBuffer(16 * kMiB);
  const GpuComputeRef program = MakeWriter(data);
  Take(program->UpdateUniforms(other, true));
  Take(program->Dispatch(1, 1, 1));
  Take(other->GetCommandList().Execute(false));
  const Int before = GetAvailable();
  _items.clear();
  Take(_cache->FreeTrashCaches(*_context));
  EXPECT_GE(GetAvailable(), before + 16 * kMiB);
}

TEST_F(LifetimeTest, MemoryThatWorkOfAnotherContextHoldsServesTheNextAllocation) {
  SetDrawportMemoryLimit(64 * kMiB);
  const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(true, 0));
  DrawportDeviceBuffer* data = MakeBuffer(40 * kMiB);
  const GpuComputeRef program = MakeWriter(data);
  Take(program->UpdateUniforms(other, true));
  Take(program->Dispatch(1, 1, 1));
  Take(other->GetCommandList().Execute(false));
  _items.clear();
  EXPECT_EQ(MakeBuffer(40 * kMiB)->GetSize(), 40 * kMiB);
}

TEST_F(LifetimeTest, WorkThatWasRecordedHoldsWhatItNames) {
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(64, 0));
  DrawportDeviceBuffer* copied = MakeBuffer(256);
  const GpuComputeRef writer = MakeWriter(data);
  ProgramBuilder builder(*this);
  builder.Reads("source", "uint", 4).Writes("target", "uint", 4);
  const GpuComputeRef copier = builder.Make(
      "UNIFORM_BUFFER(target)[InGlobalInvocationID.x] = UNIFORM_BUFFER(source)[InGlobalInvocationID.x] + 1u;\n",
      [&](ProgramValues& values) {
        values.SetBuffer("source", data);
        values.SetBuffer("target", copied);
      });
  Take(writer->UpdateUniforms(_context, true));
  Take(copier->UpdateUniforms(_context, true));
  Take(writer->Dispatch(1, 1, 1));
  Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  Take(copier->Dispatch(1, 1, 1));
  _items.erase(_items.begin());
  // The batch holds the buffer, so that more of the same can be recorded.
  Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  Take(copier->Dispatch(1, 1, 1));
  EXPECT_EQ(Download<UInt32>(*copied)[0], 2u);
}

TEST_F(LifetimeTest, ContextsThatHaveGoneLeaveNothingInAProgram) {
  DrawportDeviceBuffer* data = MakeBuffer(4);
  const GpuComputeRef program = MakeWriter(data);
  const auto visit = [&] {
    const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(true, 0));
    Take(program->UpdateUniforms(other, true));
    Take(program->Dispatch(1, 1, 1));
    Take(other->GetCommandList().Execute(true));
  };
  for (int i = 0; i < 4; ++i) visit();
  const Int before = AllocationFaults::GetLiveCount();
  for (int i = 0; i < 20; ++i) visit();
  EXPECT_LE(AllocationFaults::GetLiveCount(), before + 10);
}

TEST_F(LifetimeTest, ReadingWaitsForWhatOtherContextsHaveSubmitted) {
  const DrawportContextRef other = Take(_drawport->CreateOffscreenRenderContext(true, 0));
  DrawportDeviceBuffer* data = MakeBuffer(std::vector<UInt32>(64, 1));
  EXPECT_THAT(Download<UInt32>(*data), Each(1u));
  ProgramBuilder builder(*this);
  builder.Writes("data", "uint", 4).Uniform(DrawportShaderValueType::UInt, "count");
  // Long enough that a reader who does not wait comes too early.
  const GpuComputeRef program = builder.Make(
      "uint x = UNIFORM_BUFFER(data)[InGlobalInvocationID.x];\n"
      "for (uint i = 0u; i < UNIFORM(count); ++i) x = x * 1664525u + 1013904223u;\n"
      "UNIFORM_BUFFER(data)[InGlobalInvocationID.x] = x == 1u ? 3u : 2u;\n",
      [&](ProgramValues& values) {
        values.Set("count", UInt32(20'000'000));
        values.SetBuffer("data", data);
      });
  Take(program->UpdateUniforms(other, true));
  Take(program->Dispatch(1, 1, 1));
  Take(other->GetCommandList().Execute(false));
  EXPECT_THAT(Download<UInt32>(*data), Each(2u));
}

TEST_F(LifetimeTest, SeveralThreadsGetTheSameSampler) {
  constexpr int kThreads = 4, kKeys = 256;
  std::vector<DrawportContextRef> contexts;
  for (int i = 0; i < kThreads; ++i) contexts.push_back(Take(_drawport->CreateOffscreenRenderContext(true, 0)));
  std::vector<DrawportTextureSamplerItemRef> items;
  for (int key = 0; key < kKeys; ++key) items.push_back(Take(_cache->GetTextureSampler(static_cast<UInt8>(key))));
  std::vector<std::vector<DrawportTextureSampler*>> found(kThreads);
  std::atomic<int> waiting{kThreads};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      for (const auto& item : items)
        found[static_cast<std::size_t>(i)].push_back(Take(item->MakeValid(*contexts[static_cast<std::size_t>(i)])));
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int i = 1; i < kThreads; ++i) EXPECT_EQ(found[static_cast<std::size_t>(i)], found[0]);
}

}  // namespace
