// What `ostra info` says about the devices of this machine.
#pragma once

#include "ostra/drawport/device_list.h"

namespace ostra::vulkan {

// See DrawportDeviceListInterface::GetDevices.
Result<BaseArray<DrawportDeviceInformation>> ListDevices();

}  // namespace ostra::vulkan
