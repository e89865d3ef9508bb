#include "tests/pretended_device/feature_structures.h"

#include <cstring>
#include <optional>
#include <span>

namespace ostra::pretended {
namespace {

using Flags = std::vector<VkBool32>;
constexpr std::size_t kFlagsOf13 = 15;

struct Structure {
  std::string name;
  Flags flags;  // that are offered
};

// Structures of features are flags behind their header, up to `last`.
template <class Offered>
Structure MakeWhole(const char* name, const Offered& offered, const VkBool32& last) {
  const char* const begin = reinterpret_cast<const char*>(&offered) + sizeof(VkBaseOutStructure);
  const auto count = reinterpret_cast<const VkBool32*>(&last) - reinterpret_cast<const VkBool32*>(begin) + 1;
  Structure whole{name, Flags(static_cast<std::size_t>(count))};
  std::memcpy(whole.flags.data(), begin, whole.flags.size() * sizeof(VkBool32));
  return whole;
}

// What is offered of a structure; nothing of those that the table does not speak of.
std::optional<Structure> FindOffered(VkStructureType type, const Features& offered, const PretendedDevice& table) {
  const auto& [core, since11, since12, since13] = offered;
  switch (type) {
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_1_FEATURES:
      return MakeWhole("Vulkan11Features", since11, since11.shaderDrawParameters);
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES:
      return MakeWhole("Vulkan12Features", since12, since12.subgroupBroadcastDynamicId);
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES:
      if (table.apiVersion < VK_API_VERSION_1_3) return Structure{"Vulkan13Features", Flags(kFlagsOf13, VK_FALSE)};
      return MakeWhole("Vulkan13Features", since13, since13.maintenance4);
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_16BIT_STORAGE_FEATURES:
      return Structure{"16BitStorageFeatures",
                       {since11.storageBuffer16BitAccess, since11.uniformAndStorageBuffer16BitAccess,
                        since11.storagePushConstant16, since11.storageInputOutput16}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_8BIT_STORAGE_FEATURES:
      return Structure{
          "8BitStorageFeatures",
          {since12.storageBuffer8BitAccess, since12.uniformAndStorageBuffer8BitAccess, since12.storagePushConstant8}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SHADER_FLOAT16_INT8_FEATURES:
      return Structure{"ShaderFloat16Int8Features", {since12.shaderFloat16, since12.shaderInt8}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SCALAR_BLOCK_LAYOUT_FEATURES:
      return Structure{"ScalarBlockLayoutFeatures", {since12.scalarBlockLayout}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_TIMELINE_SEMAPHORE_FEATURES:
      return Structure{"TimelineSemaphoreFeatures", {since12.timelineSemaphore}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DYNAMIC_RENDERING_FEATURES:
      return Structure{"DynamicRenderingFeatures", {since13.dynamicRendering}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SYNCHRONIZATION_2_FEATURES:
      return Structure{"Synchronization2Features", {since13.synchronization2}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_4_FEATURES:
      return Structure{"Maintenance4Features", {since13.maintenance4}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FAULT_FEATURES_EXT:
      return Structure{"FaultFeaturesEXT", {table.hasDeviceFault, table.hasDeviceFault}};
    case VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PORTABILITY_SUBSET_FEATURES_KHR:
      return Structure{"PortabilitySubsetFeaturesKHR", Flags(15, VK_FALSE)};
    default:
      return std::nullopt;
  }
}

void Compare(const std::string& name, const VkBool32* wanted, std::span<const VkBool32> offered,
             std::vector<std::string>& missing) {
  for (std::size_t i = 0; i < offered.size(); ++i)
    if (wanted[i] == VK_TRUE && !offered[i])
      missing.push_back("flag " + std::to_string(i + 1) + " of VkPhysicalDevice" + name);
}

void CompareCore(const VkPhysicalDeviceFeatures& wanted, const VkPhysicalDeviceFeatures& offered,
                 std::vector<std::string>& missing) {
  Compare("Features", &wanted.robustBufferAccess, {&offered.robustBufferAccess, sizeof(offered) / sizeof(VkBool32)},
          missing);
}

}  // namespace

void AnswerFeatures(void* chain, const Features& offered, const PretendedDevice& table) {
  for (auto* entry = static_cast<VkBaseOutStructure*>(chain); entry; entry = entry->pNext) {
    if (entry->sType == VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2) {
      reinterpret_cast<VkPhysicalDeviceFeatures2*>(entry)->features = offered.core;
      continue;
    }
    const std::optional<Structure> known = FindOffered(entry->sType, offered, table);
    if (known) std::memcpy(entry + 1, known->flags.data(), known->flags.size() * sizeof(VkBool32));
  }
}

std::vector<std::string> FindMissingFeatures(const void* chain, const VkPhysicalDeviceFeatures* core,
                                             const Features& offered, const PretendedDevice& table) {
  std::vector<std::string> missing;
  if (core) CompareCore(*core, offered.core, missing);
  for (auto* entry = static_cast<const VkBaseInStructure*>(chain); entry; entry = entry->pNext) {
    if (entry->sType == VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2)
      CompareCore(reinterpret_cast<const VkPhysicalDeviceFeatures2*>(entry)->features, offered.core, missing);
    else if (const auto known = FindOffered(entry->sType, offered, table))
      Compare(known->name, reinterpret_cast<const VkBool32*>(entry + 1), known->flags, missing);
  }
  return missing;
}

}  // namespace ostra::pretended
