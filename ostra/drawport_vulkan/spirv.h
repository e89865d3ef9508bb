// What SPIR-V words say about themselves. Words that are no SPIR-V say nothing.
#pragma once

#include "ostra/core/base_array.h"

namespace ostra::vulkan {

// The binding numbers that variables have: what the optimiser left of the declarations. Sorted. Error: out of memory.
Result<BaseArray<UInt32>> FindBindings(Block<const UInt32> spirv);

// The locations of the inputs, or of the outputs; of matrices the first one. Sorted. Error: out of memory.
Result<BaseArray<UInt32>> FindLocations(Block<const UInt32> spirv, Bool ofInputs);

// The numbers of the capabilities that a device must have. Error: out of memory.
Result<BaseArray<UInt32>> FindCapabilities(Block<const UInt32> spirv);

// Bytes of the variables that a work group shares, without what a device puts between them. Error: out of memory.
Result<UInt64> CountSharedBytes(Block<const UInt32> spirv);

// Whether the words compute the depth of a pixel, whether they run for each sample, and whether they divide patches
// into lines.
Bool WritesDepth(Block<const UInt32> spirv);
Bool RunsForSamples(Block<const UInt32> spirv);
Bool MakesIsolines(Block<const UInt32> spirv);

}  // namespace ostra::vulkan
