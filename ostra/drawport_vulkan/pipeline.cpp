#include "ostra/drawport_vulkan/pipeline.h"

#include <algorithm>

#include "ostra/drawport_vulkan/program_store.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

struct KindLimit {
  VkDescriptorType type;
  UInt32 VkPhysicalDeviceLimits::*limit;
  Bool isPerStage;
  const char* name;
};
constexpr KindLimit kKindLimits[] = {
    {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER, &VkPhysicalDeviceLimits::maxPerStageDescriptorStorageBuffers, true, "buffers"},
    {VK_DESCRIPTOR_TYPE_STORAGE_BUFFER_DYNAMIC, &VkPhysicalDeviceLimits::maxDescriptorSetStorageBuffersDynamic, false,
     "values without a type code and stages with gradients"},
    {VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER, &VkPhysicalDeviceLimits::maxPerStageDescriptorSampledImages, true,
     "textures"},
    {VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER, &VkPhysicalDeviceLimits::maxPerStageDescriptorSamplers, true,
     "textures"},
    {VK_DESCRIPTOR_TYPE_STORAGE_IMAGE, &VkPhysicalDeviceLimits::maxPerStageDescriptorStorageImages, true, "images"},
};

Result<void> CheckLimits(const Device& device, const BaseArray<PipelineStage>& stages,
                         const BaseArray<PipelineBinding>& bindings) {
  for (const KindLimit& kind : kKindLimits) {
    UInt32 all = 0, most = 0;  // of one stage
    for (const PipelineStage& stage : stages) {
      const auto count =
          static_cast<UInt32>(std::count_if(bindings.begin(), bindings.end(), [&](const PipelineBinding& binding) {
            return binding.type == kind.type && (binding.stages & GetStageFlag(stage.stage)) != 0;
          }));
      all += count;
      most = std::max(most, count);
    }
    const UInt32 count = kind.isPerStage ? most : all;
    const UInt32 limit = device.GetLimits().*kind.limit;
    if (count > limit)
      return OSTRA_ILLEGAL_ARGUMENT("The GPU program uses @ @@; the GPU device has room for @.", count, kind.name,
                                    kind.isPerStage && stages.GetCount() > 1 ? " in one stage" : "", limit);
  }
  return OK;
}

}  // namespace

VkShaderStageFlagBits GetStageFlag(DrawportStage stage) {
  switch (stage) {
    case DrawportStage::Vertex:
      return VK_SHADER_STAGE_VERTEX_BIT;
    case DrawportStage::TessellationControl:
      return VK_SHADER_STAGE_TESSELLATION_CONTROL_BIT;
    case DrawportStage::TessellationEvaluation:
      return VK_SHADER_STAGE_TESSELLATION_EVALUATION_BIT;
    case DrawportStage::Fragment:
      return VK_SHADER_STAGE_FRAGMENT_BIT;
    case DrawportStage::Compute:
      break;
  }
  return VK_SHADER_STAGE_COMPUTE_BIT;
}

Result<PipelineRef> Pipeline::Create(Device& device, const ContentKey& key, BaseArray<PipelineStage> stages,
                                     Block<const PipelineBinding> bindings, VkPipelineCache cache) {
  Pipeline* pipeline = NewObj<Pipeline>(DeviceRef(&device), key);
  if (!pipeline) return OSTRA_OUT_OF_MEMORY();
  PipelineRef held = PipelineRef::Adopt(pipeline);
  for (Int i = 0; i < bindings.GetCount(); ++i) OSTRA_RETURN_IF_ERROR(pipeline->_bindings.Append(bindings[i]));
  pipeline->_stages = std::move(stages);
  OSTRA_RETURN_IF_ERROR(CheckLimits(device, pipeline->_stages, pipeline->_bindings));
  OSTRA_RETURN_IF_ERROR(pipeline->Init(cache));
  return held;
}

