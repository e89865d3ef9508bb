// The functions of all noise classes, made from the texts in ostra/render/noise. Used by the render noise classes.
#pragma once

#include <span>

#include "ostra/core/id.h"

namespace ostra {

// The value at a position. The key stands for the seed; the depth is the most octaves to be summed up.
using NoiseFunction = Float32 (*)(UInt32 key, Int32 depth, Float32 x, Float32 y, Float32 z, Float32 w);

// The same for several places at once, of which there are 4, 8 or 16 by instruction level (ostra/math/lanes): `places`
// holds their first coordinates one after the other, then their second ones and so on. The same bits.
using NoiseLanesFunction = void (*)(Float32* values, UInt32 key, Int32 depth, const Float32* places);

struct NoiseEntry {
  Id id;
  NoiseFunction function;
};

// One entry per class, in the order of the table (noise_table.inl).
std::span<const NoiseEntry> GetNoiseEntries();

// The function for 4 << level places of the noise with this place in the entries. Null for a level that this
// processor's kind does not have.
NoiseLanesFunction GetNoiseLanes(Int entry, Int level);

// Seeds that are close to each other give keys that have nothing in common.
UInt32 MakeNoiseKey(Int32 seed);

}  // namespace ostra
