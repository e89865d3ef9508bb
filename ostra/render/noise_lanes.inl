// All noises for several places at once, for the instruction level OSTRA_LANE_LEVEL: the texts with other types.
#include "ostra/math/lanes/lanes.inl"
#include "ostra/render/noise_functions.h"

#include "ostra/math/lanes/level_begin.inl"

namespace ostra::OSTRA_LANES {
namespace noise_text {
namespace {

using uint = Lanes<UInt32>;
using Floats = Lanes<Float32>;
using OSTRA_LANES::min;
using vocabulary::min;

OSTRA_LANE_INLINE uint operator>>(uint value, int count) { return uint::Make(value.v >> static_cast<UInt32>(count)); }

// choices.h for lanes.
OSTRA_LANE_INLINE Bool NoiseAll(Mask condition) { return All(condition); }
OSTRA_LANE_INLINE Bool NoiseAny(Mask condition) { return Any(condition); }
OSTRA_LANE_INLINE Mask NoiseBoth(Mask a, Mask b) { return a & b; }
OSTRA_LANE_INLINE Floats NoiseChoose(Mask condition, Floats a, Floats b) { return Select(condition, a, b); }
OSTRA_LANE_INLINE uint NoiseWhole(Floats x) { return Convert<UInt32>(Convert<Int32>(x)); }
OSTRA_LANE_INLINE Floats NoiseNumber(uint x) { return Convert<Float32>(Convert<Int32>(x)); }

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#ifdef __clang__
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define float Floats
#define bool Mask
#include "ostra/render/noise_texts.inl"
#undef float
#undef bool
#pragma GCC diagnostic pop

using LaneNoise = Floats (*)(uint, int, Floats, Floats, Floats, Floats);

// Places of any kind.
template <LaneNoise noise>
void EvaluateLanes(Float32* values, UInt32 key, Int32 depth, const Float32* places) {
  const auto load = [&](int axis) __attribute__((always_inline)) {
    return NoiseCoordinate(Load(places + axis * kLaneCount));
  };
  Store(values, noise(key, depth, load(0), load(1), load(2), load(3)));
  OSTRA_LANE_CLEAR;
}

constexpr NoiseLanesFunction kFunctions[] = {
#define OSTRA_NOISE(mode, name, id) &EvaluateLanes<Noise##name>,
#include "ostra/render/noise_table.inl"
};

}  // namespace
}  // namespace noise_text
}  // namespace ostra::OSTRA_LANES

#include "ostra/math/lanes/level_end.inl"
