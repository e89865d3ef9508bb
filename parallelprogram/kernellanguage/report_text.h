// The texts of PRINT and ASSERT.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

// What is wrong with a text, in its quotes, of a `word` that shows `count` values; "": nothing.
std::string FindReportTextMistake(std::string_view text, std::string_view word, std::size_t count);

}  // namespace ostra::kernellanguage
