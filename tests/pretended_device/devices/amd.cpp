// AMD desktop cards, as they are published: a window of 256 MiB into the memory of the card, and types of memory that
// may be used only with an extension.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeAmd() {
  PretendedDevice device;
  device.key = "amd";
  device.name = "Pretended AMD desktop card";
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    Cap(limits.maxComputeWorkGroupInvocations, 1024);
    Cap(limits.maxImageDimension2D, 16384);
    Cap(limits.maxMemoryAllocationCount, 4096);
    SetOffsetAlignments(limits, 16, 16);
    limits.nonCoherentAtomSize = 128;
  };
  constexpr VkMemoryPropertyFlags kUncached =
      VK_MEMORY_PROPERTY_DEVICE_COHERENT_BIT_AMD | VK_MEMORY_PROPERTY_DEVICE_UNCACHED_BIT_AMD;
  device.heaps = {
      {1024 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}, {4096 * kMiB, 0}, {256 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kMapped, .heap = 1},
                  {.flags = kDeviceLocal | kMapped, .heap = 2},
                  {.flags = kMapped | kCached, .heap = 1},
                  {.flags = kDeviceLocal | kUncached, .heap = 0},
                  {.flags = kMapped | kUncached, .heap = 1},
                  {.flags = kDeviceLocal | kMapped | kUncached, .heap = 2},
                  {.flags = kMapped | kCached | kUncached, .heap = 1}};
  device.queueFamilies = {
      {.flags = kGraphicsQueue}, {.flags = kComputeQueue, .queueCount = 2}, {.flags = kTransferQueue, .queueCount = 2}};
  return device;
}

}  // namespace ostra::pretended
