// What the driver is asked, heard by functions in place of its own.
#include <sys/stat.h>

#include <thread>

#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/drawport_vulkan/replaced_function.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::Contains;
using testing::ElementsAre;

namespace {

namespace fs = std::filesystem;

// What the functions in place of the driver's have heard, and what they answer.
struct Heard {
  PFN_vkCmdPipelineBarrier barrier = nullptr;
  PFN_vkSetDebugUtilsObjectNameEXT setName = nullptr;
  int barrierCount = 0;
  int mergeCount = 0;
  PFN_vkAllocateDescriptorSets allocateSets = nullptr;
  PFN_vkUpdateDescriptorSets updateSets = nullptr;
  int setCount = 0, updateCount = 0;
  PFN_vkCreateComputePipelines createPipelines = nullptr;
  std::vector<std::pair<VkObjectType, std::string>> names;
  std::string cacheData;
  VkPipelineCache merged = VK_NULL_HANDLE;
  VkResult formatAnswer = VK_SUCCESS;
  VkImageFormatProperties formatLimits = {};
};
Heard g_heard;

VKAPI_ATTR void VKAPI_CALL CountBarrier(VkCommandBuffer commands, VkPipelineStageFlags from, VkPipelineStageFlags to,
                                        VkDependencyFlags flags, UInt32 count, const VkMemoryBarrier* barriers,
                                        UInt32 bufferCount, const VkBufferMemoryBarrier* buffers, UInt32 imageCount,
                                        const VkImageMemoryBarrier* images) {
  ++g_heard.barrierCount;
  g_heard.barrier(commands, from, to, flags, count, barriers, bufferCount, buffers, imageCount, images);
}
VKAPI_ATTR VkResult VKAPI_CALL CountSets(VkDevice device, const VkDescriptorSetAllocateInfo* info,
                                         VkDescriptorSet* sets) {
  g_heard.setCount += static_cast<int>(info->descriptorSetCount);
  return g_heard.allocateSets(device, info, sets);
}
VKAPI_ATTR void VKAPI_CALL CountSetUpdates(VkDevice device, UInt32 count, const VkWriteDescriptorSet* writes,
                                           UInt32 copyCount, const VkCopyDescriptorSet* copies) {
  ++g_heard.updateCount;
  g_heard.updateSets(device, count, writes, copyCount, copies);
}
VKAPI_ATTR VkResult VKAPI_CALL CompileSlowly(VkDevice device, VkPipelineCache cache, UInt32 count,
                                             const VkComputePipelineCreateInfo* infos,
                                             const VkAllocationCallbacks* callbacks, VkPipeline* pipelines) {
  std::this_thread::sleep_for(std::chrono::milliseconds(25));
  return g_heard.createPipelines(device, cache, count, infos, callbacks, pipelines);
}
VKAPI_ATTR VkResult VKAPI_CALL HearName(VkDevice device, const VkDebugUtilsObjectNameInfoEXT* info) {
  g_heard.names.emplace_back(info->objectType, info->pObjectName);
  return g_heard.setName(device, info);
}
VKAPI_ATTR VkResult VKAPI_CALL CountMerge(VkDevice, VkPipelineCache, UInt32, const VkPipelineCache*) {
  ++g_heard.mergeCount;
  return VK_SUCCESS;
}
VKAPI_ATTR VkResult VKAPI_CALL AnswerCacheData(VkDevice, VkPipelineCache, std::size_t* size, void* data) {
  if (data) MemCopy(data, g_heard.cacheData.data(), static_cast<Int>(g_heard.cacheData.size()));
  *size = g_heard.cacheData.size();
  return VK_SUCCESS;
}
// The data of a cache that others were merged into differ from those of any other.
VKAPI_ATTR VkResult VKAPI_CALL NoteMerged(VkDevice, VkPipelineCache target, UInt32, const VkPipelineCache*) {
  g_heard.merged = target;
  return VK_SUCCESS;
}
VKAPI_ATTR VkResult VKAPI_CALL AnswerOwnOrMergedData(VkDevice device, VkPipelineCache cache, std::size_t* size,
                                                     void* data) {
  g_heard.cacheData = cache == g_heard.merged ? "mine and theirs" : "mine";
  return AnswerCacheData(device, cache, size, data);
}
VKAPI_ATTR VkResult VKAPI_CALL AnswerFormatProperties(VkPhysicalDevice, VkFormat, VkImageType, VkImageTiling,
                                                      VkImageUsageFlags, VkImageCreateFlags,
                                                      VkImageFormatProperties* properties) {
  *properties = g_heard.formatLimits;
  return g_heard.formatAnswer;
}

class DriverCallsTest : public DriverTest {
 protected:
  void SetUp() override {
    g_heard = {};
    DriverTest::SetUp();
  }
  // A program that counts in the buffer, in a text of its own.
  static GpuComputeRef MakeCounter(const DrawportContextRef& context, DrawportDeviceBuffer* buffer, UInt32 step) {
    return Take(MakeCompute(
        context,
        [=](DrawportProgramDescription& program) -> Result<void> {
          constexpr DrawportStage kStage = DrawportStage::Compute;
          OSTRA_RETURN_IF_ERROR(program.SetDebugLabel("net.ostra.test.counter.krn"));
          OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = "uint"_s, .members = {}, .byteSize = 4},
                                                           "data"_iid, DrawportBufferAccess::ReadWrite));
          OSTRA_ASSIGN_OR_RETURN(const String code, Format("UNIFORM_BUFFER(data)[0] += @u;\n", step));
          OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, code));
          return program.SetComputeShaderProperties(1, 1, 1);
        },
        [=](DrawportProgramFactory& factory, DrawportParameterValueSet& values) {
          return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid), buffer);
        }));
  }
  static BufferRef MakeBuffer(const DrawportContextRef& context) {
    return Take(BufferResource::Create(static_cast<Context&>(*context).GetDevice(), 64, MemoryUse::Device, true));
  }
  // Runs a program of its own on a fresh device, which is gone behind it.
  void CompileSomething(UInt32 step) {
    const DrawportContextRef context = Take(MakeContext());
    const BufferRef buffer = MakeBuffer(context);
    MakeCounter(context, buffer.GetPointer(), step);
  }
  // The file of the driver's cache: the only one that is written when a device goes.
  std::string FindDriverFile() const {
    DrawportContextRef context = Take(_cacheClass->CreateObject<DrawportCacheInterface>())
                                     ->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem)
                                     .GetValue()
                                     ->CreateOffscreenRenderContext(false, 0)
                                     .GetValue();
    const ContentKey key = MakeDriverKey(static_cast<Context&>(*context).GetDevice().GetProperties());
    return (_folder / (std::string(Take(key.ToText()).GetView()) + ".content")).native();
  }
  static std::string LoadText(const ContentStore& store, const ContentKey& key) {
    const BaseArray<Byte> kept = Take(store.Load(key));
    return {reinterpret_cast<const char*>(kept.GetFirst()), static_cast<std::size_t>(kept.GetCount())};
  }
  static ino_t GetNumber(const std::string& file) {
    struct stat state = {};
    EXPECT_EQ(stat(file.c_str(), &state), 0) << file;
    return state.st_ino;
  }
};

