// A card with little memory of its own, which the host does not see.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeDiscrete() {
  PretendedDevice device;
  device.key = "discrete";
  device.name = "Pretended discrete device";
  device.hasDeviceFault = true;
  device.heaps = {{256 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}, {4096 * kMiB, 0}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kMapped, .heap = 1},
                  {.flags = kMapped | kCached, .heap = 1, .isForImages = false}};
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    SetOffsetAlignments(limits, 256, 64);
    limits.nonCoherentAtomSize = 256;
    limits.optimalBufferCopyOffsetAlignment = 128;
    limits.optimalBufferCopyRowPitchAlignment = 256;
  };
  return device;
}

}  // namespace ostra::pretended
