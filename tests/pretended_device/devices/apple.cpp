// Apple's graphics behind another API, as they are published: a device of portability whose memory is the host's, 32
// KiB of shared memory, 31 buffers in a stage.
#include <algorithm>

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
    limits.maxComputeSharedMemorySize = std::min(limits.maxComputeSharedMemorySize, 32768u);
    limits.maxComputeWorkGroupInvocations = std::min(limits.maxComputeWorkGroupInvocations, 1024u);
    limits.maxPerStageDescriptorStorageBuffers = std::min(limits.maxPerStageDescriptorStorageBuffers, 31u);
    limits.maxPerStageDescriptorUniformBuffers = std::min(limits.maxPerStageDescriptorUniformBuffers, 31u);
    limits.maxPerStageDescriptorSamplers = std::min(limits.maxPerStageDescriptorSamplers, 16u);
    limits.maxImageDimension2D = std::min(limits.maxImageDimension2D, 16384u);
    limits.maxImageDimension3D = std::min(limits.maxImageDimension3D, 2048u);
    limits.minUniformBufferOffsetAlignment = 256;
    limits.minStorageBufferOffsetAlignment = 16;
  };
  device.reduceFeatures = [](Features& features) {
    features.core.shaderFloat64 = VK_FALSE;
    features.core.geometryShader = VK_FALSE;
    features.core.logicOp = VK_FALSE;
    features.core.wideLines = VK_FALSE;
    features.core.pipelineStatisticsQuery = VK_FALSE;
  };
  device.heaps = {{2048 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0},
                  {.flags = kDeviceLocal | kMapped | kCached, .heap = 0},
                  {.flags = kDeviceLocal | VK_MEMORY_PROPERTY_LAZILY_ALLOCATED_BIT, .heap = 0}};
  device.queueFamilies = {{.flags = VK_QUEUE_TRANSFER_BIT | VK_QUEUE_COMPUTE_BIT | VK_QUEUE_GRAPHICS_BIT}};
  return device;
}

}  // namespace ostra::pretended
