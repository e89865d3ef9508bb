// Where a device was lost, and how long it may take.
#pragma once

#include <optional>

#include "ostra/core/string.h"
#include "ostra/drawport_vulkan/api.h"

namespace ostra::vulkan {

// What a lost device with VK_EXT_device_fault says: "pretended fault; invalid write at 0x1000 to 0x1fff". Empty when it
// says nothing. Error: out of memory.
Result<String> DescribeFault(VkDevice device);

// Nanoseconds of the environment variable OSTRA_GPU_TIME_LIMIT, which has seconds; 0, no limit, if it is "off"; nothing
// without it. Error: illegal argument when it is neither.
Result<std::optional<UInt64>> ReadTimeLimit();

}  // namespace ostra::vulkan
