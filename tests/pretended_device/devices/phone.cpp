// A phone that draws in tiles. No single product: small work groups, memory for attachments that is never written out,
// memory that the host caches only without coherence, no filter for 32-bit floats and no writing to narrow textures.
#include "tests/pretended_device/device_parts.h"
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
    Cap(limits.maxComputeSharedMemorySize, 32768);
    Cap(limits.maxComputeWorkGroupInvocations, 256);
    CapWorkGroups(limits, {65535, 65535, 65535}, {256, 256, 256});
    Cap(limits.maxStorageBufferRange, 1u << 27);
    Cap(limits.maxImageDimension2D, 8192);
    Cap(limits.maxImageDimension3D, 2048);
    SetOffsetAlignments(limits, 64, 64);
    limits.nonCoherentAtomSize = 64;
  };
  device.reduceFeatures = [](Features& features) { RemoveDesktopFeatures(features.core); };
  device.heaps = {{1024 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kDeviceLocal | kMapped, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | kCached, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT, .heap = 0}};
  device.queueFamilies = {{.flags = kGraphicsQueue, .timestampBits = 48}};
  return device;
}

}  // namespace ostra::pretended
