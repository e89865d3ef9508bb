// The largest program that a driver is given.
#pragma once

#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/core/result.h"

namespace ostra::vulkan {

// Words of SPIR-V of one stage: about 300 KB of text of small functions. SetDrawportProgramLimit and the environment
// variable OSTRA_GPU_PROGRAM_LIMIT ("off" or a number of words) say otherwise; the environment goes first.
inline constexpr Int kProgramLimit = 400000;
// So many times the limit a stage may have with its calls replaced by the bodies of the functions.
inline constexpr Int kInlinedLimitFactor = 3;

// Errors: illegal argument that names the program, its size and the limit; out of memory.
Result<void> CheckProgramSize(Block<const UInt32> spirv, std::string_view program);

}  // namespace ostra::vulkan
