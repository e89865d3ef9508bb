#include "tests/pretended_device/devices.h"

#include <cstdlib>

namespace ostra::pretended {

const std::vector<PretendedDevice>& GetDevices() {
  static const std::vector<PretendedDevice> devices = {
      MakeDiscrete(),         MakeDiscreteVisible(), MakeUnified(),       MakePortability(), MakeNoNarrowTypes(),
      MakeNoHalfArithmetic(), MakeNoScalarLayout(),  MakeNoFloatFilter(), MakeLeastLimits(), MakeVulkan12(),
      MakeVulkan13(),         MakeQueueFamilies(),   MakeComputeOnly()};
  return devices;
}

const PretendedDevice* FindChosenDevice() {
  const char* wanted = std::getenv("OSTRA_PRETENDED_DEVICE");
  for (const PretendedDevice& device : GetDevices())
    if (wanted && std::string_view(device.key) == wanted) return &device;
  return nullptr;
}

}  // namespace ostra::pretended
