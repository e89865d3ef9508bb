// Values of uniforms, written as text: one number, or the components of a vector or matrix with commas between them.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/data.h"

namespace ostra::plans {

// The value of `type` that the text "1,2,3,4" names; blanks around numbers are allowed. Matrices are given column by
// column. Errors: usage error for a wrong number of components and for texts that are no numbers of the type, without
// the name of the parameter; out of memory.
Result<Data> ParseValue(DataType type, std::string_view text);

// The other way round. Types that are not made of numbers give their own text form.
Result<std::string> PrintValue(const Data& value);

}  // namespace ostra::plans
