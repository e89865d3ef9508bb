// A device that does not filter textures of 32-bit floats.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeNoFloatFilter() {
  PretendedDevice device;
  device.key = "no_float_filter";
  device.name = "Pretended device without filtered floats";
  device.type = VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU;
  device.findMissing = [](VkFormat format) -> VkFormatFeatureFlags {
    const bool isFloat32 =
        format == VK_FORMAT_R32_SFLOAT || format == VK_FORMAT_R32G32_SFLOAT || format == VK_FORMAT_R32G32B32A32_SFLOAT;
    return isFloat32 ? VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT : 0;
  };
  return device;
}

}  // namespace ostra::pretended
