// A device with a queue family for each kind of work; the one that does everything is the last.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeQueueFamilies() {
  PretendedDevice device;
  device.key = "queue_families";
  device.name = "Pretended device of several queue families";
  constexpr VkQueueFlags kTransfer = VK_QUEUE_TRANSFER_BIT;
  constexpr VkQueueFlags kCompute = kTransfer | VK_QUEUE_COMPUTE_BIT;
  device.queueFamilies = {{.flags = kTransfer, .queueCount = 2, .timestampBits = 0},
                          {.flags = kCompute, .queueCount = 4, .timestampBits = 36},
                          {.flags = kCompute | VK_QUEUE_GRAPHICS_BIT, .queueCount = 1, .timestampBits = 48}};
  return device;
}

}  // namespace ostra::pretended
