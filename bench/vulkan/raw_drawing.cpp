#include "bench/vulkan/raw_drawing.h"

#include <cstring>

namespace bench {
namespace {

#define BENCH_VULKAN(call) CheckVulkan(call, #call)

constexpr VkFormat kFormat = VK_FORMAT_R32G32B32A32_SFLOAT;
constexpr std::int64_t kTexelSize = 4 * sizeof(float);

VkShaderModule MakeModule(VkDevice device, const std::string& text, bool isVertex) {
  const std::vector<std::uint32_t> words = CompileGlsl(text, isVertex);
  VkShaderModuleCreateInfo info = {VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO};
  info.codeSize = words.size() * sizeof(std::uint32_t);
  info.pCode = words.data();
  VkShaderModule module = VK_NULL_HANDLE;
  BENCH_VULKAN(vkCreateShaderModule(device, &info, nullptr, &module));
  return module;
}

void Barrier(VkCommandBuffer commands, VkPipelineStageFlags from, VkAccessFlags fromAccess, VkPipelineStageFlags to,
             VkAccessFlags toAccess) {
  VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
  barrier.srcAccessMask = fromAccess;
  barrier.dstAccessMask = toAccess;
  vkCmdPipelineBarrier(commands, from, to, 0, 1, &barrier, 0, nullptr, 0, nullptr);
}

}  // namespace

RawDrawing::RawDrawing(RawDeviceRef device, const RawStages& stages, std::uint32_t size, std::size_t uniformBytes,
                       int draws, const std::vector<float>& vertices)
    : _device(device),
      _size(size),
      _vertexCount(static_cast<std::uint32_t>(vertices.size() / 2)),
      _target(std::move(device), kFormat, {size, size, 1},
              VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT | VK_IMAGE_USAGE_TRANSFER_SRC_BIT) {
  const auto alignment = static_cast<std::int64_t>(_device->GetLimits().minUniformBufferOffsetAlignment);
  _stride = (static_cast<std::int64_t>(uniformBytes) + alignment - 1) / alignment * alignment;
  _uniforms = std::make_unique<RawBuffer>(_device, static_cast<VkDeviceSize>(_stride * draws), RawMemory::Upload);
  _vertices = std::make_unique<RawBuffer>(_device, vertices.size() * sizeof(float), RawMemory::Device);
  _vertices->Write(vertices.data());
  MakeSet(uniformBytes);
  MakePipeline(stages);
  _commands = _device->MakeCommandBuffer();
  _fence = _device->MakeFence();
}

RawDrawing::~RawDrawing() {
  const VkDevice handle = _device->GetHandle();
  vkDeviceWaitIdle(handle);
  if (_pipeline) vkDestroyPipeline(handle, _pipeline, nullptr);
  if (_layout) vkDestroyPipelineLayout(handle, _layout, nullptr);
  if (_pool) vkDestroyDescriptorPool(handle, _pool, nullptr);
  if (_setLayout) vkDestroyDescriptorSetLayout(handle, _setLayout, nullptr);
}

void RawDrawing::MakeSet(std::size_t uniformBytes) {
  const VkDevice handle = _device->GetHandle();
  const VkDescriptorSetLayoutBinding binding = {0, VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1,
                                                VK_SHADER_STAGE_VERTEX_BIT | VK_SHADER_STAGE_FRAGMENT_BIT, nullptr};
  VkDescriptorSetLayoutCreateInfo setInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_LAYOUT_CREATE_INFO};
  setInfo.bindingCount = 1;
  setInfo.pBindings = &binding;
  BENCH_VULKAN(vkCreateDescriptorSetLayout(handle, &setInfo, nullptr, &_setLayout));
  const VkDescriptorPoolSize size = {VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC, 1};
  VkDescriptorPoolCreateInfo poolInfo = {VK_STRUCTURE_TYPE_DESCRIPTOR_POOL_CREATE_INFO};
  poolInfo.maxSets = 1;
  poolInfo.poolSizeCount = 1;
  poolInfo.pPoolSizes = &size;
  BENCH_VULKAN(vkCreateDescriptorPool(handle, &poolInfo, nullptr, &_pool));
  VkDescriptorSetAllocateInfo allocation = {VK_STRUCTURE_TYPE_DESCRIPTOR_SET_ALLOCATE_INFO};
  allocation.descriptorPool = _pool;
  allocation.descriptorSetCount = 1;
  allocation.pSetLayouts = &_setLayout;
  BENCH_VULKAN(vkAllocateDescriptorSets(handle, &allocation, &_set));
  const VkDescriptorBufferInfo buffer = {_uniforms->GetHandle(), 0, uniformBytes};
  VkWriteDescriptorSet write = {VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
  write.dstSet = _set;
  write.descriptorCount = 1;
  write.descriptorType = VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC;
  write.pBufferInfo = &buffer;
  vkUpdateDescriptorSets(handle, 1, &write, 0, nullptr);
}

void RawDrawing::MakePipeline(const RawStages& stages) {
  const VkDevice handle = _device->GetHandle();
  VkPipelineLayoutCreateInfo layoutInfo = {VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO};
  layoutInfo.setLayoutCount = 1;
  layoutInfo.pSetLayouts = &_setLayout;
  BENCH_VULKAN(vkCreatePipelineLayout(handle, &layoutInfo, nullptr, &_layout));

  VkPipelineShaderStageCreateInfo stageInfos[2] = {};
  for (const bool isVertex : {true, false}) {
    VkPipelineShaderStageCreateInfo& info = stageInfos[isVertex ? 0 : 1];
    info.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
    info.stage = isVertex ? VK_SHADER_STAGE_VERTEX_BIT : VK_SHADER_STAGE_FRAGMENT_BIT;
    info.module = MakeModule(handle, isVertex ? stages.vertex : stages.fragment, isVertex);
    info.pName = "main";
  }
  const VkVertexInputBindingDescription binding = {0, 2 * sizeof(float), VK_VERTEX_INPUT_RATE_VERTEX};
  const VkVertexInputAttributeDescription attribute = {0, 0, VK_FORMAT_R32G32_SFLOAT, 0};
  VkPipelineVertexInputStateCreateInfo input = {VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};
  input.vertexBindingDescriptionCount = 1;
  input.pVertexBindingDescriptions = &binding;
  input.vertexAttributeDescriptionCount = 1;
  input.pVertexAttributeDescriptions = &attribute;
  VkPipelineInputAssemblyStateCreateInfo assembly = {VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
  assembly.topology = VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
  // y grows upwards.
  const VkViewport viewport = {0, static_cast<float>(_size), static_cast<float>(_size), -static_cast<float>(_size), 0,
                               1};
  const VkRect2D scissor = {{0, 0}, {_size, _size}};
  VkPipelineViewportStateCreateInfo viewports = {VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};
  viewports.viewportCount = 1;
  viewports.pViewports = &viewport;
  viewports.scissorCount = 1;
  viewports.pScissors = &scissor;
  VkPipelineRasterizationStateCreateInfo raster = {VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
  raster.lineWidth = 1;
  VkPipelineMultisampleStateCreateInfo samples = {VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO};
  samples.rasterizationSamples = VK_SAMPLE_COUNT_1_BIT;
  VkPipelineColorBlendAttachmentState attachment = {};
  attachment.colorWriteMask = 0xF;
  VkPipelineColorBlendStateCreateInfo blend = {VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO};
  blend.attachmentCount = 1;
  blend.pAttachments = &attachment;
  VkPipelineRenderingCreateInfoKHR rendering = {VK_STRUCTURE_TYPE_PIPELINE_RENDERING_CREATE_INFO_KHR};
  rendering.colorAttachmentCount = 1;
  rendering.pColorAttachmentFormats = &kFormat;
  VkGraphicsPipelineCreateInfo info = {VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO};
  info.pNext = &rendering;
  info.stageCount = 2;
  info.pStages = stageInfos;
  info.pVertexInputState = &input;
  info.pInputAssemblyState = &assembly;
  info.pViewportState = &viewports;
  info.pRasterizationState = &raster;
  info.pMultisampleState = &samples;
  info.pColorBlendState = &blend;
  info.layout = _layout;
  const VkResult result = vkCreateGraphicsPipelines(handle, VK_NULL_HANDLE, 1, &info, nullptr, &_pipeline);
  for (const VkPipelineShaderStageCreateInfo& stage : stageInfos) vkDestroyShaderModule(handle, stage.module, nullptr);
  CheckVulkan(result, "vkCreateGraphicsPipelines");
}

void RawDrawing::Begin() {
  BeginCommands(_commands);
  VkImageMemoryBarrier barrier = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
  barrier.dstAccessMask = VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT;
  barrier.newLayout = VK_IMAGE_LAYOUT_GENERAL;
  barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.image = _target.GetHandle();
  barrier.subresourceRange = RawImage::kWhole;
  vkCmdPipelineBarrier(_commands, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT, 0,
                       0, nullptr, 0, nullptr, 1, &barrier);
  VkRenderingAttachmentInfoKHR color = {VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO_KHR};
  color.imageView = _target.GetView();
  color.imageLayout = VK_IMAGE_LAYOUT_GENERAL;
  color.loadOp = VK_ATTACHMENT_LOAD_OP_CLEAR;
  color.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
  VkRenderingInfoKHR rendering = {VK_STRUCTURE_TYPE_RENDERING_INFO_KHR};
  rendering.renderArea.extent = {_size, _size};
  rendering.layerCount = 1;
  rendering.colorAttachmentCount = 1;
  rendering.pColorAttachments = &color;
  vkCmdBeginRenderingKHR(_commands, &rendering);
  vkCmdBindPipeline(_commands, VK_PIPELINE_BIND_POINT_GRAPHICS, _pipeline);
  const VkBuffer vertices = _vertices->GetHandle();
  const VkDeviceSize offset = 0;
  vkCmdBindVertexBuffers(_commands, 0, 1, &vertices, &offset);
}

void RawDrawing::End() {
  vkCmdEndRenderingKHR(_commands);
  Barrier(_commands, VK_PIPELINE_STAGE_COLOR_ATTACHMENT_OUTPUT_BIT, VK_ACCESS_COLOR_ATTACHMENT_WRITE_BIT,
          VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_READ_BIT);
  BENCH_VULKAN(vkEndCommandBuffer(_commands));
  _device->Submit(_commands, _fence);
  _device->Wait(_fence);
}

std::vector<float> RawDrawing::Read() {
  const std::int64_t bytes = kTexelSize * _size * _size;
  const RawBuffer staging(_device, static_cast<VkDeviceSize>(bytes), RawMemory::ReadBack);
  BeginCommands(_commands);
  VkBufferImageCopy region = {};
  region.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
  region.imageExtent = {_size, _size, 1};
  vkCmdCopyImageToBuffer(_commands, _target.GetHandle(), VK_IMAGE_LAYOUT_GENERAL, staging.GetHandle(), 1, &region);
  Barrier(_commands, VK_PIPELINE_STAGE_TRANSFER_BIT, VK_ACCESS_TRANSFER_WRITE_BIT, VK_PIPELINE_STAGE_HOST_BIT,
          VK_ACCESS_HOST_READ_BIT);
  BENCH_VULKAN(vkEndCommandBuffer(_commands));
  _device->Submit(_commands, _fence);
  _device->Wait(_fence);
  std::vector<float> texels(static_cast<std::size_t>(bytes) / sizeof(float));
  std::memcpy(texels.data(), staging.GetMapped(), static_cast<std::size_t>(bytes));
  return texels;
}

}  // namespace bench
