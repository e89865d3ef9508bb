// The size of a compiled shader, as drivers meet it.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/result.h"

namespace ostra {

struct ShaderSize {
  UInt64 words = 0;
  // With every call replaced by the body of the function, as drivers do; at most 2^40 for each entry point.
  UInt64 inlinedWords = 0;
};

// Words that are no SPIR-V have no functions. Error: out of memory.
Result<ShaderSize> CountShaderWords(Block<const UInt32> words);

}  // namespace ostra
