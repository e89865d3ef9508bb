// Whether results can be put where they are to be put, asked before work begins that would be lost.
#pragma once

#include "ostra/io/url.h"

namespace ostra::tool {

// Errors: illegal state when the folder that `file` is to be written to is not there or cannot be written; out of
// memory.
Result<void> CheckTargetFolder(const Url& file);

}  // namespace ostra::tool
