// The structures of features in a chain: what a device offers of them, and what a caller asks for.
#pragma once

#include <string>

#include "tests/pretended_device/pretended_device.h"

namespace ostra::pretended {

// Overwrites the known structures of a chain with what the device `table` offers.
void AnswerFeatures(void* chain, const Features& offered, const PretendedDevice& table);

// What the chain and `core` (may be null) switch on that is not offered, one text each.
std::vector<std::string> FindMissingFeatures(const void* chain, const VkPhysicalDeviceFeatures* core,
                                             const Features& offered, const PretendedDevice& table);

}  // namespace ostra::pretended
