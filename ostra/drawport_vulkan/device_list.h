// What `ostra info` says about the devices of this machine.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/drawport/device_list.h"

namespace ostra::vulkan {

// See DrawportDeviceListInterface::GetDevices. Contexts are made with `cache`, which is one of this backend.
Result<BaseArray<DrawportDeviceInformation>> ListDevices(DrawportCacheInterface& cache);

}  // namespace ostra::vulkan
