// Which processor this machine has.
#pragma once

#include <string>

#include "ostra/core/export.h"

namespace ostra {

// A text that differs between processors of other models or features: code made for one may not run on another. It says
// nothing to people. Thread-safe. Throws std::bad_alloc.
OSTRA_API std::string DescribeProcessor();

}  // namespace ostra
