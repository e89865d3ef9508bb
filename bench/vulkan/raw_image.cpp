#include <stdexcept>

#include "bench/vulkan/raw_vulkan.h"

namespace bench {

#define BENCH_VULKAN(call) CheckVulkan(call, #call)

RawImage::RawImage(RawDeviceRef device, VkFormat format, VkExtent3D extent, VkImageUsageFlags usage)
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
  info.usage = usage;
  BENCH_VULKAN(vkCreateImage(handle, &info, nullptr, &_image));
  VkMemoryRequirements requirements;
  vkGetImageMemoryRequirements(handle, _image, &requirements);
  const int type = _device->FindMemoryType(requirements.memoryTypeBits, VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT, 0);
  if (type < 0) throw std::runtime_error("The device has no memory for images.");
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
}

RawImage::~RawImage() {
  const VkDevice handle = _device->GetHandle();
  if (_view) vkDestroyImageView(handle, _view, nullptr);
  if (_image) vkDestroyImage(handle, _image, nullptr);
  if (_memory) vkFreeMemory(handle, _memory, nullptr);
}

}  // namespace bench
