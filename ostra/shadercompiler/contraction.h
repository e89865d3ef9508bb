// Arithmetic as it is written, in SPIR-V.
#pragma once

#include <vector>

#include "ostra/core/types.h"

namespace ostra::shadercompiler {

// Marks every floating-point operation with NoContraction: a device must not fuse a multiplication and an addition, nor
// change their order. Words that are no SPIR-V stay as they are.
void ForbidContraction(std::vector<UInt32>& words);

}  // namespace ostra::shadercompiler
