// What tables of several devices have in common.
#pragma once

#include <algorithm>

#include "tests/pretended_device/pretended_device.h"

namespace ostra::pretended {

constexpr VkQueueFlags kTransferQueue = VK_QUEUE_TRANSFER_BIT;
constexpr VkQueueFlags kComputeQueue = kTransferQueue | VK_QUEUE_COMPUTE_BIT;
constexpr VkQueueFlags kGraphicsQueue = kComputeQueue | VK_QUEUE_GRAPHICS_BIT;

inline void Cap(uint32_t& limit, uint32_t most) { limit = std::min(limit, most); }

// `counts` and `sizes`: of work groups along x, y and z.
inline void CapWorkGroups(VkPhysicalDeviceLimits& limits, const uint32_t (&counts)[3], const uint32_t (&sizes)[3]) {
  for (int i = 0; i < 3; ++i) {
    Cap(limits.maxComputeWorkGroupCount[i], counts[i]);
    Cap(limits.maxComputeWorkGroupSize[i], sizes[i]);
  }
}

// Bytes.
inline void SetOffsetAlignments(VkPhysicalDeviceLimits& limits, VkDeviceSize uniform, VkDeviceSize storage) {
  limits.minUniformBufferOffsetAlignment = uniform;
  limits.minStorageBufferOffsetAlignment = storage;
}

// Devices of phones, and those behind another API.
inline void RemoveDesktopFeatures(VkPhysicalDeviceFeatures& core) {
  core.shaderFloat64 = VK_FALSE;
  core.geometryShader = VK_FALSE;
  core.wideLines = VK_FALSE;
  core.pipelineStatisticsQuery = VK_FALSE;
}

}  // namespace ostra::pretended
