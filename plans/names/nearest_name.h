// Suggestions for misspelt names.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::plans {

// The name most like `name`; empty when none is close enough to be what was meant.
std::string_view FindNearestName(std::string_view name, std::span<const std::string> names);

// "; did you mean \"radius\"?", or the list of the names when none is near: the end of an error line.
std::string SuggestName(std::string_view name, std::span<const std::string> names);

}  // namespace ostra::plans
