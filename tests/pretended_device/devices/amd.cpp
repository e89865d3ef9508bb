// AMD desktop cards, as they are published: a window of 256 MiB into the memory of the card, and types of memory that
// only those may take who ask for the extension they belong to.
#include <algorithm>

#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeAmd() {
  PretendedDevice device;
  device.key = "amd";
  device.name = "Pretended AMD desktop card";
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    limits.maxComputeWorkGroupInvocations = std::min(limits.maxComputeWorkGroupInvocations, 1024u);
    limits.maxImageDimension2D = std::min(limits.maxImageDimension2D, 16384u);
    limits.maxMemoryAllocationCount = std::min(limits.maxMemoryAllocationCount, 4096u);
    limits.minUniformBufferOffsetAlignment = 16;
    limits.minStorageBufferOffsetAlignment = 16;
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
  constexpr VkQueueFlags kTransfer = VK_QUEUE_TRANSFER_BIT;
  constexpr VkQueueFlags kCompute = kTransfer | VK_QUEUE_COMPUTE_BIT;
  device.queueFamilies = {{.flags = kCompute | VK_QUEUE_GRAPHICS_BIT},
                          {.flags = kCompute, .queueCount = 2},
                          {.flags = kTransfer, .queueCount = 2}};
  return device;
}

}  // namespace ostra::pretended