TEST_F(DriverCallsTest, OneBarrierServesBuffersAndTexturesBetweenTwoDispatches) {
  const DrawportContextRef context = Take(MakeContext());
  DrawportCommandList& list = context->GetCommandList();
  const BufferRef buffer = MakeBuffer(context);
  const GpuComputeRef compute = MakeCounter(context, buffer.GetPointer(), 1);
  Take(compute->Dispatch(1, 1, 1));
  g_heard.barrier = vkCmdPipelineBarrier;
  const ReplacedFunction<PFN_vkCmdPipelineBarrier> replaced(vkCmdPipelineBarrier, &CountBarrier);
  Take(list.AddMemoryBarrier(DrawportBarrierBits::None));
  EXPECT_EQ(g_heard.barrierCount, 0);
  for (const auto bits : {DrawportBarrierBits::Texture, DrawportBarrierBits::StorageBuffer,
                          DrawportBarrierBits::Texture, DrawportBarrierBits::StorageBuffer}) {
    Take(list.AddMemoryBarrier(bits));
    EXPECT_EQ(g_heard.barrierCount, 0);  // there is nothing yet that waits
  }
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_EQ(g_heard.barrierCount, 1);
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_EQ(g_heard.barrierCount, 1);
  Take(list.AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_EQ(g_heard.barrierCount, 2);
  Take(list.Execute(true));
}

TEST_F(DriverCallsTest, AQueueWithoutTimeStampsSaysSo) {
  const DrawportContextRef context = Take(MakeContext());
  Device& device = static_cast<Context&>(*context).GetDevice();
  device.SetTimestampBits(0);
  EXPECT_THAT(context->GetCommandList().BeginTimedWork(),
              IsErrorContaining(kNotImplementedError, "has no time stamps."));
}

TEST_F(DriverCallsTest, LabelsReachTheDriver) {
  if (!_driver->HasDebugUtils()) GTEST_SKIP() << "The Vulkan loader of this machine names no objects.";
  const DrawportContextRef context = Take(MakeContext());
  g_heard.setName = vkSetDebugUtilsObjectNameEXT;
  const ReplacedFunction<PFN_vkSetDebugUtilsObjectNameEXT> replaced(vkSetDebugUtilsObjectNameEXT, &HearName);
  const auto item = Take(context->GetDrawport()->GetDrawportCache()->GetVertexbuffer({{1, 1, 1}}));
  const auto fill = Take(DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
    return buffer.AllocSubBuffer(*context, DrawportSubBufferUse::General, 64, 16)
               ? Result<void>(OK)
               : Error::MakeOutOfMemory("test", __LINE__);
  }));
  Take(item->SetDebugLabel("positions"));
  EXPECT_THAT(g_heard.names, ElementsAre());
  Take(item->MakeValid(*context, fill));
  EXPECT_THAT(g_heard.names, ElementsAre(std::pair(VK_OBJECT_TYPE_BUFFER, std::string("positions"))));
  Take(item->SetDebugLabel("normals"));
  EXPECT_THAT(g_heard.names, Contains(std::pair(VK_OBJECT_TYPE_BUFFER, std::string("normals"))));
  const BufferRef buffer = MakeBuffer(context);
  MakeCounter(context, buffer.GetPointer(), 1);
  EXPECT_THAT(g_heard.names, Contains(std::pair(VK_OBJECT_TYPE_PIPELINE, std::string("net.ostra.test.counter.krn"))));
}

