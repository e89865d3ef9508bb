// Pieces of texts, as views of them.
#pragma once

#include <string_view>
#include <vector>

#include "ostra/core/export.h"

namespace ostra {

// Without blanks, tabs and carriage returns at both ends.
OSTRA_API std::string_view TrimText(std::string_view text);

// The trimmed pieces between separators; one empty piece for an empty text. Throws std::bad_alloc.
OSTRA_API std::vector<std::string_view> SplitText(std::string_view text, char separator);

}  // namespace ostra
