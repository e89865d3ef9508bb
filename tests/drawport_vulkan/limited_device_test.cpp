// Devices whose memory is full, or that do not filter a format: what is done about it, and what is said.
#include <map>

#include "ostra/drawport_vulkan/snapshot.h"
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/drawport_vulkan/replaced_function.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr Int kMiB = Int(1) << 20;

// A device with memory of its own, which a test limits, and memory of the host: each a part of what the driver has.
struct LimitedDriver {
  PFN_vkAllocateMemory allocate = nullptr;
  PFN_vkFreeMemory free = nullptr;
  PFN_vkGetBufferMemoryRequirements2 getRequirements = nullptr;
  PFN_vkGetPhysicalDeviceFormatProperties getFormat = nullptr;
  UInt32 hostType = 0;
  Int room = INT64_MAX;  // of the device's memory
  std::map<VkDeviceMemory, Int> inDevice;
  int hostAllocations = 0;
};
LimitedDriver g_limited;

VKAPI_ATTR VkResult VKAPI_CALL AllocateLimited(VkDevice device, const VkMemoryAllocateInfo* info,
                                               const VkAllocationCallbacks* callbacks, VkDeviceMemory* memory) {
  VkMemoryAllocateInfo changed = *info;
  const Bool isHost = info->memoryTypeIndex == g_limited.hostType;
  const Int size = static_cast<Int>(info->allocationSize);
  if (isHost)
    changed.memoryTypeIndex = 0;
  else if (size > g_limited.room)
    return VK_ERROR_OUT_OF_DEVICE_MEMORY;
  const VkResult result = g_limited.allocate(device, &changed, callbacks, memory);
  if (result != VK_SUCCESS) return result;
  if (isHost) {
    ++g_limited.hostAllocations;
  } else {
    g_limited.room -= size;
    g_limited.inDevice[*memory] = size;
  }
  return result;
}
VKAPI_ATTR void VKAPI_CALL FreeLimited(VkDevice device, VkDeviceMemory memory, const VkAllocationCallbacks* callbacks) {
  if (const auto known = g_limited.inDevice.find(memory); known != g_limited.inDevice.end()) {
    g_limited.room += known->second;
    g_limited.inDevice.erase(known);
  }
  g_limited.free(device, memory, callbacks);
}
VKAPI_ATTR void VKAPI_CALL GetBothKinds(VkDevice device, const VkBufferMemoryRequirementsInfo2* info,
                                        VkMemoryRequirements2* requirements) {
  g_limited.getRequirements(device, info, requirements);
  requirements->memoryRequirements.memoryTypeBits |= 1u << g_limited.hostType;
}
VKAPI_ATTR void VKAPI_CALL GetFormatWithoutFilter(VkPhysicalDevice device, VkFormat format,
                                                  VkFormatProperties* properties) {
  g_limited.getFormat(device, format, properties);
  properties->optimalTilingFeatures &=
      ~static_cast<VkFormatFeatureFlags>(VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT);
}

// While it lives, memory comes from the device that is described here.
struct LimitedMemory {
  const ReplacedFunction<PFN_vkAllocateMemory> allocate{vkAllocateMemory, &AllocateLimited};
  const ReplacedFunction<PFN_vkFreeMemory> free{vkFreeMemory, &FreeLimited};
  const ReplacedFunction<PFN_vkGetBufferMemoryRequirements2> requirements{vkGetBufferMemoryRequirements2,
                                                                          &GetBothKinds};
};

class LimitedDeviceTest : public DriverTest {
 protected:
  void SetUp() override {
    g_limited = {};
    Driver::Pretend({.hasHostMemory = true});
    DriverTest::SetUp();
    if (IsSkipped()) return;
    g_limited.allocate = vkAllocateMemory;
    g_limited.free = vkFreeMemory;
    g_limited.getRequirements = vkGetBufferMemoryRequirements2;
    g_limited.getFormat = vkGetPhysicalDeviceFormatProperties;
    g_limited.hostType = static_cast<UInt32>(_driver->GetSnapshot(0).memoryTypes.GetCount() - 1);
  }
  void TearDown() override {
    Driver::Pretend({});
    DriverTest::TearDown();
  }

