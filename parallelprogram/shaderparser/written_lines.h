// Parses a text that stands in for a file and its headers, and makes what is said about its lines be about theirs.
#pragma once

#include "parallelprogram/shaderparser/parse_state.h"

namespace ostra {

// After the rules of `state` are there. Errors: those of parsing a header and a file; out of memory.
Result<void> ParseWrittenSource(ParseState& state, const WrittenSource& written);

}  // namespace ostra
