// Copies for bytes that this processor does not look at again soon: those that a device reads, or that are read much
// later.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Copies `bytes` bytes between areas that do not overlap, past the caches: the target is not read first, and what was
// in the caches stays there. Up to twice as fast as MemCopy where the target is larger than the caches, slower where it
// would have fitted and is read at once. Other threads see the bytes as after MemCopy. Thread-safe.
OSTRA_API void StreamCopy(void* target, const void* source, Int bytes);

}  // namespace ostra
