#include "ostra/drawport_vulkan/snapshot.h"

#include <algorithm>

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
                                    .hasCompute = (family.queueFlags & VK_QUEUE_COMPUTE_BIT) != 0,
                                    .timestampBits = family.timestampValidBits};
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
    constexpr VkMemoryPropertyFlags kKnown =
        VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT | kMapped | VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
    const MemoryTypeSnapshot taken{.heap = memory.memoryTypes[i].heapIndex,
                                   .isDeviceLocal = (flags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT) != 0,
                                   .isHostVisible = (flags & kMapped) == kMapped,
                                   .isHostCached = (flags & VK_MEMORY_PROPERTY_HOST_CACHED_BIT) != 0,
                                   .isSpecial = (flags & ~kKnown) != 0};
    OSTRA_RETURN_IF_ERROR(snapshot.memoryTypes.Append(taken));
  }
  return OK;
}

}  // namespace

Result<Bool> HasDeviceExtension(VkPhysicalDevice device, std::string_view name) {
  UInt32 count = 0;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkEnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr)));
  BaseArray<VkExtensionProperties> extensions;
  OSTRA_RETURN_IF_ERROR(extensions.Resize(count));
  OSTRA_RETURN_IF_ERROR(
      OSTRA_VULKAN(vkEnumerateDeviceExtensionProperties(device, nullptr, &count, extensions.GetFirst())));
  for (const VkExtensionProperties& extension : extensions)
    if (name == extension.extensionName) return true;
  return false;
}

Result<DeviceSnapshot> TakeSnapshot(VkPhysicalDevice device, UInt32 apiVersion) {
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
    // Devices of version 1.3 need not name the extension any more.
    const Bool isCore = std::min(properties.apiVersion, apiVersion) >= VK_API_VERSION_1_3;
    OSTRA_ASSIGN_OR_RETURN(const Bool isExtension, HasDeviceExtension(device, VK_KHR_DYNAMIC_RENDERING_EXTENSION_NAME));
    VkPhysicalDeviceDynamicRenderingFeatures rendering = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DYNAMIC_RENDERING_FEATURES};
    if (isCore || isExtension) features12.pNext = &rendering;
    vkGetPhysicalDeviceFeatures2(device, &features);
    if (rendering.dynamicRendering) snapshot.rendering = isCore ? RenderingSupport::Core : RenderingSupport::Extension;
    snapshot.hasTimelineSemaphores = features12.timelineSemaphore;
  }
  OSTRA_RETURN_IF_ERROR(TakeQueueFamilies(device, snapshot));
  OSTRA_RETURN_IF_ERROR(TakeMemory(device, snapshot));
  return snapshot;
}

}  // namespace ostra::vulkan
