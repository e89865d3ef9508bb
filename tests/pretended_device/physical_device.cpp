// What the device answers about itself.
#include <algorithm>
#include <cstring>

#include "tests/pretended_device/feature_structures.h"
#include "tests/pretended_device/intercepted.h"
#include "tests/pretended_device/promoted_extensions.h"

namespace ostra::pretended {
namespace {

InstanceState& GetInstanceOf(VkPhysicalDevice device) { return GetInstance(GetKey(device)); }

void AnswerProperties(const PretendedDevice& table, VkPhysicalDeviceProperties& properties) {
  std::strncpy(properties.deviceName, table.name, sizeof(properties.deviceName) - 1);
  properties.deviceType = table.type;
  properties.apiVersion = std::min(properties.apiVersion, table.apiVersion);
  // What is compiled for one device is not loaded for another.
  for (std::size_t i = 0; table.key[i] && i < VK_UUID_SIZE; ++i)
    properties.pipelineCacheUUID[i] = static_cast<uint8_t>(properties.pipelineCacheUUID[i] ^ table.key[i]);
  if (table.reduceLimits) table.reduceLimits(properties.limits);
}

void AnswerMemory(const PretendedDevice& table, VkPhysicalDeviceMemoryProperties& memory) {
  if (table.types.empty()) return;
  memory = {};
  for (const Heap& heap : table.heaps) memory.memoryHeaps[memory.memoryHeapCount++] = {heap.size, heap.flags};
  for (const Type& type : table.types) memory.memoryTypes[memory.memoryTypeCount++] = {type.flags, type.heap};
}

// Another program may take memory of the device while this one runs: OSTRA_PRETENDED_BUDGET has what is left, in MiB.
void AnswerBudget(VkPhysicalDevice device, VkPhysicalDeviceMemoryBudgetPropertiesEXT& budget) {
  if (!HasBudget(GetTable(device))) return;
  const std::vector<Heap>& heaps = GetTable(device).heaps;
  const VkDeviceSize left = ReadNumber("OSTRA_PRETENDED_BUDGET") * kMiB;
  for (uint32_t i = 0; i < heaps.size(); ++i) {
    const bool isShared = left > 0 && (heaps[i].flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0;
    budget.heapBudget[i] = isShared ? std::min(left, heaps[i].size) : heaps[i].size;
    budget.heapUsage[i] = CountUsed(device, i);
  }
}

// Fills a list of which the caller asks for the number first; `set` is given place and entry.
template <class Entry, class Set>
VkResult AnswerList(const std::vector<Entry>& entries, uint32_t* count, bool wantsEntries, const Set& set) {
  const auto all = static_cast<uint32_t>(entries.size());
  if (!wantsEntries) {
    *count = all;
    return VK_SUCCESS;
  }
  *count = std::min(*count, all);
  for (uint32_t i = 0; i < *count; ++i) set(i, entries[i]);
  return *count < all ? VK_INCOMPLETE : VK_SUCCESS;
}

VkQueueFamilyProperties MakeFamily(const QueueFamily& family) {
  return {family.flags, family.queueCount, family.timestampBits, {1, 1, 1}};
}

VkFormatFeatureFlags FindMissing(VkPhysicalDevice device, VkFormat format) {
  const auto find = GetTable(device).findMissing;
  return find ? find(format) : VkFormatFeatureFlags{0};
}

void AnswerFormat(VkPhysicalDevice device, VkFormat format, VkFormatProperties& properties) {
  properties.optimalTilingFeatures &= ~FindMissing(device, format);
}

VkPhysicalDeviceLimits GetLimits(VkPhysicalDevice device) {
  VkPhysicalDeviceProperties properties;
  GetPhysicalDeviceProperties(device, &properties);
  return properties.limits;
}

bool IsWithout(VkFormatFeatureFlags missing, VkImageUsageFlags usage) {
  const auto lacks = [&](VkImageUsageFlags use, VkFormatFeatureFlags feature) {
    return (usage & use) != 0 && (missing & feature) != 0;
  };
  return lacks(VK_IMAGE_USAGE_SAMPLED_BIT, VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT) ||
         lacks(VK_IMAGE_USAGE_STORAGE_BIT, VK_FORMAT_FEATURE_STORAGE_IMAGE_BIT) ||
         lacks(VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT, VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT);
}

VkResult AnswerImageFormat(VkPhysicalDevice device, VkFormat format, VkImageType type, VkImageUsageFlags usage,
                           VkImageFormatProperties& properties) {
  if (IsWithout(FindMissing(device, format), usage)) return VK_ERROR_FORMAT_NOT_SUPPORTED;
  const VkPhysicalDeviceLimits limits = GetLimits(device);
  const uint32_t extent = type == VK_IMAGE_TYPE_1D   ? limits.maxImageDimension1D
                          : type == VK_IMAGE_TYPE_2D ? limits.maxImageDimension2D
                                                     : limits.maxImageDimension3D;
  VkExtent3D& most = properties.maxExtent;
  most = {std::min(most.width, extent), std::min(most.height, extent), std::min(most.depth, extent)};
  properties.maxArrayLayers = std::min(properties.maxArrayLayers, limits.maxImageArrayLayers);
  return VK_SUCCESS;
}

}  // namespace

Features GetOfferedFeatures(VkPhysicalDevice device) {
  Features features;
  VkPhysicalDeviceFeatures2 all = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2, &features.since11, {}};
  features.since11.pNext = &features.since12;
  features.since12.pNext = &features.since13;
  GetInstanceOf(device).GetPhysicalDeviceFeatures2(device, &all);
  features.core = all.features;
  if (const auto reduce = GetTable(device).reduceFeatures) reduce(features);
  return features;
}

VkResult EnumeratePhysicalDevices(VkInstance instance, uint32_t* count, VkPhysicalDevice* devices) {
  const InstanceState& state = GetInstance(GetKey(instance));
  uint32_t found = 0;
  state.EnumeratePhysicalDevices(instance, &found, nullptr);
  std::vector<VkPhysicalDevice> all(found);
  const VkResult result = state.EnumeratePhysicalDevices(instance, &found, all.data());
  if (result != VK_SUCCESS) return result;
  // The tables are laid over software: what a real device does with memory is not known here.
  std::vector<VkPhysicalDevice> pretended;
  for (const VkPhysicalDevice device : all) {
    VkPhysicalDeviceProperties properties;
    state.GetPhysicalDeviceProperties(device, &properties);
    if (properties.deviceType != VK_PHYSICAL_DEVICE_TYPE_CPU || pretended.size() == FindChosenDevices().size())
      continue;
    NumberPhysicalDevice(device, pretended.size());
    pretended.push_back(device);
  }
  return AnswerList(pretended, count, devices != nullptr,
                    [&](uint32_t i, VkPhysicalDevice device) { devices[i] = device; });
}

VkResult EnumerateDeviceExtensionProperties(VkPhysicalDevice device, const char* layer, uint32_t* count,
                                            VkExtensionProperties* properties) {
  const InstanceState& state = GetInstanceOf(device);
  if (layer) return state.EnumerateDeviceExtensionProperties(device, layer, count, properties);
  uint32_t found = 0;
  state.EnumerateDeviceExtensionProperties(device, nullptr, &found, nullptr);
  std::vector<VkExtensionProperties> all(found);
  const VkResult result = state.EnumerateDeviceExtensionProperties(device, nullptr, &found, all.data());
  if (result != VK_SUCCESS) return result;
  const PretendedDevice& table = GetTable(device);
  std::erase_if(all, [&](const auto& extension) { return IsAnsweredByLayer(table, extension.extensionName); });
  if (table.promoted == PromotedExtensions::Hidden)
    std::erase_if(all, [](const auto& extension) { return Contains(kPromotedTo13, extension.extensionName); });
  if (table.hasDeviceFault) all.push_back({VK_EXT_DEVICE_FAULT_EXTENSION_NAME, 1});
  if (table.isPortability) all.push_back({VK_KHR_PORTABILITY_SUBSET_EXTENSION_NAME, 1});
  if (HasBudget(table)) all.push_back({VK_EXT_MEMORY_BUDGET_EXTENSION_NAME, 1});
  return AnswerList(all, count, properties != nullptr,
                    [&](uint32_t i, const VkExtensionProperties& extension) { properties[i] = extension; });
}

void GetPhysicalDeviceProperties(VkPhysicalDevice device, VkPhysicalDeviceProperties* properties) {
  GetInstanceOf(device).GetPhysicalDeviceProperties(device, properties);
  AnswerProperties(GetTable(device), *properties);
}

void GetPhysicalDeviceProperties2(VkPhysicalDevice device, VkPhysicalDeviceProperties2* properties) {
  GetInstanceOf(device).GetPhysicalDeviceProperties2(device, properties);
  AnswerProperties(GetTable(device), properties->properties);
  if (auto* found = FindInChain<VkPhysicalDeviceMaintenance4Properties>(
          properties->pNext, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_4_PROPERTIES))
    found->maxBufferSize = std::min(found->maxBufferSize, GetTable(device).maxBufferSize);
  if (auto* found = FindInChain<VkPhysicalDeviceVulkan13Properties>(
          properties->pNext, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_PROPERTIES))
    found->maxBufferSize = std::min(found->maxBufferSize, GetTable(device).maxBufferSize);
}

void GetPhysicalDeviceFeatures(VkPhysicalDevice device, VkPhysicalDeviceFeatures* features) {
  *features = GetOfferedFeatures(device).core;
}

void GetPhysicalDeviceFeatures2(VkPhysicalDevice device, VkPhysicalDeviceFeatures2* features) {
  GetInstanceOf(device).GetPhysicalDeviceFeatures2(device, features);
  AnswerFeatures(features, GetOfferedFeatures(device), GetTable(device));
}

void GetPhysicalDeviceMemoryProperties(VkPhysicalDevice device, VkPhysicalDeviceMemoryProperties* properties) {
  GetInstanceOf(device).GetPhysicalDeviceMemoryProperties(device, properties);
  AnswerMemory(GetTable(device), *properties);
}

void GetPhysicalDeviceMemoryProperties2(VkPhysicalDevice device, VkPhysicalDeviceMemoryProperties2* properties) {
  GetInstanceOf(device).GetPhysicalDeviceMemoryProperties2(device, properties);
  AnswerMemory(GetTable(device), properties->memoryProperties);
  if (auto* budget = FindInChain<VkPhysicalDeviceMemoryBudgetPropertiesEXT>(
          properties->pNext, VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_BUDGET_PROPERTIES_EXT))
    AnswerBudget(device, *budget);
}

void GetPhysicalDeviceQueueFamilyProperties(VkPhysicalDevice device, uint32_t* count,
                                            VkQueueFamilyProperties* properties) {
  const std::vector<QueueFamily>& families = GetTable(device).queueFamilies;
  if (families.empty()) return GetInstanceOf(device).GetPhysicalDeviceQueueFamilyProperties(device, count, properties);
  AnswerList(families, count, properties != nullptr,
             [&](uint32_t i, const QueueFamily& family) { properties[i] = MakeFamily(family); });
}

void GetPhysicalDeviceQueueFamilyProperties2(VkPhysicalDevice device, uint32_t* count,
                                             VkQueueFamilyProperties2* properties) {
  const std::vector<QueueFamily>& families = GetTable(device).queueFamilies;
  if (families.empty()) return GetInstanceOf(device).GetPhysicalDeviceQueueFamilyProperties2(device, count, properties);
  AnswerList(families, count, properties != nullptr,
             [&](uint32_t i, const QueueFamily& family) { properties[i].queueFamilyProperties = MakeFamily(family); });
}

void GetPhysicalDeviceFormatProperties(VkPhysicalDevice device, VkFormat format, VkFormatProperties* properties) {
  GetInstanceOf(device).GetPhysicalDeviceFormatProperties(device, format, properties);
  AnswerFormat(device, format, *properties);
}

void GetPhysicalDeviceFormatProperties2(VkPhysicalDevice device, VkFormat format, VkFormatProperties2* properties) {
  GetInstanceOf(device).GetPhysicalDeviceFormatProperties2(device, format, properties);
  AnswerFormat(device, format, properties->formatProperties);
  if (auto* found = FindInChain<VkFormatProperties3>(properties->pNext, VK_STRUCTURE_TYPE_FORMAT_PROPERTIES_3))
    found->optimalTilingFeatures &= ~VkFormatFeatureFlags2{FindMissing(device, format)};
}

VkResult GetPhysicalDeviceImageFormatProperties(VkPhysicalDevice device, VkFormat format, VkImageType type,
                                                VkImageTiling tiling, VkImageUsageFlags usage, VkImageCreateFlags flags,
                                                VkImageFormatProperties* properties) {
  const VkResult result = GetInstanceOf(device).GetPhysicalDeviceImageFormatProperties(device, format, type, tiling,
                                                                                       usage, flags, properties);
  return result == VK_SUCCESS ? AnswerImageFormat(device, format, type, usage, *properties) : result;
}

VkResult GetPhysicalDeviceImageFormatProperties2(VkPhysicalDevice device, const VkPhysicalDeviceImageFormatInfo2* info,
                                                 VkImageFormatProperties2* properties) {
  const VkResult result = GetInstanceOf(device).GetPhysicalDeviceImageFormatProperties2(device, info, properties);
  if (result != VK_SUCCESS) return result;
  return AnswerImageFormat(device, info->format, info->type, info->usage, properties->imageFormatProperties);
}

}  // namespace ostra::pretended
