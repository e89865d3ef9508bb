// The backend of machines without a GPU: its cache has an empty type and makes nothing, its context supports nothing.
// Also the skeleton of a new backend.
#pragma once

#include "ostra/drawport/drawport.h"

namespace ostra {

// Every operation but GetCacheType answers not implemented. Error: out of memory.
OSTRA_API Result<DrawportCacheRef> CreateNullCache();

// A drawport whose contexts have no feature and the default command list. Error: out of memory.
OSTRA_API Result<DrawportRef> CreateNullDrawport();

}  // namespace ostra
