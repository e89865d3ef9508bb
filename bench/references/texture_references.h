// Filtered texture lookups as others would write them by hand, measured beside the sampler slots: a templated sampler
// that the compiler inlines (inlined), and one that does eight lookups at a time with gathers (eight-wide). Both are
// spread over threads with oneTBB and compiled for this machine; textures have the same extent along all axes.
#pragma once

#include "bench/references/lookups.h"

namespace bench {

enum class TextureKind {
  Rgba32f2D,    // repeated
  R32f3D,       // clamped
  Srgb8Rgba2D,  // repeated; all four channels are decoded before the filter
};

constexpr int GetDimensions(TextureKind kind) { return kind == TextureKind::R32f3D ? 3 : 2; }
constexpr int GetChannels(TextureKind kind) { return kind == TextureKind::R32f3D ? 1 : 4; }

struct LookupWork {
  TextureKind kind;
  bool isRandom;
  int extent;
  const void* texels;
  Scan scan;  // of work that is not random
};

// Writes the sum of each run's lookups, a number a channel.
void SumInlined(const LookupWork& work, float* sums);

// The same up to the order of additions. Only where HasEightWide().
void SumEightWide(const LookupWork& work, float* sums);

// Whether the references are compiled for a machine with gathers.
bool HasEightWide();

// Linear light for the 256 values of an sRGB byte.
const float* GetSrgbCurve();

}  // namespace bench