  // A buffer of the device; null without the memory. Held by `items`.
  static BufferResource* MakeBuffer(const DrawportContextRef& context, Int bytes,
                                    std::vector<DrawportVertexBufferItemRef>& items) {
    static UInt64 keys = 0;
    auto item = Take(context->GetDrawport()->GetDrawportCache()->GetVertexbuffer({{++keys, 0, 0}}));
    DrawportDeviceBuffer* buffer = nullptr;
    const auto fill = [&](DrawportVertexBuffer& vertexBuffer) -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(buffer, vertexBuffer.AllocSubBuffer(*context, DrawportSubBufferUse::General, bytes, 16));
      return OK;
    };
    if (!item->MakeValid(*context, Take(DrawportVertexBufferFill::Create(fill)))) return nullptr;
    items.push_back(std::move(item));
    return static_cast<BufferResource*>(buffer);
  }
  std::vector<std::string> GetWarnings(std::string_view part) const {
    std::vector<std::string> found;
    for (const std::string& line : diagnostics.GetLines())
      if (line.find(part) != std::string::npos) found.push_back(line);
    return found;
  }
};

TEST_F(LimitedDeviceTest, RunningWorkIsAwaitedBeforeDeviceMemorySpills) {
  const LimitedMemory memory;
  {
    const DrawportContextRef context = Take(MakeContext());
    std::vector<DrawportVertexBufferItemRef> items;
    const int hostBefore = g_limited.hostAllocations;
    g_limited.room = 100 * kMiB;
    BufferResource* first = MakeBuffer(context, 80 * kMiB, items);
    ASSERT_TRUE(first);
    // Only recorded work holds it from here on.
    CommandList& list = static_cast<Context&>(*context).GetCommands();
    Take(list.GetRecorder().BeginBatch());
    Take(list.GetRecorder().Keep(*first));
    items.clear();
    ASSERT_EQ(g_limited.room, 20 * kMiB);
    ASSERT_TRUE(MakeBuffer(context, 80 * kMiB, items));
    EXPECT_EQ(g_limited.hostAllocations, hostBefore);
    EXPECT_EQ(g_limited.room, 20 * kMiB);
    EXPECT_THAT(GetWarnings("is full"), IsEmpty());
  }
  EXPECT_THAT(g_limited.inDevice, IsEmpty());
}

TEST_F(LimitedDeviceTest, SpillingToMemoryOfTheHostIsSaidOnce) {
  const LimitedMemory memory;
  const DrawportContextRef context = Take(MakeContext());
  std::vector<DrawportVertexBufferItemRef> items;
  const int hostBefore = g_limited.hostAllocations;
  g_limited.room = 10 * kMiB;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(MakeBuffer(context, 80 * kMiB, items)) << i;
  EXPECT_EQ(g_limited.hostAllocations, hostBefore + 3);
  EXPECT_THAT(GetWarnings("is full"),
              ElementsAre(AllOf(HasSubstr(std::string(_driver->GetSnapshot(0).name.GetView())),
                                HasSubstr("83886080 bytes"), HasSubstr("memory of the host, which is slower"))));
  EXPECT_THAT(diagnostics.GetLevels(), testing::Contains(DiagnosticLevel::Warning));
}

// A driver whose second memory type has properties that the layer does not ask for.
PFN_vkGetPhysicalDeviceMemoryProperties g_getMemory = nullptr;
VkMemoryPropertyFlags g_addedFlags = 0;
VKAPI_ATTR void VKAPI_CALL GetMemoryWithOneMore(VkPhysicalDevice device, VkPhysicalDeviceMemoryProperties* properties) {
  g_getMemory(device, properties);
  properties->memoryTypes[properties->memoryTypeCount++] = {VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT | g_addedFlags, 0};
}

