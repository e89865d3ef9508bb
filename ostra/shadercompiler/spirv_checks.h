// SPIRV-Tools: is it valid, and can it be shorter. Internal.
#pragma once

#include <vector>

#include "ostra/shadercompiler/shader_compiler.h"

namespace ostra::shadercompiler {

// Appends an error message when the words are not valid for the device.
void CheckSpirv(Bool isHlsl, const std::vector<UInt32>& words, std::vector<ShaderMessage>& messages);

// What glslang makes of HLSL holds constructs that are not valid for all devices, such as textures in local variables.
// Replaces those; the words stay as they are when that fails.
void LegalizeSpirv(std::vector<UInt32>& words);

// Makes the words shorter and faster, and those of HLSL valid; they stay as they are when that fails. Time and memory
// grow with the square of the longest function.
void OptimizeSpirv(Bool isHlsl, std::vector<UInt32>& words);

}  // namespace ostra::shadercompiler
