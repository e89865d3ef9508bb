#include <cstring>

#include "bench/vulkan/raw_vulkan.h"

namespace bench {
namespace {

#define BENCH_VULKAN(call) CheckVulkan(call, #call)

void ChangeLayout(VkCommandBuffer commands, VkImage image, VkImageLayout from, VkImageLayout to) {
  VkImageMemoryBarrier barrier = {VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER};
  barrier.srcAccessMask = VK_ACCESS_MEMORY_WRITE_BIT;
  barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
  barrier.oldLayout = from;
  barrier.newLayout = to;
  barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
  barrier.image = image;
  barrier.subresourceRange = RawImage::kWhole;
  vkCmdPipelineBarrier(commands, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 0, nullptr,
                       0, nullptr, 1, &barrier);
}

}  // namespace

RawTexture::RawTexture(RawDeviceRef device, VkFormat format, VkExtent3D extent, VkSamplerAddressMode wrap,
                       const void* texels, VkDeviceSize bytes)
    : _device(device),
      _image(std::move(device), format, extent, VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT) {
  VkSamplerCreateInfo sampler = {VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
  sampler.magFilter = VK_FILTER_LINEAR;
  sampler.minFilter = VK_FILTER_LINEAR;
  sampler.addressModeU = wrap;
  sampler.addressModeV = wrap;
  sampler.addressModeW = wrap;
  BENCH_VULKAN(vkCreateSampler(_device->GetHandle(), &sampler, nullptr, &_sampler));
  Fill(extent, texels, bytes);
}

RawTexture::~RawTexture() {
  if (_sampler) vkDestroySampler(_device->GetHandle(), _sampler, nullptr);
}

void RawTexture::Fill(VkExtent3D extent, const void* texels, VkDeviceSize bytes) {
  const RawBuffer staging(_device, bytes, RawMemory::Upload);
  std::memcpy(staging.GetMapped(), texels, bytes);
  const VkCommandBuffer commands = _device->MakeCommandBuffer();
  const VkFence fence = _device->MakeFence();
  BeginCommands(commands);
  ChangeLayout(commands, _image.GetHandle(), VK_IMAGE_LAYOUT_UNDEFINED, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL);
  VkBufferImageCopy region = {};
  region.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};
  region.imageExtent = extent;
  vkCmdCopyBufferToImage(commands, staging.GetHandle(), _image.GetHandle(), VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1,
                         &region);
  ChangeLayout(commands, _image.GetHandle(), VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
               VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL);
  BENCH_VULKAN(vkEndCommandBuffer(commands));
  _device->Submit(commands, fence);
  _device->Wait(fence);
}

}  // namespace bench