TEST_F(LimitedDeviceTest, MemoryWithPropertiesThatNobodyAskedForIsNeverChosen) {
  g_getMemory = vkGetPhysicalDeviceMemoryProperties;
  const ReplacedFunction memory(vkGetPhysicalDeviceMemoryProperties, &GetMemoryWithOneMore);
  const auto plan = [&](VkMemoryPropertyFlags flags) {
    g_addedFlags = flags;
    const DeviceSnapshot snapshot = Take(TakeSnapshot(_driver->GetPhysicalDevice(0), VK_API_VERSION_1_3));
    const Int added = snapshot.memoryTypes.GetCount() - 1;
    return PlanMemoryType(snapshot, MemoryUse::Device, 1u << added) == added;
  };
  EXPECT_TRUE(plan(0));
  constexpr auto kMapped = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
  EXPECT_TRUE(plan(kMapped | VK_MEMORY_PROPERTY_HOST_CACHED_BIT));
  for (const VkMemoryPropertyFlagBits flag :
       {VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT, VK_MEMORY_PROPERTY_PROTECTED_BIT,
        VK_MEMORY_PROPERTY_DEVICE_COHERENT_BIT_AMD, VK_MEMORY_PROPERTY_DEVICE_UNCACHED_BIT_AMD,
        VK_MEMORY_PROPERTY_RDMA_CAPABLE_BIT_NV})
    EXPECT_FALSE(plan(kMapped | flag)) << flag;
}

TEST_F(LimitedDeviceTest, AFilterThatTheDeviceDoesNotHaveIsSaidOnceForEachFormat) {
  const ReplacedFunction format(vkGetPhysicalDeviceFormatProperties, &GetFormatWithoutFilter);
  const DrawportContextRef context = Take(MakeContext());
  Device& device = static_cast<Context&>(*context).GetDevice();
  constexpr std::string_view kSaid = "does not filter textures of the pixel format ";
  const auto dispatch = [&](const Id& id, UInt8 samplerKey) {
    DrawportTextureDescription description;
    description.format = Take(GetPixelFormat(id));
    description.type = DrawportTextureType::Texture2D;
    description.extent = {4, 4, 1};
    const ImageRef image = Take(ImageResource::Create(device, description));
    const SamplerRef sampler = Take(SamplerResource::Create(device, samplerKey));
    const auto target = Take(BufferResource::Create(device, 64, MemoryUse::Device, true));
    const GpuComputeRef compute = Take(MakeCompute(
        context,
        [&](DrawportProgramDescription& program) -> Result<void> {
          OSTRA_RETURN_IF_ERROR(program.AddTextureParameter(DrawportStage::Compute, DrawportTextureType::Texture2D,
                                                            description.format, true, "picture"_iid));
          OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(DrawportStage::Compute,
                                                           {.typeName = "float"_s, .members = {}, .byteSize = 4},
                                                           "target"_iid, DrawportBufferAccess::ReadWrite));
          OSTRA_RETURN_IF_ERROR(
              program.AddCode(DrawportStage::Compute, kAppendCode,
                              "UNIFORM_BUFFER(target)[0] = float(SampleTexture(picture, float2(0.5, 0.5)).x);\n"_s));
          return program.SetComputeShaderProperties(1, 1, 1);
        },
        [&](DrawportProgramFactory& factory, DrawportParameterValueSet& values) -> Result<void> {
          OSTRA_RETURN_IF_ERROR(factory.SetParameterTexture(values, factory.GetParameterHandle("picture"_iid),
                                                            image.GetPointer(), sampler.GetPointer()));
          return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("target"_iid),
                                            target.GetPointer());
        }));
    Take(compute->Dispatch(1, 1, 1));
    Take(context->GetCommandList().Execute(true));
  };
  dispatch("net.ostra.image.pixelformat.rgba.f32"_id, 0);
  EXPECT_THAT(GetWarnings(kSaid), IsEmpty());  // no filter was asked for
  for (int i = 0; i < 2; ++i) {
    dispatch("net.ostra.image.pixelformat.rgba.f32"_id, DrawportSamplerKey::kLinear);
    dispatch("net.ostra.image.pixelformat.rgba.f16"_id, DrawportSamplerKey::kLinear);
  }
  EXPECT_THAT(GetWarnings(kSaid), ElementsAre(HasSubstr("rgba.f32: the nearest texel is read"), HasSubstr("rgba.f16")));
}

}  // namespace
