#include "ostra/drawport_vulkan/pipeline.h"

#include <algorithm>

#include "ostra/drawport_vulkan/program_store.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr UInt32 kSpirvMagic = 0x07230203;
constexpr Int kSpirvHeaderWords = 5;
constexpr UInt32 kOpDecorate = 71;
constexpr UInt32 kDecorationBinding = 33;

// Destroys a shader module at the end of a block: a pipeline keeps what it needs of it.
class ShaderModule {
 public:
  explicit ShaderModule(VkDevice device) : _device(device) {}
  ShaderModule(const ShaderModule&) = delete;
  ~ShaderModule() {
    if (module) vkDestroyShaderModule(_device, module, nullptr);
  }
  VkShaderModule module = VK_NULL_HANDLE;

 private:
  VkDevice _device;
};

struct KindLimit {
  VkDescriptorType type;
  UInt32 VkPhysicalDeviceLimits::*limit;
  const char* name;
};
constexpr KindLimit kKindLimits[] = {
    {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, &VkPhysicalDeviceLimits::maxPerStageDescriptorStorageBuffers, "buffers"},
    {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC, &VkPhysicalDeviceLimits::maxDescriptorSetStorageBuffersDynamic,
     "values without a type code"},
    {VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER, &VkPhysicalDeviceLimits::maxPerStageDescriptorSampledImages,
     "textures"},
    {VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, &VkPhysicalDeviceLimits::maxPerStageDescriptorStorageImages, "images"},
};

Result<void> CheckLimits(const Device& device, const BaseArray<PipelineBinding>& bindings) {
  for (const KindLimit& kind : kKindLimits) {
    const auto count = static_cast<UInt32>(std::count_if(
        bindings.begin(), bindings.end(), [&](const PipelineBinding& binding) { return binding.type == kind.type; }));
    const UInt32 limit = device.GetLimits().*kind.limit;
    if (count > limit)
      return OSTRA_ILLEGAL_ARGUMENT("The kernel uses @ @; the GPU device has room for @.", count, kind.name, limit);
  }
  return OK;
}

}  // namespace

Result<BaseArray<UInt32>> FindBindings(Block<const UInt32> spirv) {
  BaseArray<UInt32> numbers;
  const UInt32* words = spirv.GetFirst();
  const Int count = spirv.GetCount();
  if (count < kSpirvHeaderWords || words[0] != kSpirvMagic) return numbers;
  for (Int i = kSpirvHeaderWords; i < count;) {
    const Int length = words[i] >> 16;
    if (length == 0 || i + length > count) break;
    if ((words[i] & 0xFFFF) == kOpDecorate && length == 4 && words[i + 2] == kDecorationBinding)
      OSTRA_RETURN_IF_ERROR(numbers.Append(words[i + 3]));
    i += length;
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

Result<PipelineRef> Pipeline::Create(Device& device, const ContentKey& key, Block<const UInt32> spirv,
                                     Block<const PipelineBinding> bindings, VkPipelineCache cache) {
  Pipeline* pipeline = NewObj<Pipeline>(DeviceRef(&device), key);
  if (!pipeline) return OSTRA_OUT_OF_MEMORY();
  PipelineRef held = PipelineRef::Adopt(pipeline);
  for (Int i = 0; i < bindings.GetCount(); ++i) OSTRA_RETURN_IF_ERROR(pipeline->_bindings.Append(bindings[i]));
  OSTRA_RETURN_IF_ERROR(CheckLimits(device, pipeline->_bindings));
  OSTRA_RETURN_IF_ERROR(pipeline->Init(spirv, cache));
  return held;
}

Pipeline::~Pipeline() {
  GetDevice().GetPrograms().Forget(*this);
  const VkDevice device = GetDevice().GetHandle();
  if (_pipeline) vkDestroyPipeline(device, _pipeline, nullptr);
  if (_layout) vkDestroyPipelineLayout(device, _layout, nullptr);
  if (_setLayout) vkDestroyDescriptorSetLayout(device, _setLayout, nullptr);
}

Result<void> Pipeline::Init(Block<const UInt32> spirv, VkPipelineCache cache) {
  const VkDevice device = GetDevice().GetHandle();
  BaseArray<VkDescriptorSetLayoutBinding> bindings;
  for (const PipelineBinding& binding : _bindings) {
    VkDescriptorSetLayoutBinding description = {};
    description.binding = binding.number;
    description.descriptorType = binding.type;
    description.descriptorCount = 1;
    description.stageFlags = VK_SHADER_STAGE_COMPUTE_BIT;
    OSTRA_RETURN_IF_ERROR(bindings.Append(description));
  }
  VkDescriptorSetLayoutCreateInfo setInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
  setInfo.bindingCount = static_cast<UInt32>(bindings.GetCount());
  setInfo.pBindings = bindings.GetFirst();
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateDescriptorSetLayout(device, &setInfo, nullptr, &_setLayout)));

  VkPipelineLayoutCreateInfo layoutInfo = {VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
  layoutInfo.setLayoutCount = 1;
  layoutInfo.pSetLayouts = &_setLayout;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreatePipelineLayout(device, &layoutInfo, nullptr, &_layout)));

  VkShaderModuleCreateInfo moduleInfo = {VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
  moduleInfo.codeSize = static_cast<std::size_t>(spirv.GetCount()) * sizeof(UInt32);
  moduleInfo.pCode = spirv.GetFirst();
  ShaderModule shader(device);
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateShaderModule(device, &moduleInfo, nullptr, &shader.module)));

  VkComputePipelineCreateInfo info = {VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
  info.stage.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
  info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
  info.stage.module = shader.module;
  info.stage.pName = "main";
  info.layout = _layout;
  return OSTRA_VULKAN(vkCreateComputePipelines(device, cache, 1, &info, nullptr, &_pipeline));
}

