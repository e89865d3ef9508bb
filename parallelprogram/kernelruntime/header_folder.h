// Where the framework's headers lie.
#pragma once

#include <string>

#include "ostra/core/result.h"

namespace ostra::kernelruntime {

// The folder that kernels' #include lines start from: beside the host's library in a build, in the prefix once
// installed. Error: illegal state when it is not there.
Result<std::string> FindHeaderFolder();

}  // namespace ostra::kernelruntime
