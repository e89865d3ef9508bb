// How much memory the tool takes in large areas: OSTRA_MEMORY_LIMIT in the environment, or three quarters of what the
// machine, or the container, has.
#pragma once

#include <string>

#include "ostra/core/result.h"

namespace ostra::tool {

// The bytes of "512M", "8G" or "1000000": whole numbers of bytes, KiB, MiB, GiB or TiB. Usage error for anything else.
Result<Int> ParseMemorySize(std::string_view text);

// Sets the limit of the host's allocator. Usage error for a variable that is no size.
Result<void> ApplyMemoryLimit();

// Memory is exhausted: how much was asked for, what the limit is and how to set another one, where it was the limit.
std::string DescribeExhaustedMemory();

}  // namespace ostra::tool
