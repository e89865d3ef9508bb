// The family of fetch and sample functions: one per output, dimensionality, texel channel count, format and flags.
//
//   OSTRA_ASSIGN_OR_RETURN(SampleFunction sample, (SelectSampleFunction<2, 4>(bindData)));
//
// Which one a texture needs depends on its channel count, format and flags. Errors: illegal state for a channel count
// outside 1 to 4, then for a value that is no format. The functions are stateless; calling them is thread-safe.
#pragma once

#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

// Filtered lookups at float coordinates of textures with 1, 2 or 3 dimensions that give 1 to 4 floats.
template <Int kDimensions, Int kOutputs>
Result<SampleFunction> SelectSampleFunction(const TextureBindData& bindData);

// The same for integer coordinates.
template <Int kDimensions, Int kOutputs>
Result<FetchFunction> SelectFetchFunction(const TextureBindData& bindData);

// Lookups at integer coordinates that give one byte.
template <Int kDimensions>
Result<FetchFunction> SelectByteFetchFunction(const TextureBindData& bindData);

}  // namespace ostra
