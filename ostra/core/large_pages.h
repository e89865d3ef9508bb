// A hint to the operating system about memory that is read in random order.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Asks for large pages under an allocated area, so that random reads in it miss the address cache less often. Only a
// hint: areas of less than a few megabytes, and systems without large pages, stay as they are. Thread-safe.
OSTRA_API void AdviseLargePages(void* memory, Int bytes);

}  // namespace ostra
