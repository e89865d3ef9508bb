// What a physical device is, as a plain snapshot for the plan.
#pragma once

#include "ostra/drawport_vulkan/api.h"
#include "ostra/drawport_vulkan/device_plan.h"

namespace ostra::vulkan {

// Error: out of memory.
Result<DeviceSnapshot> TakeSnapshot(VkPhysicalDevice device);

}  // namespace ostra::vulkan
