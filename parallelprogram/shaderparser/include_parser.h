// Takes from a header what the parser knows: defines, structs, inline functions, or the whole text.
#pragma once

#include "parallelprogram/shaderparser/include_scan.h"

namespace ostra {

// Adds to the pieces and, for each define, to the declaration rules. Errors: those of structs and functions, also
// written as a diagnostic; out of memory.
Result<void> ParseIncludeFile(ParseState& state, const IncludeFile& include);

}  // namespace ostra
