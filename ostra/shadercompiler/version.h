// Which compilers CompileShader uses: part of the key of everything that is kept of its results.
#pragma once

#include "ostra/core/string.h"

namespace ostra {

// Names and versions of the compiler and of the optimiser. Error: out of memory.
Result<String> GetShaderCompilerVersion();

}  // namespace ostra
