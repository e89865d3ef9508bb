// Which texels a lookup reads. Coordinates inside the texture are answered inline; the rest goes through functions that
// do not depend on the texel format.
#pragma once

#include "parallelprogram/textures/sampling_data.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ostra::sampler {

// The low 32 bits of `value` truncated to 64 bits; 0 for NaN and beyond 64 bits.
inline UInt32 TruncateToIndex(Float32 value) {
#if defined(__SSE2__) && defined(__x86_64__)
  return static_cast<UInt32>(_mm_cvttss_si64(_mm_set_ss(value)));
#else
  constexpr Float32 kLimit = 9223372036854775808.0f;
  if (!(value > -kLimit && value < kLimit)) return 0;
  return static_cast<UInt32>(static_cast<UInt64>(static_cast<Int64>(value)));
#endif
}

// The wrap mode of an axis.
inline UInt32 GetWrapMode(UInt32 flags, Int axis) { return flags >> (2 * axis) & PackedTextureFlags::kWrapMask; }

// The two neighbours of a coordinate along an axis.
struct AxisPair {
  UInt32 index[2];
  Float32 weight;  // of the second one
  UInt32 borders;  // bit 0 and bit 1: the neighbour is the border colour
};

// Fills `pair` for a coordinate of which a neighbour is outside, or that is no number.
void ResolveOutside(Float32 coordinate, UInt32 extent, UInt32 mode, AxisPair& pair);

// Fills `pair` for a coordinate in texels, half a texel less than where it points.
inline void ResolveAxis(Float32 coordinate, UInt32 extent, UInt32 mode, AxisPair& pair) {
  const Float32 next = coordinate + 1.0f;
  if (coordinate >= 0 && next < static_cast<Float32>(extent)) [[likely]] {
    const Int64 index = static_cast<Int64>(coordinate);
    pair.index[0] = static_cast<UInt32>(index);
    // Not simply the index plus one: the sum above may have been rounded up to the texel after it.
    pair.index[1] = static_cast<UInt32>(static_cast<Int64>(next));
    pair.weight = coordinate - static_cast<Float32>(index);
    pair.borders = 0;
    return;
  }
  ResolveOutside(coordinate, extent, mode, pair);
}

// The texel along an axis that `coordinate` (in texels) points into. False for the border.
Bool ResolveNearest(Float32 coordinate, UInt32 extent, UInt32 mode, UInt32& index);

// The texel at an integer coordinate that is outside. False for the border.
Bool ResolveInteger(Int32 coordinate, UInt32 extent, UInt32 mode, UInt32& index);

// The number of the texel at `index` (one per dimension) in a layer. Like the numbers of all texels, it has 32 bits.
template <Int kDimensions>
inline UInt32 GetTexelNumber(const UInt32* index, UInt32 layer, const Vec3<UInt32>& extent) {
  if constexpr (kDimensions == 1)
    return extent.x * layer + index[0];
  else if constexpr (kDimensions == 2)
    return (extent.y * layer + index[1]) * extent.x + index[0];
  else
    return ((extent.z * layer + index[2]) * extent.y + index[1]) * extent.x + index[0];
}

}  // namespace ostra::sampler
