// Suggestions for misspelt names.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::tool {

// How many letters have to be inserted, removed, replaced or exchanged with their neighbour to get from `a` to `b`;
// upper and lower case count as the same letter.
Int GetEditDistance(std::string_view a, std::string_view b);

// The name most like `name`; empty when none is close enough to be what was meant.
std::string_view FindNearestName(std::string_view name, std::span<const std::string> names);

// "; did you mean \"radius\"?", or the list of the names when none is near: the end of an error line.
std::string SuggestName(std::string_view name, std::span<const std::string> names);

}  // namespace ostra::tool
