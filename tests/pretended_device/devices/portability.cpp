// A device behind another API: it lacks parts of Vulkan, and is listed only for instances that enable
// VK_KHR_portability_enumeration.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakePortability() {
  PretendedDevice device;
  device.key = "portability";
  device.name = "Pretended portability device";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.apiVersion = VK_API_VERSION_1_2;
  device.isPortability = true;
  device.heaps = {{2048 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0}, {.flags = kDeviceLocal | kMapped | kCached, .heap = 0}};
  device.reduceFeatures = [](Features& features) {
    RemoveDesktopFeatures(features.core);
    features.core.logicOp = VK_FALSE;
    features.core.shaderCullDistance = VK_FALSE;
    features.core.robustBufferAccess = VK_FALSE;
  };
  return device;
}

}  // namespace ostra::pretended
