// Which render noise a mode stands for. Kernels get the noises that the uniforms "noiseMode_0", "noiseMode_1", ...
// choose; docs/noise.md lists the modes.
#pragma once

#include <iterator>

#include "ostra/render/render_noise.h"

namespace ostra {

// A kernel has at most so many noises.
inline constexpr Int kMaxNoises = 128;

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
