// Finds the header of a source, and the headers that it includes.
#pragma once

#include "parallelprogram/shaderparser/parse_state.h"
#include "parallelprogram/shaderparser/source_file.h"

namespace ostra {

struct IncludeFile {
  Int32 file = 0;  // its number in ShaderPieces::files
  SourceFile source;
};

// The headers of `file`, those that are included before those that include them; none when it has no header. A
// header whose guard was met before is left out with all that it includes. Appends the preambles of PNanoVDB files to
// the file-scope code. Errors: those of reading files; illegal argument for headers that include each other for ever
// and, when endless sources are refused, for too many of them; out of memory.
Result<BaseArray<IncludeFile>> ScanIncludes(ParseState& state, const Url& file);

}  // namespace ostra
