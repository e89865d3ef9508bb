// ostra check: whether kernel files and stage files work on every GPU.
#pragma once

#include "apps/ostra/check/file_check.h"

namespace ostra::tool {

// Writes the findings to standard error, "file:line: error: text" and "file:line: warning: text", and a summary to
// standard output; what --show asks for takes the place of the summary there, which then goes to standard error, too.
// Errors: illegal argument when there are errors among the findings; those of compilers and of writing.
Result<void> CheckFiles(const CheckOptions& options);

}  // namespace ostra::tool
