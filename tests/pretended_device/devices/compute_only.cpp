// A device that computes and does not draw.
#include "tests/pretended_device/device_parts.h"
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeComputeOnly() {
  PretendedDevice device;
  device.key = "compute_only";
  device.name = "Pretended device that computes";
  device.queueFamilies = {{.flags = kComputeQueue, .timestampBits = 0}};
  return device;
}

}  // namespace ostra::pretended
