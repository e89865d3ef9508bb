// In how many dimensions a kernel asks where it is.
#pragma once

#include <optional>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernelruntime {

// 1 for a kernel that knows its invocations by their number alone, 2 for one that asks for a y, such as
// `InGlobalInvocationID.y`, or whose GROUPSIZE has several rows, 3 for z. Nothing when an ID is handed on whole, as in
// `Inside(InGlobalInvocationID)`. `text`: the kernel with its headers.
std::optional<Int> CountPositionAxes(std::string_view text);

}  // namespace ostra::kernelruntime
