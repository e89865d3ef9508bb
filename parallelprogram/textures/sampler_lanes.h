// The wide form of the family of sampler functions: one function per dimensionality, kind of lookup and instruction
// level, which finds the rest (format, channels, wrap modes) at run time.
//
//   SetSamplerLanes(sampler, 2, 4, bindData);      // a sampler whose functions came from SelectSampleFunction<2, 4>
//
// Lanes that the wide form has no quick way for (places that are no numbers, or very far outside) are looked up one by
// one with the sampler's own functions.
#pragma once

#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

// Gives a sampler with functions of the family its wide form. `outputs` is 0 for a sampler of bytes; the sampler's
// slots and `bindData` are those of the selection. A point sampler gets a wide form for its fetch slot only.
void SetSamplerLanes(TextureSamplerDataHelper& sampler, Int dimensions, Int outputs, const TextureBindData& bindData);

}  // namespace ostra
