#include <cstring>
#include <stdexcept>

#include "bench/vulkan/raw_vulkan.h"

namespace bench {
namespace {

#define BENCH_VULKAN(call) CheckVulkan(call, #call)

std::uint32_t Find(const std::vector<Shader::Place>& places, const std::string& name) {
  for (const Shader::Place& place : places)
    if (place.name == name) return place.number;
  throw std::runtime_error("The shader has no parameter \"" + name + "\".");
}

}  // namespace

RawKernel::RawKernel(RawDeviceRef device, Shader shader) : _device(std::move(device)), _shader(std::move(shader)) {
  const VkDevice handle = _device->GetHandle();
  std::vector<VkDescriptorSetLayoutBinding> bindings;
  const auto add = [&](std::uint32_t number, VkDescriptorType type) {
    bindings.push_back({number, type, 1, VK_SHADER_STAGE_COMPUTE_BIT, nullptr});
  };
  if (_shader.uniformBytes > 0) add(_shader.uniformBinding, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER);
  for (const Shader::Place& buffer : _shader.buffers) add(buffer.number, VK_DESCRIPTOR_TYPE_STORAGE_BUFFER);
  for (const Shader::Place& texture : _shader.textures) add(texture.number, VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER);
  VkDescriptorSetLayoutCreateInfo setInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
  setInfo.bindingCount = static_cast<std::uint32_t>(bindings.size());
  setInfo.pBindings = bindings.data();
  BENCH_VULKAN(vkCreateDescriptorSetLayout(handle, &setInfo, nullptr, &_setLayout));
  VkPipelineLayoutCreateInfo layoutInfo = {VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
  layoutInfo.setLayoutCount = 1;
  layoutInfo.pSetLayouts = &_setLayout;
  BENCH_VULKAN(vkCreatePipelineLayout(handle, &layoutInfo, nullptr, &_layout));

  VkShaderModuleCreateInfo moduleInfo = {VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
  moduleInfo.codeSize = _shader.words.size() * sizeof(std::uint32_t);
  moduleInfo.pCode = _shader.words.data();
  VkShaderModule module = VK_NULL_HANDLE;
  BENCH_VULKAN(vkCreateShaderModule(handle, &moduleInfo, nullptr, &module));
  VkComputePipelineCreateInfo info = {VK_STRUCTURE_TYPE_COMPUTE_PIPELINE_CREATE_INFO};
  info.stage = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
  info.stage.stage = VK_SHADER_STAGE_COMPUTE_BIT;
  info.stage.module = module;
  info.stage.pName = "main";
  info.layout = _layout;
  const VkResult result = vkCreateComputePipelines(handle, VK_NULL_HANDLE, 1, &info, nullptr, &_pipeline);
  vkDestroyShaderModule(handle, module, nullptr);
  CheckVulkan(result, "vkCreateComputePipelines");

  constexpr std::uint32_t kSets = 2;
  std::vector<VkDescriptorPoolSize> sizes = {{VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER, kSets}};
  for (const VkDescriptorSetLayoutBinding& binding : bindings) sizes.push_back({binding.descriptorType, kSets});
  VkDescriptorPoolCreateInfo poolInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
  poolInfo.maxSets = kSets;
  poolInfo.poolSizeCount = static_cast<std::uint32_t>(sizes.size());
  poolInfo.pPoolSizes = sizes.data();
  BENCH_VULKAN(vkCreateDescriptorPool(handle, &poolInfo, nullptr, &_pool));
  _set = AllocateSet();

  _commands = _device->MakeCommandBuffer();
  _fence = _device->MakeFence();
  if (_shader.uniformBytes == 0) return;
  _values.resize(_shader.uniformBytes);
  _uniforms = std::make_unique<RawBuffer>(_device, _shader.uniformBytes, RawMemory::Upload);
  VkDescriptorBufferInfo buffer = {_uniforms->GetHandle(), 0, _shader.uniformBytes};
  VkWriteDescriptorSet write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
  write.dstSet = _set;
  write.dstBinding = _shader.uniformBinding;
  write.descriptorCount = 1;
  write.descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER;
  write.pBufferInfo = &buffer;
  vkUpdateDescriptorSets(handle, 1, &write, 0, nullptr);
}

VkDescriptorSet RawKernel::AllocateSet() {
  VkDescriptorSetAllocateInfo allocation = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
  allocation.descriptorPool = _pool;
  allocation.descriptorSetCount = 1;
  allocation.pSetLayouts = &_setLayout;
  VkDescriptorSet set = VK_NULL_HANDLE;
  BENCH_VULKAN(vkAllocateDescriptorSets(_device->GetHandle(), &allocation, &set));
  return set;
}

// What the first set has, but for two buffers, which change places.
void RawKernel::MakeSwappedSet(std::uint32_t first, std::uint32_t second) {
  _swapped = AllocateSet();
  std::vector<VkCopyDescriptorSet> copies;
  const auto copy = [&](std::uint32_t from, std::uint32_t to) {
    VkCopyDescriptorSet each = {VK_STRUCTURE_TYPE_COPY_DESCRIPTOR_SET};
    each.srcSet = _set;
    each.srcBinding = from;
    each.dstSet = _swapped;
    each.dstBinding = to;
    each.descriptorCount = 1;
    copies.push_back(each);
  };
  if (_shader.uniformBytes > 0) copy(_shader.uniformBinding, _shader.uniformBinding);
  for (const Shader::Place& buffer : _shader.buffers)
    copy(buffer.number, buffer.number == first ? second : buffer.number == second ? first : buffer.number);
  for (const Shader::Place& texture : _shader.textures) copy(texture.number, texture.number);
  vkUpdateDescriptorSets(_device->GetHandle(), 0, nullptr, static_cast<std::uint32_t>(copies.size()), copies.data());
}

RawKernel::~RawKernel() {
  const VkDevice handle = _device->GetHandle();
  vkDeviceWaitIdle(handle);
  vkDestroyDescriptorPool(handle, _pool, nullptr);
  vkDestroyPipeline(handle, _pipeline, nullptr);
  vkDestroyPipelineLayout(handle, _layout, nullptr);
  vkDestroyDescriptorSetLayout(handle, _setLayout, nullptr);
}

void RawKernel::SetBuffer(const std::string& name, RawBufferRef buffer) {
  VkDescriptorBufferInfo info = {buffer->GetHandle(), 0, buffer->GetSize()};
  VkWriteDescriptorSet write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
  write.dstSet = _set;
  write.dstBinding = Find(_shader.buffers, name);
  write.descriptorCount = 1;
  write.descriptorType = VK_DESCRIPTOR_TYPE_STORAGE_BUFFER;
  write.pBufferInfo = &info;
  vkUpdateDescriptorSets(_device->GetHandle(), 1, &write, 0, nullptr);
  _buffers.push_back(std::move(buffer));
}

void RawKernel::SetTexture(const std::string& name, RawTextureRef texture) {
  const VkDescriptorImageInfo info = texture->GetDescription();
  VkWriteDescriptorSet write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
  write.dstSet = _set;
  write.dstBinding = Find(_shader.textures, name);
  write.descriptorCount = 1;
  write.descriptorType = VK_DESCRIPTOR_TYPE_COMBINED_IMAGE_SAMPLER;
  write.pImageInfo = &info;
  vkUpdateDescriptorSets(_device->GetHandle(), 1, &write, 0, nullptr);
  _textures.push_back(std::move(texture));
}

void RawKernel::SetUniform(const std::string& name, const void* value, std::size_t bytes) {
  std::memcpy(_values.data() + Find(_shader.uniforms, name), value, bytes);
}

void RawKernel::Record(GroupCounts groups, int dispatches, const VkDescriptorSet (&sets)[2]) {
  if (!_values.empty()) std::memcpy(_uniforms->GetMapped(), _values.data(), _values.size());
  BeginCommands(_commands);
  RecordDispatches(_commands, groups, dispatches, sets);
  BENCH_VULKAN(vkEndCommandBuffer(_commands));
}

void RawKernel::RecordDispatches(VkCommandBuffer commands, GroupCounts groups, int dispatches,
                                 const VkDescriptorSet (&sets)[2]) {
  vkCmdBindPipeline(commands, VK_PIPELINE_BIND_POINT_COMPUTE, _pipeline);
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = VK_ACCESS_SHADER_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_SHADER_READ_BIT | VK_ACCESS_SHADER_WRITE_BIT;
  for (int i = 0; i < dispatches; ++i) {
    if (i == 0 || sets[0] != sets[1])
      vkCmdBindDescriptorSets(commands, VK_PIPELINE_BIND_POINT_COMPUTE, _layout, 0, 1, &sets[i % 2], 0, nullptr);
    vkCmdPipelineBarrier(commands, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, VK_PIPELINE_STAGE_COMPUTE_SHADER_BIT, 0, 1,
                         &barrier, 0, nullptr, 0, nullptr);
    vkCmdDispatch(commands, groups.x, groups.y, 1);
  }
}

void RawKernel::Run(GroupCounts groups, int dispatches, bool usesTimeline) {
  Record(groups, dispatches, {_set, _set});
  if (usesTimeline) return _device->SubmitAndWaitOnTimeline(_commands);
  _device->Submit(_commands, _fence);
  _device->Wait(_fence);
}

void RawKernel::RunSwapping(GroupCounts groups, int dispatches, const std::string& first, const std::string& second) {
  if (!_swapped) MakeSwappedSet(Find(_shader.buffers, first), Find(_shader.buffers, second));
  Record(groups, dispatches, {_set, _swapped});
  _device->Submit(_commands, _fence);
  _device->Wait(_fence);
}

void RawKernel::RecordSecondary(GroupCounts groups, int dispatches, const std::string& first,
                                const std::string& second) {
  if (!_swapped) MakeSwappedSet(Find(_shader.buffers, first), Find(_shader.buffers, second));
  _secondary = _device->MakeCommandBuffer(VK_COMMAND_BUFFER_LEVEL_SECONDARY);
  const VkCommandBufferInheritanceInfo inheritance = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_INHERITANCE_INFO};
  VkCommandBufferBeginInfo info = {VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
  info.pInheritanceInfo = &inheritance;
  BENCH_VULKAN(vkBeginCommandBuffer(_secondary, &info));
  RecordDispatches(_secondary, groups, dispatches, {_set, _swapped});
  BENCH_VULKAN(vkEndCommandBuffer(_secondary));
}

void RawKernel::RunSecondary() {
  if (!_values.empty()) std::memcpy(_uniforms->GetMapped(), _values.data(), _values.size());
  BeginCommands(_commands);
  vkCmdExecuteCommands(_commands, 1, &_secondary);
  BENCH_VULKAN(vkEndCommandBuffer(_commands));
  _device->Submit(_commands, _fence);
  _device->Wait(_fence);
}

}  // namespace bench
