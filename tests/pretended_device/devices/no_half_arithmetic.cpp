// A device whose buffers hold 16-bit floats that it can convert, but not compute with.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeNoHalfArithmetic() {
  PretendedDevice device;
  device.key = "no_half_arithmetic";
  device.name = "Pretended device without 16-bit arithmetic";
  device.reduceFeatures = [](Features& features) {
    features.core.shaderInt16 = VK_FALSE;
    features.since12.shaderFloat16 = VK_FALSE;
    features.since12.shaderInt8 = VK_FALSE;
  };
  return device;
}

}  // namespace ostra::pretended
