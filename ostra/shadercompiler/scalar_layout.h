// The layout of structured buffers of HLSL.
#pragma once

#include <vector>

#include "ostra/core/types.h"

namespace ostra::shadercompiler {

// HLSL packs the elements of structured buffers tightly, as the CPU and scalar layout do; glslang lays them out by
// rules of GLSL, where three components take 16 bytes. Gives all types inside of storage buffers the offsets and
// strides of scalar layout. Words that are no SPIR-V stay as they are.
void PackStructuredBuffers(std::vector<UInt32>& words);

}  // namespace ostra::shadercompiler
