// Which compilers CompileShader uses: part of the key of everything that is kept of its results.
#pragma once

#include "ostra/core/string.h"

namespace ostra {

// Names and versions of the compiler and of the optimiser, and a hash of the files of this folder, whose passes change
// their results. Error: out of memory.
Result<String> GetShaderCompilerVersion();

}  // namespace ostra
