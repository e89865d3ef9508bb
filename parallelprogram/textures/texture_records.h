// What is done with a texture's description before there is a sampler: checks, and the copy of its texels.
#pragma once

#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

// How many axes are longer than one texel: 1, 2 or 3. Error: illegal argument for an axis without texels, a single
// texel, or a channel count outside 1 to 4.
Result<Int> CheckBindData(const TextureBindData& bindData);

// The record for `bindData`. With `copyTexels` it has a copy of the texels, or zeros where there are none; otherwise
// none. Error: out of memory.
Result<SamplingData> BuildSamplingData(const TextureBindData& bindData, Bool copyTexels = true);

// Wrap modes, filter and coordinate kind in one word. Values that do not fit spill into the bits above.
PackedTextureFlags PackTextureFlags(const TextureBindData& bindData);

// The type of one element. Error: illegal state for a value that is no format.
Result<DataType> GetElementType(const TextureBindData& bindData);

}  // namespace ostra
