// A device with a queue family for each kind of work; the one that does everything is the last.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeQueueFamilies() {
  PretendedDevice device;
  device.key = "queue_families";
  device.name = "Pretended device of several queue families";
  device.queueFamilies = {{.flags = kTransferQueue, .queueCount = 2, .timestampBits = 0},
                          {.flags = kComputeQueue, .queueCount = 4, .timestampBits = 36},
                          {.flags = kGraphicsQueue, .queueCount = 1, .timestampBits = 48}};
  return device;
}

}  // namespace ostra::pretended