Pipeline::~Pipeline() {
  GetDevice().GetPrograms().Forget(*this);
  if (GetDevice().IsHung()) return;
  const VkDevice device = GetDevice().GetHandle();
  for (const Variant& variant : _variants) vkDestroyPipeline(device, variant.pipeline, nullptr);
  if (_pipeline) vkDestroyPipeline(device, _pipeline, nullptr);
  for (const VkShaderModule module : _modules)
    if (module) vkDestroyShaderModule(device, module, nullptr);
  if (_layout) vkDestroyPipelineLayout(device, _layout, nullptr);
  if (_setLayout) vkDestroyDescriptorSetLayout(device, _setLayout, nullptr);
}

Result<void> Pipeline::Init(VkPipelineCache cache) {
  _cache = cache;
  const VkDevice device = GetDevice().GetHandle();
  BaseArray<VkDescriptorSetLayoutBinding> bindings;
  for (const PipelineBinding& binding : _bindings) {
    VkDescriptorSetLayoutBinding description = {};
    description.binding = binding.number;
    description.descriptorType = binding.type;
    description.descriptorCount = 1;
    description.stageFlags = binding.stages;
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

  OSTRA_RETURN_IF_ERROR(_modules.Resize(_stages.GetCount()));
  for (Int i = 0; i < _stages.GetCount(); ++i) {
    VkShaderModuleCreateInfo moduleInfo = {VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
    moduleInfo.codeSize = static_cast<std::size_t>(_stages[i].words.GetCount()) * sizeof(UInt32);
    moduleInfo.pCode = _stages[i].words.GetFirst();
    OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateShaderModule(device, &moduleInfo, nullptr, &_modules[i])));
    _stages[i].words = {};
  }
  return IsGraphics() ? Result<void>(OK) : InitCompute();
}

Result<void> Pipeline::InitCompute() {
  const VkDevice device = GetDevice().GetHandle();
  VkComputePipelineCreateInfo info = {VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
  info.stage.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
  info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
  info.stage.module = _modules[0];
  info.stage.pName = "main";
  info.layout = _layout;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreateComputePipelines(device, _cache, 1, &info, nullptr, &_pipeline)));
  // Nothing else is made of it.
  vkDestroyShaderModule(device, std::exchange(_modules[0], VK_NULL_HANDLE), nullptr);
  return OK;
}

const PipelineStage* Pipeline::FindStage(DrawportStage stage) const {
  for (const PipelineStage& known : _stages)
    if (known.stage == stage) return &known;
  return nullptr;
}

Result<VkPipeline> Pipeline::GetVariant(const GraphicsState& state) {
  std::optional<std::chrono::steady_clock::time_point> compiledSince;
  OSTRA_ASSIGN_OR_RETURN(const VkPipeline variant, FindOrCreateVariant(state, compiledSince));
  if (compiledSince) GetDevice().GetPrograms().NoteCompiled(*compiledSince);
  return variant;
}

Result<VkPipeline> Pipeline::FindOrCreateVariant(const GraphicsState& state,
                                                 std::optional<std::chrono::steady_clock::time_point>& compiledSince) {
  const std::scoped_lock lock(_mutex);
  for (const Variant& known : _variants)
    if (known.state == state) return known.pipeline;
  OSTRA_RETURN_IF_ERROR(_variants.Reserve(_variants.GetCount() + 1));
  const auto begin = std::chrono::steady_clock::now();
  OSTRA_ASSIGN_OR_RETURN(VkPipeline made, CreateVariant(state));
  compiledSince = begin;
  GetDevice().SetName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<UInt64>(made), _name);
  OSTRA_RETURN_IF_ERROR(_variants.Append(Variant{state, made}));  // there is room
  return made;
}

void Pipeline::SetName(const CString& name) {
  _name = name;
  if (_pipeline) GetDevice().SetName(VK_OBJECT_TYPE_PIPELINE, reinterpret_cast<UInt64>(_pipeline), name);
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
  if (_pool && !GetDevice().IsHung()) vkDestroyDescriptorPool(GetDevice().GetHandle(), _pool, nullptr);
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
