// A card with memory of its own, all of which the host sees.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeDiscreteVisible() {
  PretendedDevice device;
  device.key = "discrete_visible";
  device.name = "Pretended discrete device with visible memory";
  device.dedicatedFrom = kMiB;
  device.heaps = {{2048 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}, {4096 * kMiB, 0}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kDeviceLocal | kMapped, .heap = 0},
                  {.flags = kMapped, .heap = 1},
                  {.flags = kMapped | kCached, .heap = 1}};
  return device;
}

}  // namespace ostra::pretended
