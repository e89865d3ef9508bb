// ShaderFeatures: what the texts of programs may ask of a device beyond what every device has. A device is made with
// all of it that is there, and what a program asks for is held against that before the driver sees the program: a
// driver need not notice, and may do anything then.
#pragma once

#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"
#include "ostra/drawport_vulkan/api.h"

namespace ostra::vulkan {

struct ShaderFeatures {
  ShaderFeatures() {
    since11.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_1_FEATURES;
    since12.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES;
  }

  VkPhysicalDeviceFeatures core = {};
  VkPhysicalDeviceVulkan11Features since11 = {};
  VkPhysicalDeviceVulkan12Features since12 = {};
  VkSubgroupFeatureFlags subgroupOperations = 0;
  VkShaderStageFlags subgroupStages = 0;
  UInt32 maxSharedBytes = 0;  // of a work group
  Bool hasIsolines = true;    // where there is tessellation: only portability drivers may lack it
};

// What of `has` programs can ask for; nothing else is set.
ShaderFeatures SelectShaderFeatures(const ShaderFeatures& has);

// What programs can ask for and `features` lack, as "64-bit floats", each once. Error: out of memory.
Result<BaseArray<String>> ListMissing(const ShaderFeatures& features);

// Holds the compiled words of a stage against what a device was made with. Errors: illegal argument that names the
// program and what is missing; out of memory.
Result<void> CheckShader(const ShaderFeatures& features, VkShaderStageFlagBits stage, Block<const UInt32> spirv,
                         std::string_view program);

}  // namespace ostra::vulkan
