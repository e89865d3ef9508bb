// A device that does not take elements of buffers that are packed tightly.
#include "tests/pretended_device/devices.h"

namespace ostra::pretended {

PretendedDevice MakeNoScalarLayout() {
  PretendedDevice device;
  device.key = "no_scalar_layout";
  device.name = "Pretended device without scalar block layout";
  device.reduceFeatures = [](Features& features) { features.since12.scalarBlockLayout = VK_FALSE; };
  return device;
}

}  // namespace ostra::pretended
