// Features and extensions of a device: what it has, and what a new logical device is asked for.
#pragma once

#include "ostra/drawport_vulkan/device.h"

namespace ostra::vulkan {

// Errors: out of memory; those of the driver.
Result<DeviceExtensions> QueryExtensions(VkPhysicalDevice device);

// Feature structures, linked by `pNext` from `all`. The optional ones are unlinked until Add.
class FeatureChain {
 public:
  FeatureChain() {
    Add(since11);
    Add(since12);
  }
  FeatureChain(const FeatureChain&) = delete;

  // Links a member. Once each.
  template <class Structure>
  void Add(Structure& structure) {
    structure.pNext = all.pNext;
    all.pNext = &structure;
  }

  VkPhysicalDeviceFeatures2 all = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
  VkPhysicalDeviceVulkan11Features since11 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_1_FEATURES};
  VkPhysicalDeviceVulkan12Features since12 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
  VkPhysicalDevicePortabilitySubsetFeaturesKHR subset = {
      VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PORTABILITY_SUBSET_FEATURES_KHR};
  VkPhysicalDeviceDynamicRenderingFeaturesKHR rendering = {
      VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DYNAMIC_RENDERING_FEATURES_KHR};
  VkPhysicalDeviceFaultFeaturesEXT fault = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FAULT_FEATURES_EXT};
};

// Fills `has`; returns the part of it that programs may ask for.
ShaderFeatures QueryFeatures(VkPhysicalDevice device, const DeviceExtensions& extensions, FeatureChain& has);

// Sets and links in `wants` what `shaders` and the GPU layer itself use of `has`.
void RequestFeatures(const ShaderFeatures& shaders, const FeatureChain& has, const DeviceExtensions& extensions,
                     Bool canDraw, FeatureChain& wants);

}  // namespace ostra::vulkan
