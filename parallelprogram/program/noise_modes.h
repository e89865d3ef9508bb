// Which render noise a mode stands for. Kernels get the noises that the uniforms "noiseMode_0", "noiseMode_1", ...
// choose; docs/noise.md lists the modes.
#pragma once

#include <algorithm>
#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/core/interned_id.h"
#include "ostra/render/render_noise.h"

namespace ostra {

// A kernel has at most so many noises.
inline constexpr Int kMaxNoises = 128;

// The uniforms of a noise, with its number for the "@".
inline constexpr std::string_view kNoiseModePattern = "noiseMode_@";
inline constexpr std::string_view kNoiseSeedPattern = "noiseSeed_@";

// The names of a pattern for all noises. Error: out of memory.
inline Result<BaseArray<InternedId>> MakeNoiseNames(std::string_view pattern) {
  BaseArray<InternedId> names;
  OSTRA_RETURN_IF_ERROR(names.Reserve(kMaxNoises));
  for (Int i = 0; i < kMaxNoises; ++i) {
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(pattern, i));
    OSTRA_RETURN_IF_ERROR(names.Append(name));
  }
  return names;
}

// Modes go from 0 to kNoiseModeCount - 1; some of them have no class of their own.
inline constexpr Int32 kNoiseModeCount = std::max({
#define OSTRA_NOISE(mode, name, id) mode + 1,
#include "ostra/render/noise_table.inl"
});

// The class of a mode. Numbers without a class of their own give turbulence.
constexpr const Id& GetNoiseClass(Int32 mode) {
  switch (mode) {
#define OSTRA_NOISE(mode, name, id) \
  case mode:                        \
    return k##name##Noise;
#define OSTRA_DEFAULT_NOISE(mode, name, id) \
  default:                                  \
    return k##name##Noise;
#include "ostra/render/noise_table.inl"
  }
}

}  // namespace ostra
