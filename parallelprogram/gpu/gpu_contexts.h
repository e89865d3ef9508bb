// GpuContexts: what a GPU program works on, and what it worked on before.
#pragma once

#include "parallelprogram/device/device_buffers.h"

namespace ostra {

struct GpuContexts {
  GpuContextData current;
  GpuContextData previous;  // whose memory is counted
  Int number = 1;           // counts the contexts that have taken the place of others
  const UInt64 identity = TakeDeviceOwnerIdentity();

  DeviceOwner GetOwner() const { return {current, identity}; }
};

}  // namespace ostra
