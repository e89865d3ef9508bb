// What a physical device is, as a plain snapshot for the plan.
#pragma once

#include "ostra/drawport_vulkan/api.h"
#include "ostra/drawport_vulkan/device_plan.h"

namespace ostra::vulkan {

// `apiVersion` is that of the instance: what is newer in the device cannot be used. Error: out of memory.
Result<DeviceSnapshot> TakeSnapshot(VkPhysicalDevice device, UInt32 apiVersion);

Result<Bool> HasDeviceExtension(VkPhysicalDevice device, std::string_view name);

}  // namespace ostra::vulkan
