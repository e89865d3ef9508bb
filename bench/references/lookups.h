// Where the lookups of the texture workloads fall: 4096 rows of 4096, in runs of 64 along a row. Written for single
// numbers and for vectors of them (Lanes), with the arithmetic of the kernels in bench/kernels.
#pragma once

#include <cstdint>

namespace bench {

inline constexpr std::uint32_t kRunLength = 64;
inline constexpr std::uint32_t kRunsPerRow = 64;
inline constexpr std::uint32_t kRuns = kRunsPerRow * 4096;
inline constexpr std::int64_t kLookups = std::int64_t{kRuns} * kRunLength;

// Coherent lookups, in 0..1 over the texture.
struct Scan {
  float corner[3], across[3], down[3];
};

struct OneLane {
  using Float = float;
  using UInt = std::uint32_t;
  static constexpr std::uint32_t kCount = 1;
  // Of numbers below 2^31.
  static Float ToFloat(UInt number) { return static_cast<float>(static_cast<std::int32_t>(number)); }
};

// A place in 0..1 for a number, all over the texture.
template <class Lanes>
typename Lanes::Float Scatter(typename Lanes::UInt number) {
  typename Lanes::UInt mixed = (number ^ (number >> 15)) * 2654435761u;
  mixed = (mixed ^ (mixed >> 13)) * 2246822507u;
  mixed = mixed ^ (mixed >> 16);
  return Lanes::ToFloat(mixed >> 8) * 5.9604644775390625e-8f;
}

// The coordinates of lookup `first` (and those after it) of a run.
template <class Lanes, int kDimensions, bool kIsRandom>
void Locate(const Scan& scan, std::uint32_t run, typename Lanes::UInt first, typename Lanes::Float* at) {
  if constexpr (kIsRandom) {
    const typename Lanes::UInt number = (run * kRunLength + first) * std::uint32_t{kDimensions};
    for (std::uint32_t axis = 0; axis < kDimensions; ++axis) at[axis] = Scatter<Lanes>(number + axis);
  } else {
    const auto column = Lanes::ToFloat(run % kRunsPerRow * kRunLength + first);
    const float row = OneLane::ToFloat(run / kRunsPerRow);
    for (int axis = 0; axis < kDimensions; ++axis)
      at[axis] = scan.corner[axis] + scan.across[axis] * column + scan.down[axis] * row;
  }
}

}  // namespace bench
