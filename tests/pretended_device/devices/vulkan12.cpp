// A device of version 1.2 without the extensions that version 1.3 is made of.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeVulkan12() {
  PretendedDevice device;
  device.key = "vulkan12";
  device.name = "Pretended device of Vulkan 1.2";
  device.apiVersion = VK_API_VERSION_1_2;
  device.promoted = PromotedExtensions::Hidden;
  device.reduceFeatures = [](Features& features) {
    features.since13 = {.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES};
  };
  return device;
}

}  // namespace ostra::pretended
