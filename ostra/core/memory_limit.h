// A limit on the memory that a process takes in large areas: pictures, buffers, files.
//
//   SetMemoryLimit(Int(4) << 30);
//   ... AllocMem now fails, as if the machine had no more, where all large areas together would go beyond it ...
//   GetMemoryUse().refused                // how much was asked for then
//
// Without a call there is no limit. Areas below 1 MiB are not counted. All functions are thread-safe.
#pragma once

#include <limits>

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

struct MemoryUse {
  Int limit = std::numeric_limits<Int>::max();
  Int inUse = 0;    // bytes of large areas
  Int refused = 0;  // bytes of the area that the limit has refused last; 0 when it has refused none
};

OSTRA_API void SetMemoryLimit(Int bytes);
OSTRA_API MemoryUse GetMemoryUse();

// Counts an area that does not come from AllocMem. False when the limit refuses it: then it must not be taken.
[[nodiscard]] OSTRA_API Bool ReserveMemory(Int bytes);
// Takes a reserved area off the count.
OSTRA_API void ReturnMemory(Int bytes);

}  // namespace ostra