TEST_F(DriverCallsTest, TheDriversCacheIsWrittenOnlyWhenItHasChanged) {
  const ReplacedFunction<PFN_vkGetPipelineCacheData> data(vkGetPipelineCacheData, &AnswerCacheData);
  const ReplacedFunction<PFN_vkMergePipelineCaches> merge(vkMergePipelineCaches, &CountMerge);
  const std::string file = FindDriverFile();
  EXPECT_FALSE(fs::exists(file));
  g_heard.cacheData = "one pipeline";
  CompileSomething(1);
  const ino_t written = GetNumber(file);
  CompileSomething(2);
  EXPECT_EQ(GetNumber(file), written);
  g_heard.cacheData = "two pipelines";
  CompileSomething(3);
  EXPECT_NE(GetNumber(file), written);
  EXPECT_EQ(g_heard.mergeCount, 0);
  const ino_t second = GetNumber(file);
  g_heard.cacheData = "three pipelines";
  { const DrawportContextRef context = Take(MakeContext()); }  // compiles nothing
  EXPECT_EQ(GetNumber(file), second);
}

TEST_F(DriverCallsTest, WhatTakesLongToCompileIsSavedWhileTheDeviceLives) {
  const ReplacedFunction<PFN_vkGetPipelineCacheData> data(vkGetPipelineCacheData, &AnswerCacheData);
  g_heard.createPipelines = vkCreateComputePipelines;
  const ReplacedFunction<PFN_vkCreateComputePipelines> slow(vkCreateComputePipelines, &CompileSlowly);
  const std::string file = FindDriverFile();
  DrawportContextRef context = Take(MakeContext());
  BufferRef buffer = MakeBuffer(context);
  g_heard.cacheData = "one pipeline";
  EXPECT_FALSE(fs::exists(file));
  MakeCounter(context, buffer.GetPointer(), 1);
  EXPECT_TRUE(fs::exists(file));
  const ino_t written = GetNumber(file);
  g_heard.cacheData = "another text, which nothing was compiled for";
  buffer = {};
  context = {};
  EXPECT_EQ(GetNumber(file), written) << "saved again at the end";
}

