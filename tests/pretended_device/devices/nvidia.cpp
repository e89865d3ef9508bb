// NVIDIA desktop cards, as they are published: types of memory without any property, a small window into the memory of
// the card, queue families for transfers and for computing.
#include <algorithm>

#include "tests/pretended_device/devices.h"

namespace ostra::pretended {
namespace {

void ReduceLimits(VkPhysicalDeviceLimits& limits) {
  const uint32_t groups[] = {2147483647, 65535, 65535};
  const uint32_t sizes[] = {1024, 1024, 64};
  for (int i = 0; i < 3; ++i) {
    limits.maxComputeWorkGroupCount[i] = std::min(limits.maxComputeWorkGroupCount[i], groups[i]);
    limits.maxComputeWorkGroupSize[i] = std::min(limits.maxComputeWorkGroupSize[i], sizes[i]);
  }
  limits.maxComputeWorkGroupInvocations = std::min(limits.maxComputeWorkGroupInvocations, 1024u);
  limits.maxComputeSharedMemorySize = std::min(limits.maxComputeSharedMemorySize, 49152u);
  limits.maxUniformBufferRange = std::min(limits.maxUniformBufferRange, 65536u);
  limits.maxPushConstantsSize = std::min(limits.maxPushConstantsSize, 256u);
  limits.maxMemoryAllocationCount = std::min(limits.maxMemoryAllocationCount, 4096u);
  limits.minUniformBufferOffsetAlignment = 64;
  limits.minStorageBufferOffsetAlignment = 16;
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
  constexpr VkQueueFlags kTransfer = VK_QUEUE_TRANSFER_BIT;
  constexpr VkQueueFlags kCompute = kTransfer | VK_QUEUE_COMPUTE_BIT;
  device.queueFamilies = {{.flags = kCompute | VK_QUEUE_GRAPHICS_BIT, .queueCount = 16},
                          {.flags = kTransfer, .queueCount = 2},
                          {.flags = kCompute, .queueCount = 8}};
  return device;
}

}  // namespace ostra::pretended