void Pipeline::SetName(const CString& name) const {
  GetDevice().SetName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<UInt64>(_pipeline), name);
}

Result<DescriptorPoolRef> DescriptorPool::Create(Device& device, Block<const PipelineBinding> bindings, Int setCount) {
  DescriptorPool* pool = NewObj<DescriptorPool>(DeviceRef(&device));
  if (!pool) return OSTRA_OUT_OF_MEMORY();
  DescriptorPoolRef held = DescriptorPoolRef::Adopt(pool);
  BaseArray<VkDescriptorPoolSize> sizes;
  for (Int i = 0; i < bindings.GetCount(); ++i) {
    VkDescriptorPoolSize* known = std::find_if(
        sizes.begin(), sizes.end(), [&](const VkDescriptorPoolSize& size) { return size.type == bindings[i].type; });
    if (known == sizes.end()) {
      OSTRA_RETURN_IF_ERROR(sizes.Append(VkDescriptorPoolSize{bindings[i].type, 0}));
      known = sizes.end() - 1;
    }
    known->descriptorCount += static_cast<UInt32>(setCount);
  }
  VkDescriptorPoolCreateInfo info = {VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
  info.maxSets = static_cast<UInt32>(setCount);
  info.poolSizeCount = static_cast<UInt32>(sizes.GetCount());
  info.pPoolSizes = sizes.GetFirst();
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateDescriptorPool(device.GetHandle(), &info, nullptr, &pool->_pool)));
  return held;
}

DescriptorPool::~DescriptorPool() {
  if (_pool) vkDestroyDescriptorPool(GetDevice().GetHandle(), _pool, nullptr);
}

Result<VkDescriptorSet> DescriptorPool::Allocate(VkDescriptorSetLayout layout) {
  VkDescriptorSetAllocateInfo info = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
  info.descriptorPool = _pool;
  info.descriptorSetCount = 1;
  info.pSetLayouts = &layout;
  VkDescriptorSet set = VK_NULL_HANDLE;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkAllocateDescriptorSets(GetDevice().GetHandle(), &info, &set)));
  return set;
}

}  // namespace ostra::vulkan
