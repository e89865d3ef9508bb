// A device that knows numbers of 32 bits alone.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeNoNarrowTypes() {
  PretendedDevice device;
  device.key = "no_narrow_types";
  device.name = "Pretended device of 32-bit numbers";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.reduceFeatures = [](Features& features) {
    features.core.shaderInt16 = VK_FALSE;
    features.core.shaderInt64 = VK_FALSE;
    features.core.shaderFloat64 = VK_FALSE;
    features.since11.storageBuffer16BitAccess = VK_FALSE;
    features.since11.uniformAndStorageBuffer16BitAccess = VK_FALSE;
    features.since11.storagePushConstant16 = VK_FALSE;
    features.since11.storageInputOutput16 = VK_FALSE;
    features.since12.storageBuffer8BitAccess = VK_FALSE;
    features.since12.uniformAndStorageBuffer8BitAccess = VK_FALSE;
    features.since12.storagePushConstant8 = VK_FALSE;
    features.since12.shaderFloat16 = VK_FALSE;
    features.since12.shaderInt8 = VK_FALSE;
  };
  return device;
}

}  // namespace ostra::pretended
