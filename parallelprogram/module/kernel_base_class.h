// The class net.ostra.kernelclasses.base: a kernel without parameters, with the tuning values that every kernel starts
// from. It can be created and asked; running it is an error.
#pragma once

#include "ostra/object/class.h"

namespace ostra {

// Error: out of memory.
Result<ClassRef> CreateKernelBaseClass();

}  // namespace ostra
