// The samplers that a CPU program makes for its textures.
//
// A texture's dimensionality, channel count, format and filter decide what kind of sampler it gets. `_kind` is the
// number of the kind; there are thirty of them for eighteen sampler types:
//
//   U8, 1 channel, point                          1  (+1 and +2 for two and three dimensions)
//   F32, 1 channel, point                        29
//   F16 and F32, linear, 1 to 4 channels        153 and 157, 185 and 189, 217 and 221, 249 and 253
#pragma once

#include "ostra/core/data_dictionary.h"
#include "ostra/core/intrusive_list.h"
#include "parallelprogram/textures/sampler_types.h"

namespace ostra {

// A place for a sampler object, whose address kernels and tables hold.
struct SamplerNode : ListNode<SamplerNode> {
  TextureSamplerDataHelper sampler;
};

// Makes a sampler for `bindData`, with a copy of the texels, at the end of `samplers` and enters its address (a
// TextureSamplerDataHelper*) as `attr` into `textures`. A sampler that had the name stays in the list.
// Errors: illegal argument for extents, channel counts and combinations that no kind has; illegal state "Illegal state:
// Invalid format" for formats above F32 that look like a kind; out of memory. The node of a sampler that could not be
// completed stays in the list, empty.
Result<void> StoreTexture(IntrusiveList<SamplerNode>& samplers, DataDictionary& textures, const InternedId& attr,
                          const TextureBindData& bindData);

// The type of sampler objects of `kind`; no type for a number that is no kind.
DataType GetSamplerType(Int32 kind);

// Whether `type` is one of the 24 types of sampler objects.
Bool IsSamplerType(DataType type);

}  // namespace ostra
