// A phone that draws in tiles. No one product: small work groups, memory for attachments that is never written out,
// memory that the host caches only without coherence, no filter for 32-bit floats and no writing to narrow textures.
#include <algorithm>

#include "tests/pretended_device/devices.h"

namespace ostra::pretended {
namespace {

VkFormatFeatureFlags FindMissing(VkFormat format) {
  switch (format) {
    case VK_FORMAT_R32_SFLOAT:
    case VK_FORMAT_R32G32_SFLOAT:
    case VK_FORMAT_R32G32B32A32_SFLOAT:
      return VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT;
    case VK_FORMAT_R8_UNORM:
    case VK_FORMAT_R8_UINT:
    case VK_FORMAT_R8_SNORM:
    case VK_FORMAT_R8_SINT:
    case VK_FORMAT_R8G8_UNORM:
    case VK_FORMAT_R8G8_UINT:
    case VK_FORMAT_R8G8_SNORM:
    case VK_FORMAT_R8G8_SINT:
      return VK_FORMAT_FEATURE_STORAGE_IMAGE_BIT;
    default:
      return 0;
  }
}

}  // namespace

PretendedDevice MakePhone() {
  PretendedDevice device;
  device.key = "phone";
  device.name = "Pretended tile-based phone";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.apiVersion = VK_API_VERSION_1_2;
  device.findMissing = &FindMissing;
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    limits.maxComputeSharedMemorySize = std::min(limits.maxComputeSharedMemorySize, 32768u);
    limits.maxComputeWorkGroupInvocations = std::min(limits.maxComputeWorkGroupInvocations, 256u);
    for (uint32_t& size : limits.maxComputeWorkGroupSize) size = std::min(size, 256u);
    for (uint32_t& count : limits.maxComputeWorkGroupCount) count = std::min(count, 65535u);
    limits.maxStorageBufferRange = std::min(limits.maxStorageBufferRange, 1u << 27);
    limits.maxImageDimension2D = std::min(limits.maxImageDimension2D, 8192u);
    limits.maxImageDimension3D = std::min(limits.maxImageDimension3D, 2048u);
    limits.minUniformBufferOffsetAlignment = 64;
    limits.minStorageBufferOffsetAlignment = 64;
    limits.nonCoherentAtomSize = 64;
  };
  device.reduceFeatures = [](Features& features) {
    features.core.shaderFloat64 = VK_FALSE;
    features.core.geometryShader = VK_FALSE;
    features.core.wideLines = VK_FALSE;
    features.core.pipelineStatisticsQuery = VK_FALSE;
  };
  device.heaps = {{1024 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kDeviceLocal | kMapped, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | kCached, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT, .heap = 0}};
  device.queueFamilies = {
      {.flags = VK_QUEUE_TRANSFER_BIT | VK_QUEUE_COMPUTE_BIT | VK_QUEUE_GRAPHICS_BIT, .timestampBits = 48}};
  return device;
}

}  // namespace ostra::pretended