TEST_F(DriverCallsTest, WhatAnotherProcessHasSavedMeanwhileIsMerged) {
  const ReplacedFunction<PFN_vkGetPipelineCacheData> data(vkGetPipelineCacheData, &AnswerCacheData);
  const ReplacedFunction<PFN_vkMergePipelineCaches> merge(vkMergePipelineCaches, &CountMerge);
  const ContentStore store = Take(ContentStore::Open(_folder.native(), 1 << 20));
  g_heard.cacheData = "mine and theirs";
  ContentKey key;
  {
    const DrawportContextRef context = Take(MakeContext());
    const BufferRef buffer = MakeBuffer(context);
    MakeCounter(context, buffer.GetPointer(), 1);
    key = MakeDriverKey(static_cast<Context&>(*context).GetDevice().GetProperties());
    const std::string theirs = "theirs";
    store.Save(key, {reinterpret_cast<const Byte*>(theirs.data()), static_cast<Int>(theirs.size())});
  }
  EXPECT_EQ(g_heard.mergeCount, 1);
  EXPECT_EQ(LoadText(store, key), "mine and theirs");
}

TEST_F(DriverCallsTest, WhatAnotherProcessHasSavedOutlivesAllLaterSaves) {
  const ReplacedFunction<PFN_vkGetPipelineCacheData> data(vkGetPipelineCacheData, &AnswerOwnOrMergedData);
  const ReplacedFunction<PFN_vkMergePipelineCaches> merge(vkMergePipelineCaches, &NoteMerged);
  const DrawportContextRef context = Take(MakeContext());
  const ContentStore store = Take(ContentStore::Open(_folder.native(), 1 << 20));
  Device& device = static_cast<Context&>(*context).GetDevice();
  DriverCache cache(device);
  Take(cache.Load(store));
  cache.Save(store);
  const ContentKey key = MakeDriverKey(device.GetProperties());
  EXPECT_EQ(LoadText(store, key), "mine");
  const std::string_view theirs = "theirs";
  store.Save(key, {reinterpret_cast<const Byte*>(theirs.data()), static_cast<Int>(theirs.size())});
  for (int i = 0; i < 3; ++i) {
    cache.Save(store);
    EXPECT_EQ(LoadText(store, key), "mine and theirs") << "save " << i;
  }
}

