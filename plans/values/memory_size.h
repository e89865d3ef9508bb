// Sizes of memory as text.
#pragma once

#include <string>

#include "ostra/core/types.h"

namespace ostra::plans {

// "6.1 GiB"
std::string FormatMemorySize(Int bytes);

}  // namespace ostra::plans
