// How kernels are compiled: the groups of cmake/kernel_flags.txt, which kernels of applications are compiled with too.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::kernelruntime {

// The file's text, put into the program when it is built.
extern const std::string_view kKernelFlags;

// The options of a group: "all", "exact" or "fast".
std::vector<std::string> GetKernelFlags(std::string_view group);

}  // namespace ostra::kernelruntime
