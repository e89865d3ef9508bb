// Apple's graphics behind another API, as they are published: a device of portability whose memory is the host's, 32
// KiB of shared memory, 31 buffers in a stage.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeApple() {
  PretendedDevice device;
  device.key = "apple";
  device.name = "Pretended Apple device";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.apiVersion = VK_API_VERSION_1_2;
  device.isPortability = true;
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    Cap(limits.maxComputeSharedMemorySize, 32768);
    Cap(limits.maxComputeWorkGroupInvocations, 1024);
    Cap(limits.maxPerStageDescriptorStorageBuffers, 31);
    Cap(limits.maxPerStageDescriptorUniformBuffers, 31);
    Cap(limits.maxPerStageDescriptorSamplers, 16);
    Cap(limits.maxImageDimension2D, 16384);
    Cap(limits.maxImageDimension3D, 2048);
    SetOffsetAlignments(limits, 256, 16);
  };
  device.reduceFeatures = [](Features& features) {
    RemoveDesktopFeatures(features.core);
    features.core.logicOp = VK_FALSE;
  };
  device.heaps = {{2048 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kDeviceLocal | kMapped | kCached, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT, .heap = 0}};
  device.queueFamilies = {{.flags = kGraphicsQueue}};
  return device;
}

}  // namespace ostra::pretended
