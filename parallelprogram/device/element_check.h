// Holds the elements of a buffer against the type that a program declares for them.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/drawport/parameters.h"

namespace ostra {

// Error: illegal argument when `given` has another size than the declared elements, or is made of other numbers. Signed
// and unsigned integers count as the same, and types that only the client or the program knows, such as structs, are
// taken as they are.
Result<void> CheckElements(const DrawportParameter& parameter, DataType given);

}  // namespace ostra
