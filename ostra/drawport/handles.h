// The handle types of the GPU layer that the parallel program contract names. Programs that run on the CPU only pass
// them on; the layer's own headers say what can be done with them.
#pragma once

#include "ostra/drawport/cache_items.h"
#include "ostra/drawport/context.h"
#include "ostra/drawport/resources.h"
