// What the driver's failures lead to while textures go both ways, kernels write images, counts of work groups come from
// the device and two contexts share one.
#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::Contains;

namespace {

constexpr DrawportStage kStage = DrawportStage::Compute;
constexpr DrawportExtent kExtent = {5, 3, 1};

class FaultsTest : public DriverTest {
 protected:
  static Result<DrawportTextureItemRef> MakeTexture(const DrawportContextRef& context, std::string_view format,
                                                    Bool isImage, UInt64 key, DrawportTexture*& texture) {
    OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(format));
    OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef pixelFormat, GetPixelFormat(id));
    OSTRA_ASSIGN_OR_RETURN(const auto describe,
                           DrawportTextureDescribe::Create([&](DrawportTextureDescription& description) {
                             description.format = pixelFormat;
                             description.extent = kExtent;
                             description.isImage = isImage;
                           }));
    OSTRA_ASSIGN_OR_RETURN(auto item, context->GetDrawport()->GetDrawportCache()->GetTexture({{key, 1, 1}}, describe));
    OSTRA_ASSIGN_OR_RETURN(texture, item->MakeValid(*context, {}));
    return item;
  }

  static Result<DrawportVertexBufferItemRef> MakeBuffer(const DrawportContextRef& context, Int bytes, UInt64 key,
                                                        DrawportDeviceBuffer*& buffer) {
    OSTRA_ASSIGN_OR_RETURN(auto item, context->GetDrawport()->GetDrawportCache()->GetVertexbuffer({{key, 1, 1}}));
    OSTRA_ASSIGN_OR_RETURN(
        auto fill, DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& vertexBuffer) -> Result<void> {
          OSTRA_ASSIGN_OR_RETURN(buffer,
                                 vertexBuffer.AllocSubBuffer(*context, DrawportSubBufferUse::General, bytes, 16));
          return OK;
        }));
    OSTRA_RETURN_IF_ERROR(item->MakeValid(*context, fill));
    return item;
  }

  // Texels i + 0.5 of channel i.
  static Result<void> Upload(const DrawportContextRef& context, DrawportTexture& texture) {
    DrawportCommandList& list = context->GetCommandList();
    OSTRA_ASSIGN_OR_RETURN(const Int bytes, texture.GetStagingBufferSize({}, kExtent, 0, 0));
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           context->GetDrawport()->GetDrawportCache()->AllocStagingBuffer(
                               *context, {.bytes = bytes, .use = DrawportStagingUse::HostReadWrite}));
    Result<void> done = [&]() -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(Byte * mapped, list.PrivateMapTexture(*staging, DrawportMapMode::WriteDiscard, texture,
                                                                   {{}, kExtent}, 0, 0, 0, 0));
      for (Int i = 0; i < bytes / 4; ++i) {
        const Float32 value = static_cast<Float32>(i) + 0.5f;
        MemCopy(mapped + 4 * i, &value, 4);
      }
      return list.UnmapTexture(*staging);
    }();
    list.ReleaseStagingBuffer(staging);
    return done;
  }
  static Result<std::vector<Float32>> Read(const DrawportContextRef& context, DrawportTexture& texture) {
    DrawportCommandList& list = context->GetCommandList();
    OSTRA_ASSIGN_OR_RETURN(const Int bytes, texture.GetStagingBufferSize({}, kExtent, 0, 0));
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           context->GetDrawport()->GetDrawportCache()->AllocStagingBuffer(
                               *context, {.bytes = bytes, .use = DrawportStagingUse::HostRead}));
    std::vector<Float32> values(static_cast<std::size_t>(bytes) / 4);
    auto mapped = list.PrivateMapTexture(*staging, DrawportMapMode::Read, texture, {{}, kExtent}, 0, 0, 0, 0);
    if (mapped) MemCopy(values.data(), *mapped, bytes);
    list.ReleaseStagingBuffer(staging);
    if (!mapped) return mapped.TakeError();
    return values;
  }

  // A texture of three channels goes up, a kernel adds 1 and writes an image, as often as an indirect count says; then
  // both are read.
  Result<void> RunTextures() {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
    const DrawportCacheRef cache = context->GetDrawport()->GetDrawportCache();
    DrawportCommandList& list = context->GetCommandList();
    DrawportTexture* source = nullptr;
    DrawportTexture* target = nullptr;
    DrawportDeviceBuffer* counts = nullptr;
    OSTRA_ASSIGN_OR_RETURN(const auto sourceItem,
                           MakeTexture(context, "net.ostra.image.pixelformat.rgb.f32", false, 1, source));
    OSTRA_ASSIGN_OR_RETURN(const auto targetItem,
                           MakeTexture(context, "net.ostra.image.pixelformat.rgba.f32", true, 2, target));
    OSTRA_ASSIGN_OR_RETURN(const auto countsItem, MakeBuffer(context, 64, 3, counts));
    OSTRA_ASSIGN_OR_RETURN(const auto samplerItem, cache->GetTextureSampler(0));
    OSTRA_ASSIGN_OR_RETURN(DrawportTextureSampler * sampler, samplerItem->MakeValid(*context));
    OSTRA_RETURN_IF_ERROR(Upload(context, *source));
    const PixelFormatRef rgb = source->GetDescription().format;
    const PixelFormatRef rgba = target->GetDescription().format;
    OSTRA_ASSIGN_OR_RETURN(
        const GpuComputeRef count,
        MakeCompute(
            context,
            [](DrawportProgramDescription& program) -> Result<void> {
              OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage,
                                                               {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                               "counts"_iid, DrawportBufferAccess::ReadWrite));
              OSTRA_RETURN_IF_ERROR(program.AddCode(
                  kStage, kAppendCode,
                  "UNIFORM_BUFFER(counts)[0] = 5u; UNIFORM_BUFFER(counts)[1] = 3u; UNIFORM_BUFFER(counts)[2] = 1u;\n"_s));
              return program.SetComputeShaderProperties(1, 1, 1);
            },
            [counts](DrawportProgramFactory& factory, DrawportParameterValueSet& values) {
              return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("counts"_iid), counts);
            }));
    OSTRA_ASSIGN_OR_RETURN(
        const GpuComputeRef add,
        MakeCompute(
            context,
            [=](DrawportProgramDescription& program) -> Result<void> {
              OSTRA_RETURN_IF_ERROR(
                  program.AddTextureParameter(kStage, DrawportTextureType::Texture2D, rgb, false, "source"_iid));
              OSTRA_RETURN_IF_ERROR(
                  program.AddImageParameter(kStage, DrawportTextureType::Texture2D, rgba, "target"_iid));
              OSTRA_RETURN_IF_ERROR(program.AddCode(
                  kStage, kAppendCode,
                  "int2 place = int2(InGlobalInvocationID.xy);\n"
                  "StoreImage(target, place, vec4(FetchTexture(source, place), 1.0) + vec4(1.0));\n"_s));
              return program.SetComputeShaderProperties(1, 1, 1);
            },
            [=](DrawportProgramFactory& factory, DrawportParameterValueSet& values) -> Result<void> {
              OSTRA_RETURN_IF_ERROR(
                  factory.SetParameterTexture(values, factory.GetParameterHandle("source"_iid), source, sampler));
              return factory.SetParameterImage(values, factory.GetImageParameterHandle("target"_iid), target);
            }));
    OSTRA_RETURN_IF_ERROR(count->Dispatch(1, 1, 1));
    OSTRA_RETURN_IF_ERROR(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    OSTRA_RETURN_IF_ERROR(add->DispatchIndirect(list, *counts, 0));
    OSTRA_RETURN_IF_ERROR(list.AddMemoryBarrier(DrawportBarrierBits::Texture));
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float32> texels, Read(context, *target));
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float32> unchanged, Read(context, *source));
    for (int i = 0; i < 15; ++i) {
      for (int channel = 0; channel < 3; ++channel) {
        EXPECT_EQ(unchanged[static_cast<std::size_t>(3 * i + channel)], static_cast<Float32>(3 * i + channel) + 0.5f);
        EXPECT_EQ(texels[static_cast<std::size_t>(4 * i + channel)], static_cast<Float32>(3 * i + channel) + 1.5f);
      }
      EXPECT_EQ(texels[static_cast<std::size_t>(4 * i + 3)], 2);
    }
    return cache->FreeTrashCaches(*context);
  }

  // One context writes a buffer and a texture that another one reads.
  Result<void> RunTwoContexts() {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef first, MakeContext());
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef second,
                           first->GetDrawport()->CreateOffscreenRenderContext(true, 0));
    DrawportTexture* texture = nullptr;
    DrawportDeviceBuffer* buffer = nullptr;
    OSTRA_ASSIGN_OR_RETURN(const auto textureItem,
                           MakeTexture(first, "net.ostra.image.pixelformat.rgba.f32", false, 1, texture));
    OSTRA_ASSIGN_OR_RETURN(const auto bufferItem, MakeBuffer(first, 64, 2, buffer));
    const auto increment = [&](const DrawportContextRef& context) -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(
          const GpuComputeRef compute,
          MakeCompute(
              context,
              [](DrawportProgramDescription& program) -> Result<void> {
                OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage,
                                                                 {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                                 "data"_iid, DrawportBufferAccess::ReadWrite));
                OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, "UNIFORM_BUFFER(data)[3] += 7u;\n"_s));
                return program.SetComputeShaderProperties(1, 1, 1);
              },
              [buffer](DrawportProgramFactory& factory, DrawportParameterValueSet& values) {
                return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid), buffer);
              }));
      OSTRA_RETURN_IF_ERROR(compute->Dispatch(1, 1, 1));
      return context->GetCommandList().Execute(false);
    };
    OSTRA_RETURN_IF_ERROR(increment(first));
    OSTRA_RETURN_IF_ERROR(Upload(first, *texture));
    OSTRA_RETURN_IF_ERROR(first->GetCommandList().Execute(false));
    OSTRA_RETURN_IF_ERROR(increment(second));
    OSTRA_ASSIGN_OR_RETURN(const std::vector<Float32> texels, Read(second, *texture));
    EXPECT_EQ(texels[7], 7.5f);
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           second->GetDrawport()->GetDrawportCache()->AllocStagingBuffer(
                               *second, {.bytes = 64, .use = DrawportStagingUse::HostRead}));
    auto mapped = second->GetCommandList().PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffer, 0, 0, 64);
    if (mapped) {
      EXPECT_EQ(reinterpret_cast<const UInt32*>(*mapped)[3], 14u);
    }
    second->GetCommandList().ReleaseStagingBuffer(staging);
    if (!mapped) return mapped.TakeError();
    OSTRA_RETURN_IF_ERROR(first->GetCommandList().Execute(true));
    return second->GetCommandList().Execute(true);
  }
};