TEST(DiskKeys, TellCompilersLanguagesStagesAndDriversApart) {
  const ContentKey key = MakeSpirvKey("compiler 1", kShadingLanguageGlsl, DrawportStage::Compute, "text");
  EXPECT_EQ(key, MakeSpirvKey("compiler 1", kShadingLanguageGlsl, DrawportStage::Compute, "text"));
  EXPECT_FALSE(key == MakeSpirvKey("compiler 2", kShadingLanguageGlsl, DrawportStage::Compute, "text"));
  EXPECT_FALSE(key == MakeSpirvKey("compiler 1", kShadingLanguageHlsl, DrawportStage::Compute, "text"));
  EXPECT_FALSE(key == MakeSpirvKey("compiler 1", kShadingLanguageGlsl, DrawportStage::Vertex, "text"));
  EXPECT_FALSE(key == MakeSpirvKey("compiler 1", kShadingLanguageGlsl, DrawportStage::Compute, "text "));
  const VkPhysicalDeviceProperties properties = {};
  const ContentKey driverKey = MakeDriverKey(properties);
  EXPECT_EQ(driverKey, MakeDriverKey(properties));
  const auto changes = {
      +[](VkPhysicalDeviceProperties& other) { other.driverVersion = 1; },
      +[](VkPhysicalDeviceProperties& other) { other.deviceID = 1; },
      +[](VkPhysicalDeviceProperties& other) { other.vendorID = 1; },
      +[](VkPhysicalDeviceProperties& other) { other.pipelineCacheUUID[15] = 1; },
      +[](VkPhysicalDeviceProperties& other) { other.deviceName[0] = 'a'; },
  };
  for (const auto change : changes) {
    VkPhysicalDeviceProperties other = properties;
    change(other);
    EXPECT_FALSE(driverKey == MakeDriverKey(other));
  }
}

