// PretendedDevice: a table of what another device would answer, laid over the software driver of the machine.
//
// Only what a table says is changed: limits and features are taken away from those that the driver has, memory types,
// heaps and queue families are replaced. One file of `devices` has one device.
#pragma once

#define VK_NO_PROTOTYPES
#define VK_ENABLE_BETA_EXTENSIONS
#include <vulkan/vulkan.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace ostra::pretended {

// What a device has of each version of Vulkan.
struct Features {
  Features() {
    since11.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_1_FEATURES;
    since12.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES;
    since13.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES;
  }
  VkPhysicalDeviceFeatures core = {};
  VkPhysicalDeviceVulkan11Features since11 = {};
  VkPhysicalDeviceVulkan12Features since12 = {};
  VkPhysicalDeviceVulkan13Features since13 = {};
};

struct Heap {
  VkDeviceSize size = 0;  // bytes
  VkMemoryHeapFlags flags = 0;
};

struct Type {
  VkMemoryPropertyFlags flags = 0;
  uint32_t heap = 0;
  bool isForImages = true;
};

struct QueueFamily {
  VkQueueFlags flags = 0;
  uint32_t queueCount = 1;
  uint32_t timestampBits = 64;
};

enum class PromotedExtensions {
  Listed,  // what became a part of Vulkan 1.3 is listed, as the driver does
  Hidden,  // not listed; a device of version 1.3 has it all the same
};

struct PretendedDevice {
  const char* key = nullptr;   // in the environment variable OSTRA_PRETENDED_DEVICE
  const char* name = nullptr;  // that the device answers
  VkPhysicalDeviceType type = VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU;
  uint32_t apiVersion = VK_API_VERSION_1_3;
  // Has VK_KHR_portability_subset and none of the parts of Vulkan that may be missing with it. Listed only for
  // instances that enable VK_KHR_portability_enumeration.
  bool isPortability = false;
  PromotedExtensions promoted = PromotedExtensions::Listed;
  bool hasDeviceFault = false;  // lists VK_EXT_device_fault and says where it was lost
  // Those of the driver where a list is empty.
  std::vector<Heap> heaps;
  std::vector<Type> types;
  std::vector<QueueFamily> queueFamilies;
  VkDeviceSize dedicatedFrom = 0;  // buffers and images of so many bytes need memory of their own; 0: none
  VkDeviceSize maxBufferSize = VkDeviceSize{1} << 31;
  // Each is given what the driver has and takes away from it. May be null.
  void (*reduceLimits)(VkPhysicalDeviceLimits&) = nullptr;
  void (*reduceFeatures)(Features&) = nullptr;
  VkFormatFeatureFlags (*findMissing)(VkFormat) = nullptr;  // features of images in optimal tiling
};

// Whether the device lists VK_EXT_memory_budget: all do that have heaps of their own.
inline bool HasBudget(const PretendedDevice& device) { return !device.heaps.empty(); }

// Whether the driver is not asked about an extension, because the layer answers for the device.
inline bool IsAnsweredByLayer(const PretendedDevice& device, std::string_view extension) {
  return extension == VK_EXT_DEVICE_FAULT_EXTENSION_NAME || extension == VK_KHR_PORTABILITY_SUBSET_EXTENSION_NAME ||
         (extension == VK_EXT_MEMORY_BUDGET_EXTENSION_NAME && HasBudget(device));
}

constexpr VkDeviceSize kMiB = VkDeviceSize{1} << 20;

// The properties that memory types have together.
constexpr VkMemoryPropertyFlags kDeviceLocal = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;
constexpr VkMemoryPropertyFlags kMapped = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
constexpr VkMemoryPropertyFlags kCached = VK_MEMORY_PROPERTY_HOST_CACHED_BIT;

// All devices that there are.
const std::vector<PretendedDevice>& GetDevices();
// Those that the environment chooses, in the order of the driver's software devices; null for a name of none.
std::vector<const PretendedDevice*> FindChosenDevices();

}  // namespace ostra::pretended
