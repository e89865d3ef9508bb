// What a translation found, as JSON and for people.
#pragma once

#include <string>

#include "plans/translate/translation.h"

namespace ostra::tool {

// One object: the pieces of a successful translation, or "error". Texts that are not UTF-8 have replacement characters.
Result<std::string> FormatTranslationAsJson(const plans::Translation& translation);

// Lists of what is declared, and the pieces of code under headings. For a successful translation.
Result<std::string> FormatTranslation(const plans::Translation& translation);

// "vec3f" for the type of a value; empty for a buffer, which has none.
std::string_view GetValueTypeName(DataType type);

}  // namespace ostra::tool
