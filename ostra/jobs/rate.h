// How long one index of a loop takes, measured while the loop runs. Internal to this folder.
#pragma once

#include <algorithm>

#include "ostra/jobs/ticks.h"

namespace ostra {

class Rate {
 public:
  Rate() = default;
  explicit Rate(Float64 ticksPerIndex) : _ticksPerIndex(ticksPerIndex) {}

  void Measure(Int indexCount, UInt64 ticks) {
    _ticksPerIndex = static_cast<Float64>(ticks + 1) / static_cast<Float64>(indexCount);
  }

  // How many indices fit into `ticks`; at least 1.
  Int GetIndexCount(UInt64 ticks) const {
    constexpr Float64 kMany = 1e15;
    return static_cast<Int>(std::min(static_cast<Float64>(ticks) / _ticksPerIndex, kMany)) + 1;
  }

 private:
  Float64 _ticksPerIndex = 1;
};

}  // namespace ostra
