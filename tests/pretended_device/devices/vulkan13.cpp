// A device of version 1.3 that does not list what this version is made of.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeVulkan13() {
  PretendedDevice device;
  device.key = "vulkan13";
  device.name = "Pretended device of Vulkan 1.3";
  device.promoted = PromotedExtensions::Hidden;
  device.maxBufferSize = 1024 * kMiB;
  return device;
}

}  // namespace ostra::pretended
