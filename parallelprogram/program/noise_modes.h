// Which render noise a mode stands for. Kernels get the noises that the uniforms "noiseMode_0", "noiseMode_1", ...
// choose; docs/noise.md lists the modes.
#pragma once

#include <iterator>
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

// By mode. Modes 1 and 2 have no class of their own.
inline constexpr Id kNoiseClasses[] = {
    kPerlinNoise,
    kTurbulenceNoise,
    kTurbulenceNoise,
    kGaseousNoise,
    kElectricNoise,
    kBoxNoise,
    kBlisteredTurbulenceNoise,
    kDisplacedTurbulenceNoise,
    kBuyaNoise,
    kCranalNoise,
    kDentsNoise,
    kHamaNoise,
    kLukaNoise,
    kModNoise,
    kNakiNoise,
    kNutousNoise,
    kOberNoise,
    kPezoNoise,
    kPoxoNoise,
    kSemaNoise,
    kStuplNoise,
    kVlNoise,
    kWavyTurbulenceNoise,
    kZadaNoise,
    kCellNoise,
};

inline constexpr Int kNoiseModeCount = static_cast<Int>(std::size(kNoiseClasses));

// The class of a mode. Numbers without a class give turbulence.
inline const Id& GetNoiseClass(Int32 mode) {
  const auto index = static_cast<UInt32>(mode);
  return index < std::size(kNoiseClasses) ? kNoiseClasses[index] : kTurbulenceNoise;
}

}  // namespace ostra
