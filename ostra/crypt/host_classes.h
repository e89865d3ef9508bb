// What RegisterHostClasses calls for this folder. Only for the host; one thread at a time.
#pragma once

#include "ostra/core/result.h"

namespace ostra {

// Register what is missing. Error: out of memory.
Result<void> RegisterConversions();

}  // namespace ostra
