// SPIRV-Tools: is it valid, and can it be shorter. Internal.
#pragma once

#include <vector>

#include "ostra/shadercompiler/shader_compiler.h"

namespace ostra::shadercompiler {

// Appends an error message when the words are not valid for the device.
void CheckSpirv(Bool isHlsl, const std::vector<UInt32>& words, std::vector<ShaderMessage>& messages);

// Makes the words shorter and faster; they stay as they are when that fails.
void OptimizeSpirv(Bool isHlsl, std::vector<UInt32>& words);

}  // namespace ostra::shadercompiler
