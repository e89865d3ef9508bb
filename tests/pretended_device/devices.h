// The devices that can be pretended: each is a file of the folder `devices` with its name.
#pragma once

#include "tests/pretended_device/pretended_device.h"

namespace ostra::pretended {

PretendedDevice MakeDiscrete();
PretendedDevice MakeDiscreteVisible();
PretendedDevice MakeUnified();
PretendedDevice MakePortability();
PretendedDevice MakeNoNarrowTypes();
PretendedDevice MakeNoHalfArithmetic();
PretendedDevice MakeNoScalarLayout();
PretendedDevice MakeNoFloatFilter();
PretendedDevice MakeLeastLimits();
PretendedDevice MakeVulkan12();
PretendedDevice MakeVulkan13();
PretendedDevice MakeQueueFamilies();
PretendedDevice MakeComputeOnly();
PretendedDevice MakeNvidia();
PretendedDevice MakeAmd();
PretendedDevice MakeIntel();
PretendedDevice MakeApple();
PretendedDevice MakePhone();

}  // namespace ostra::pretended
