#include "tests/pretended_device/devices.h"

#include <cstdlib>

namespace ostra::pretended {

const std::vector<PretendedDevice>& GetDevices() {
  static const std::vector<PretendedDevice> devices = {
      MakeDiscrete(),       MakeDiscreteVisible(), MakeUnified(),
      MakePortability(),    MakeNoNarrowTypes(),   MakeNoHalfArithmetic(),
      MakeNoScalarLayout(), MakeNoFloatFilter(),   MakeLeastLimits(),
      MakeVulkan12(),       MakeVulkan13(),        MakeQueueFamilies(),
      MakeComputeOnly(),    MakeNvidia(),          MakeAmd(),
      MakeIntel(),          MakeApple(),           MakePhone()};
  return devices;
}

std::vector<const PretendedDevice*> FindChosenDevices() {
  const char* const value = std::getenv("OSTRA_PRETENDED_DEVICE");
  std::string_view wanted = value ? value : "";
  std::vector<const PretendedDevice*> chosen;
  for (bool isLast = false; !isLast;) {
    const std::size_t comma = wanted.find(',');
    isLast = comma == std::string_view::npos;
    const PretendedDevice* found = nullptr;
    for (const PretendedDevice& device : GetDevices())
      if (wanted.substr(0, comma) == device.key) found = &device;
    chosen.push_back(found);
    if (!isLast) wanted.remove_prefix(comma + 1);
  }
  return chosen;
}

}  // namespace ostra::pretended
