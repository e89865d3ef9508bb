#include <cstring>
#include <stdexcept>

#include "bench/vulkan/raw_vulkan.h"

namespace bench {
namespace {

#define BENCH_VULKAN(call) CheckVulkan(call, #call)

constexpr VkImageSubresourceRange kWhole = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};

void ChangeLayout(VkCommandBuffer commands, VkImage image, VkImageLayout from, VkImageLayout to) {
  VkImageMemoryBarrier barrier = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
  barrier.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
  barrier.oldLayout = from;
  barrier.newLayout = to;
  barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.image = image;
  barrier.subresourceRange = kWhole;
  vkCmdPipelineBarrier(commands, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 0, nullptr,
                       0, nullptr, 1, &barrier);
}

}  // namespace

RawTexture::RawTexture(RawDeviceRef device, VkFormat format, VkExtent3D extent, VkSamplerAddressMode wrap,
                       const void* texels, VkDeviceSize bytes)
    : _device(std::move(device)) {
  const VkDevice handle = _device->GetHandle();
  const bool isVolume = extent.depth > 1;
  VkImageCreateInfo info = {VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
  info.imageType = isVolume ? VK_IMAGE_TYPE_3D : VK_IMAGE_TYPE_2D;
  info.format = format;
  info.extent = extent;
  info.mipLevels = 1;
  info.arrayLayers = 1;
  info.samples = VK_SAMPLE_COUNT_1_BIT;
  info.usage = VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
  BENCH_VULKAN(vkCreateImage(handle, &info, nullptr, &_image));
  VkMemoryRequirements requirements;
  vkGetImageMemoryRequirements(handle, _image, &requirements);
  const int type = _device->FindMemoryType(requirements.memoryTypeBits, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT, 0);
  if (type < 0) throw std::runtime_error("The device has no memory for textures.");
  VkMemoryAllocateInfo allocation = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
  allocation.allocationSize = requirements.size;
  allocation.memoryTypeIndex = static_cast<std::uint32_t>(type);
  BENCH_VULKAN(vkAllocateMemory(handle, &allocation, nullptr, &_memory));
  BENCH_VULKAN(vkBindImageMemory(handle, _image, _memory, 0));

  VkImageViewCreateInfo view = {VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
  view.image = _image;
  view.viewType = isVolume ? VK_IMAGE_VIEW_TYPE_3D : VK_IMAGE_VIEW_TYPE_2D;
  view.format = format;
  view.subresourceRange = kWhole;
  BENCH_VULKAN(vkCreateImageView(handle, &view, nullptr, &_view));
  VkSamplerCreateInfo sampler = {VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
  sampler.magFilter = VK_FILTER_LINEAR;
  sampler.minFilter = VK_FILTER_LINEAR;
  sampler.addressModeU = wrap;
  sampler.addressModeV = wrap;
  sampler.addressModeW = wrap;
  BENCH_VULKAN(vkCreateSampler(handle, &sampler, nullptr, &_sampler));
  Fill(extent, texels, bytes);
}

RawTexture::~RawTexture() {
  const VkDevice handle = _device->GetHandle();
  if (_sampler) vkDestroySampler(handle, _sampler, nullptr);
  if (_view) vkDestroyImageView(handle, _view, nullptr);
  if (_image) vkDestroyImage(handle, _image, nullptr);
  if (_memory) vkFreeMemory(handle, _memory, nullptr);
}

void RawTexture::Fill(VkExtent3D extent, const void* texels, VkDeviceSize bytes) {
  const RawBuffer staging(_device, bytes, RawMemory::Upload);
  std::memcpy(staging.GetMapped(), texels, bytes);
  const VkCommandBuffer commands = _device->MakeCommandBuffer();
  const VkFence fence = _device->MakeFence();
  BeginCommands(commands);
  ChangeLayout(commands, _image, VK_IMAGE_LAYOUT_UNDEFINED, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL);
  VkBufferImageCopy region = {};
  region.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
  region.imageExtent = extent;
  vkCmdCopyBufferToImage(commands, staging.GetHandle(), _image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &region);
  ChangeLayout(commands, _image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL);
  BENCH_VULKAN(vkEndCommandBuffer(commands));
  _device->Submit(commands, fence);
  _device->Wait(fence);
}

}  // namespace bench
