#include "ostra/drawport_vulkan/device_features.h"

#include "ostra/drawport_vulkan/snapshot.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

void QueryProperties(VkPhysicalDevice device, ShaderFeatures& features) {
  VkPhysicalDeviceSubgroupProperties subgroups = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_SUBGROUP_PROPERTIES};
  VkPhysicalDeviceProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2};
  properties.pNext = &subgroups;
  vkGetPhysicalDeviceProperties2(device, &properties);
  features.subgroupOperations = subgroups.supportedOperations;
  features.subgroupStages = subgroups.supportedStages;
  features.maxSharedBytes = properties.properties.limits.maxComputeSharedMemorySize;
}

}  // namespace

Result<DeviceExtensions> QueryExtensions(VkPhysicalDevice device) {
  DeviceExtensions found;
  OSTRA_ASSIGN_OR_RETURN(found.hasBudget, HasDeviceExtension(device, VK_EXT_MEMORY_BUDGET_EXTENSION_NAME));
  OSTRA_ASSIGN_OR_RETURN(found.hasFault, HasDeviceExtension(device, VK_EXT_DEVICE_FAULT_EXTENSION_NAME));
  OSTRA_ASSIGN_OR_RETURN(found.hasSubset, HasDeviceExtension(device, VK_KHR_PORTABILITY_SUBSET_EXTENSION_NAME));
  return found;
}

ShaderFeatures QueryFeatures(VkPhysicalDevice device, const DeviceExtensions& extensions, FeatureChain& has) {
  if (extensions.hasSubset) has.Add(has.subset);
  vkGetPhysicalDeviceFeatures2(device, &has.all);
  ShaderFeatures features;
  features.core = has.all.features;
  features.since11 = has.since11;
  features.since12 = has.since12;
  features.hasIsolines = !extensions.hasSubset || has.subset.tessellationIsolines;
  QueryProperties(device, features);
  return SelectShaderFeatures(features);
}

void RequestFeatures(const ShaderFeatures& shaders, const FeatureChain& has, const DeviceExtensions& extensions,
                     Bool canDraw, FeatureChain& wants) {
  // The chain keeps its own links.
  const auto assign = [](auto& to, const auto& from) {
    void* const next = to.pNext;
    to = from;
    to.pNext = next;
  };
  assign(wants.since11, shaders.since11);
  assign(wants.since12, shaders.since12);
  wants.since12.timelineSemaphore = VK_TRUE;
  const VkPhysicalDeviceFeatures& offered = has.all.features;
  VkPhysicalDeviceFeatures& core = wants.all.features;
  core = shaders.core;
  core.robustBufferAccess = offered.robustBufferAccess;
  core.vertexPipelineStoresAndAtomics = offered.vertexPipelineStoresAndAtomics;
  core.fragmentStoresAndAtomics = offered.fragmentStoresAndAtomics;
  core.independentBlend = offered.independentBlend;
  core.largePoints = offered.largePoints;
  wants.rendering.dynamicRendering = VK_TRUE;
  if (canDraw) wants.Add(wants.rendering);
  wants.fault.deviceFault = VK_TRUE;
  if (extensions.hasFault) wants.Add(wants.fault);
  wants.subset = has.subset;
  if (extensions.hasSubset) wants.Add(wants.subset);
}

}  // namespace ostra::vulkan
