// The CPU program: runs kernel objects on the job system. Clients create it through its class.
#pragma once

#include "ostra/object/class.h"

namespace ostra {

// The class net.ostra.drawportmisc.cpuprogram. Error: out of memory.
Result<ClassRef> CreateCpuProgramClass();

}  // namespace ostra
