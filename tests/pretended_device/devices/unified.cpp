// A device that shares the memory of the host: types that the host caches and types that it does not.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeUnified() {
  PretendedDevice device;
  device.key = "unified";
  device.name = "Pretended unified device";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.heaps = {{2048 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | kCached, .heap = 0},
                  {.flags = kDeviceLocal | kMapped, .heap = 0},
                  {.flags = kDeviceLocal | kMapped | kCached, .heap = 0}};
  return device;
}

}  // namespace ostra::pretended
