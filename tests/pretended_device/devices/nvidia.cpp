// NVIDIA desktop cards, as they are published: types of memory without any property, a small window into the memory of
// the card, queue families for transfers and for computing.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {
namespace {

void ReduceLimits(VkPhysicalDeviceLimits& limits) {
  CapWorkGroups(limits, {2147483647, 65535, 65535}, {1024, 1024, 64});
  Cap(limits.maxComputeWorkGroupInvocations, 1024);
  Cap(limits.maxComputeSharedMemorySize, 49152);
  Cap(limits.maxUniformBufferRange, 65536);
  Cap(limits.maxPushConstantsSize, 256);
  Cap(limits.maxMemoryAllocationCount, 4096);
  SetOffsetAlignments(limits, 64, 16);
  limits.nonCoherentAtomSize = 64;
  limits.bufferImageGranularity = 1024;
}

}  // namespace

PretendedDevice MakeNvidia() {
  PretendedDevice device;
  device.key = "nvidia";
  device.name = "Pretended NVIDIA desktop card";
  device.reduceLimits = &ReduceLimits;
  device.heaps = {
      {1024 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}, {4096 * kMiB, 0}, {214 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = 0, .heap = 1},
                  {.flags = kDeviceLocal, .heap = 0},
                  {.flags = kMapped, .heap = 1, .isForImages = false},
                  {.flags = kMapped | kCached, .heap = 1, .isForImages = false},
                  {.flags = kDeviceLocal | kMapped, .heap = 2, .isForImages = false}};
  device.queueFamilies = {{.flags = kGraphicsQueue, .queueCount = 16},
                          {.flags = kTransferQueue, .queueCount = 2},
                          {.flags = kComputeQueue, .queueCount = 8}};
  return device;
}

}  // namespace ostra::pretended
