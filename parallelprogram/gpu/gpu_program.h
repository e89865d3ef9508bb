// The GPU program: translates kernel files and runs them on a drawport context. Clients create it through its class.
#pragma once

#include "ostra/object/class.h"

namespace ostra {

// The class net.ostra.drawportmisc.gpuprogram. Error: out of memory.
Result<ClassRef> CreateGpuProgramClass();

}  // namespace ostra
