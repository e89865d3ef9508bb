// Intel graphics inside of a processor, as they are published: all memory is the device's and the host's, one queue,
// time stamps of 36 bits, no 64-bit floats.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeIntel() {
  PretendedDevice device;
  device.key = "intel";
  device.name = "Pretended Intel integrated device";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.reduceLimits = [](VkPhysicalDeviceLimits& limits) {
    Cap(limits.maxComputeWorkGroupInvocations, 1024);
    Cap(limits.maxStorageBufferRange, 1u << 30);
    Cap(limits.maxImageDimension2D, 16384);
    Cap(limits.maxImageDimension3D, 2048);
    limits.minUniformBufferOffsetAlignment = 64;
    limits.nonCoherentAtomSize = 64;
  };
  device.reduceFeatures = [](Features& features) { features.core.shaderFloat64 = VK_FALSE; };
  device.heaps = {{2048 * kMiB, VK_MEMORY_HEAP_DEVICE_LOCAL_BIT}};
  device.types = {{.flags = kDeviceLocal, .heap = 0}, {.flags = kDeviceLocal | kMapped | kCached, .heap = 0}};
  device.queueFamilies = {{.flags = kGraphicsQueue, .timestampBits = 36}};
  return device;
}

}  // namespace ostra::pretended
