// How many steps the loops of an invocation may take together in checked kernels, unless the user says otherwise.
#pragma once

#include "ostra/drawport/device_list.h"

namespace ostra {

inline constexpr UInt32 kDefaultStepLimit = 10'000'000;

// That of the device that GPU programs run on: 60,000 for a driver in software, which ends loops after 65,535 steps
// without an error; otherwise kDefaultStepLimit. Any thread.
inline UInt32 GetDefaultStepLimit() {
  constexpr UInt32 kSoftwareStepLimit = 60'000;
  const auto devices = GetDrawportDevices();
  const Bool isSoftware = devices && devices->GetCount() > 0 && (*devices)[0].kind == "software"_s;
  return isSoftware ? kSoftwareStepLimit : kDefaultStepLimit;
}

}  // namespace ostra
