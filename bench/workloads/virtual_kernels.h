// Kernel classes without the range interface: every invocation is a call of KernelInterface::Kernel (ours-virtual).
#pragma once

#include "ostra/object/module_descriptor.h"

namespace bench {

inline constexpr const char* kVirtualSaxpy = "bench.saxpy";
inline constexpr const char* kVirtualIndex = "bench.index";

// Enters the classes into the kernel class registry.
ostra::Result<void> RegisterVirtualKernels(ostra::ModuleDescriptor& module);

}  // namespace bench
