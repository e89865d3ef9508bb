#include "ostra/drawport_vulkan/snapshot.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

DeviceKind GetKind(VkPhysicalDeviceType type) {
  switch (type) {
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU:
      return DeviceKind::Discrete;
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU:
      return DeviceKind::Integrated;
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU:
      return DeviceKind::Virtual;
    case VK_PHYSICAL_DEVICE_TYPE_CPU:
      return DeviceKind::Software;
    default:
      return DeviceKind::Other;
  }
}

Result<void> TakeQueueFamilies(VkPhysicalDevice device, DeviceSnapshot& snapshot) {
  UInt32 count = 0;
  vkGetPhysicalDeviceQueueFamilyProperties(device, &count, nullptr);
  BaseArray<VkQueueFamilyProperties> families;
  OSTRA_RETURN_IF_ERROR(families.Resize(count));
  vkGetPhysicalDeviceQueueFamilyProperties(device, &count, families.GetFirst());
  for (const VkQueueFamilyProperties& family : families) {
    const QueueFamilySnapshot taken{.hasGraphics = (family.queueFlags & VK_QUEUE_GRAPHICS_BIT) != 0,
                                    .hasCompute = (family.queueFlags & VK_QUEUE_COMPUTE_BIT) != 0};
    OSTRA_RETURN_IF_ERROR(snapshot.queueFamilies.Append(taken));
  }
  return OK;
}

Result<void> TakeMemory(VkPhysicalDevice device, DeviceSnapshot& snapshot) {
  VkPhysicalDeviceMemoryProperties memory;
  vkGetPhysicalDeviceMemoryProperties(device, &memory);
  for (UInt32 i = 0; i < memory.memoryHeapCount; ++i) {
    const MemoryHeapSnapshot taken{
        .size = static_cast<Int>(memory.memoryHeaps[i].size),
        .isDeviceLocal = (memory.memoryHeaps[i].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0};
    OSTRA_RETURN_IF_ERROR(snapshot.heaps.Append(taken));
  }
  for (UInt32 i = 0; i < memory.memoryTypeCount; ++i) {
    const VkMemoryPropertyFlags flags = memory.memoryTypes[i].propertyFlags;
    constexpr VkMemoryPropertyFlags kMapped =
        VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
    const MemoryTypeSnapshot taken{.heap = memory.memoryTypes[i].heapIndex,
                                   .isDeviceLocal = (flags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT) != 0,
                                   .isHostVisible = (flags & kMapped) == kMapped,
                                   .isHostCached = (flags & VK_MEMORY_PROPERTY_HOST_CACHED_BIT) != 0};
    OSTRA_RETURN_IF_ERROR(snapshot.memoryTypes.Append(taken));
  }
  return OK;
}

}  // namespace

Result<DeviceSnapshot> TakeSnapshot(VkPhysicalDevice device) {
  VkPhysicalDeviceProperties properties;
  vkGetPhysicalDeviceProperties(device, &properties);
  DeviceSnapshot snapshot;
  OSTRA_ASSIGN_OR_RETURN(snapshot.name, String::Create(properties.deviceName));
  snapshot.kind = GetKind(properties.deviceType);
  snapshot.majorVersion = VK_API_VERSION_MAJOR(properties.apiVersion);
  snapshot.minorVersion = VK_API_VERSION_MINOR(properties.apiVersion);
  if (properties.apiVersion >= VK_API_VERSION_1_2) {
    VkPhysicalDeviceVulkan12Features features12 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
    VkPhysicalDeviceFeatures2 features = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
    features.pNext = &features12;
    vkGetPhysicalDeviceFeatures2(device, &features);
    snapshot.hasTimelineSemaphores = features12.timelineSemaphore;
    snapshot.hasScalarBlockLayout = features12.scalarBlockLayout;
  }
  OSTRA_RETURN_IF_ERROR(TakeQueueFamilies(device, snapshot));
  OSTRA_RETURN_IF_ERROR(TakeMemory(device, snapshot));
  return snapshot;
}

}  // namespace ostra::vulkan
