// How many threads parallel work uses.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Threads that take part in parallel work, the calling one included; at least 1. Thread-safe.
OSTRA_API Int GetWorkerThreadCount();

// Sets that number, at most 255; a value below 1 restores the number of the hardware. For tests and tools; not to be
// called while parallel work runs.
OSTRA_API void SetWorkerThreadLimit(Int count);

}  // namespace ostra
