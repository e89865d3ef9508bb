// The functions of all noise classes, made from the texts in ostra/render/noise. Used by the render noise classes.
#pragma once

#include <span>

#include "ostra/core/id.h"

namespace ostra {

// The value at a position. The key stands for the seed; the depth is the most octaves to be summed up.
using NoiseFunction = Float32 (*)(UInt32 key, Int32 depth, Float32 x, Float32 y, Float32 z, Float32 w);

struct NoiseEntry {
  Id id;
  NoiseFunction function;
};

// One entry per class, in the order of the numbers that programs give them.
std::span<const NoiseEntry> GetNoiseEntries();

// Seeds that are close to each other give keys that have nothing in common.
UInt32 MakeNoiseKey(Int32 seed);

}  // namespace ostra