TEST_F(DriverCallsTest, TexturesAreHeldAgainstWhatTheirFormatAndUseCanDo) {
  const DrawportContextRef context = Take(MakeContext());
  const ReplacedFunction<PFN_vkGetPhysicalDeviceImageFormatProperties> replaced(
      vkGetPhysicalDeviceImageFormatProperties, &AnswerFormatProperties);
  g_heard.formatLimits.maxExtent = {8, 8, 4};
  g_heard.formatLimits.maxArrayLayers = 4;
  g_heard.formatLimits.maxResourceSize = 1 << 20;
  DrawportTextureDescription description;
  description.format = Take(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  const auto create = [&](DrawportTextureType type, DrawportExtent extent) {
    description.type = type;
    description.extent = extent;
    return ImageResource::Create(static_cast<Context&>(*context).GetDevice(), description);
  };
  const auto isTooLarge =
      IsErrorContaining(kIllegalArgumentError, "is not possible; the GPU device has at most 8 x 8 x 4");
  EXPECT_THAT(create(DrawportTextureType::Texture2D, {8, 8, 4}), IsOk());
  EXPECT_THAT(create(DrawportTextureType::Texture2D, {9, 8, 1}), isTooLarge);
  EXPECT_THAT(create(DrawportTextureType::Texture2D, {8, 9, 1}), isTooLarge);
  EXPECT_THAT(create(DrawportTextureType::Texture2D, {8, 8, 5}), isTooLarge);  // layers
  EXPECT_THAT(create(DrawportTextureType::Texture3D, {8, 8, 4}), IsOk());
  EXPECT_THAT(create(DrawportTextureType::Texture3D, {8, 8, 5}), isTooLarge);
  EXPECT_THAT(create(DrawportTextureType::Texture1D, {8, 4, 1}), IsOk());
  EXPECT_THAT(create(DrawportTextureType::Texture1D, {8, 5, 1}), isTooLarge);
  g_heard.formatAnswer = VK_ERROR_FORMAT_NOT_SUPPORTED;
  EXPECT_THAT(create(DrawportTextureType::Texture2D, {1, 1, 1}),
              IsErrorWith(kIllegalArgumentError,
                          "The GPU device has no textures of this kind of the pixel format "
                          "net.ostra.image.pixelformat.rgba.f32."));
  g_heard.formatAnswer = VK_ERROR_OUT_OF_HOST_MEMORY;
  EXPECT_THAT(create(DrawportTextureType::Texture2D, {1, 1, 1}), IsErrorOfKind(kOutOfMemoryError));
}

TEST_F(DriverCallsTest, ABufferThatIsLargerThanBuffersCanBeIsRefused) {
  const DrawportContextRef context = Take(MakeContext());
  Device& device = static_cast<Context&>(*context).GetDevice();
  const UInt64 most = device.GetMaxBufferSize();
  if (most > static_cast<UInt64>(INT64_MAX) - 64)
    GTEST_SKIP() << "The GPU device does not say how large buffers can be.";
  EXPECT_THAT(BufferResource::Create(device, static_cast<Int>(most) + 1, MemoryUse::Device, false),
              IsErrorContaining(kIllegalArgumentError, "that the GPU device can give one."));
}

class ChangingPlacesTest : public DriverCallsTest {
 protected:
  // Adds 1 to what buffer `step` begins with and stores the sum in the next one, around the ring of buffers. The step
  // is read with each update of the parameters.
  static GpuComputeRef MakeIncrement(const DrawportContextRef& context, const std::vector<BufferRef>& buffers,
                                     const std::size_t& step) {
    const auto at = [&buffers](std::size_t i) { return buffers[i % buffers.size()].GetPointer(); };
    return Take(MakeCompute(
        context,
        [](DrawportProgramDescription& program) -> Result<void> {
          for (const InternedId& name : {"from"_iid, "to"_iid})
            OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(DrawportStage::Compute,
                                                             {.typeName = "uint"_s, .members = {}, .byteSize = 4}, name,
                                                             DrawportBufferAccess::ReadWrite));
          OSTRA_RETURN_IF_ERROR(program.AddCode(DrawportStage::Compute, kAppendCode,
                                                "UNIFORM_BUFFER(to)[0] = UNIFORM_BUFFER(from)[0] + 1u;\n"_s));
          return program.SetComputeShaderProperties(1, 1, 1);
        },
        [at, &step](DrawportProgramFactory& factory, DrawportParameterValueSet& values) -> Result<void> {
          OSTRA_RETURN_IF_ERROR(
              factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("from"_iid), at(step)));
          return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("to"_iid), at(step + 1));
        }));
  }
  static UInt32 ReadFirst(const DrawportContextRef& context, BufferResource& buffer) {
    CommandList& list = static_cast<Context&>(*context).GetCommands();
    DrawportStagingBuffer* const staging = Take(list.AllocStagingBuffer(64, DrawportStagingUse::HostRead));
    const Byte* const mapped = Take(list.PrivateMapBuffer(*staging, DrawportMapMode::Read, buffer, 0, 0, 4));
    const UInt32 value = *reinterpret_cast<const UInt32*>(mapped);
    list.ReleaseStagingBuffer(staging);
    return value;
  }
  // Runs the increment `dispatchCount` times: a set with wrong buffers loses some. Counts calls in g_heard.
  void Run(Int bufferCount, int dispatchCount) {
    const DrawportContextRef context = Take(MakeContext());
    Device& device = static_cast<Context&>(*context).GetDevice();
    std::vector<BufferRef> buffers;
    for (Int i = 0; i < bufferCount; ++i)
      buffers.push_back(Take(BufferResource::Create(device, 64, MemoryUse::Device, true)));
    std::size_t step = 0;
    const GpuComputeRef compute = MakeIncrement(context, buffers, step);
    const ReplacedFunction sets(vkAllocateDescriptorSets, &CountSets);
    const ReplacedFunction updates(vkUpdateDescriptorSets, &CountSetUpdates);
    g_heard.setCount = g_heard.updateCount = 0;
    for (; step < static_cast<std::size_t>(dispatchCount); ++step) {
      Take(compute->UpdateUniforms(context, true));
      Take(context->GetCommandList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
      Take(compute->Dispatch(1, 1, 1));
    }
    Take(context->GetCommandList().Execute(true));
    EXPECT_EQ(ReadFirst(context, *buffers[step % buffers.size()]), static_cast<UInt32>(dispatchCount));
  }
};

TEST_F(ChangingPlacesTest, BuffersThatChangePlacesNeedAsManyDescriptorSetsAsPlaces) {
  g_heard.allocateSets = vkAllocateDescriptorSets;
  g_heard.updateSets = vkUpdateDescriptorSets;
  for (const Int buffers : {2, 5}) {
    Run(buffers, 1000);
    EXPECT_EQ(g_heard.setCount, buffers);
    EXPECT_EQ(g_heard.updateCount, buffers);
  }
  Run(40, 100);
  EXPECT_EQ(g_heard.setCount, 40);
}

}  // namespace