TEST_F(FaultsTest, AFailureOfAnyCallWithTexturesIsAnErrorAndLeavesNothingBehind) {
  FailEveryCall(VK_ERROR_OUT_OF_DEVICE_MEMORY, true, [this] { return RunTextures(); });
  for (const char* call : {"vkCreateDevice", "vkAllocateMemory", "vkCreateImage", "vkCreateComputePipelines",
                           "vkQueueSubmit", "vkEndCommandBuffer", "vkWaitSemaphores"})
    EXPECT_THAT(failedCalls, Contains(call));
}

TEST_F(FaultsTest, ALossWithTexturesIsAnError) {
  FailEveryCall(VK_ERROR_DEVICE_LOST, true, [this] { return RunTextures(); });
  EXPECT_THAT(RunTextures(), IsOk());
}

TEST_F(FaultsTest, AFailureOfAnyCallOfOneOfTwoContextsIsAnErrorAndLeavesNothingBehind) {
  FailEveryCall(VK_ERROR_OUT_OF_DEVICE_MEMORY, false, [this] { return RunTwoContexts(); });
}

TEST_F(FaultsTest, ALossUnderTwoContextsIsAnErrorOfEither) {
  FailEveryCall(VK_ERROR_DEVICE_LOST, true, [this] { return RunTwoContexts(); });
}

}  // namespace
