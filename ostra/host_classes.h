// The classes that the host has without a module: noises, gradients, stream conversions, GPU programs, the GPU layer of
// machines without a GPU.
//
// Host::Create registers them. A program without a Host, which uses the host's library alone, calls this first.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/result.h"

namespace ostra {

// Registers those that are missing; they stay until the process ends. Thread-safe. Error: out of memory; what is
// registered by then stays, and another call registers the rest.
OSTRA_API Result<void> RegisterHostClasses();

}  // namespace ostra
