// Text files of numbers: one element per line, its components separated by commas, semicolons or blanks.
//
// Empty lines and lines that start with # are left out.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/base_array.h"
#include "plans/values/scalar_type.h"

namespace ostra::plans {

// The bytes of all elements. Every line has a whole number of elements. Errors: illegal argument that names the line,
// without the name of the file; out of memory.
Result<BaseArray<Byte>> DecodeCsv(const ElementLayout& layout, std::string_view text);

// Every number is written so that it reads back as the same number.
std::string EncodeCsv(const ElementLayout& layout, Block<const Byte> elements);

}  // namespace ostra::plans
