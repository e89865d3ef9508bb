// Which texels a lookup reads. Coordinates inside the texture are answered inline; the rest goes through functions that
// do not depend on the texel format.
//
// What the common way needs is inlined by force: with hundreds of callers compilers would rather call it, and pass
// vectors through memory.
#pragma once

#include "parallelprogram/textures/sampling_data.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#define OSTRA_SAMPLER_INLINE [[gnu::always_inline]] inline

namespace ostra::sampler {

using Float4 = Float32 __attribute__((vector_size(16)));
using Int4 = Int32 __attribute__((vector_size(16)));
using UInt4 = UInt32 __attribute__((vector_size(16)));

OSTRA_SAMPLER_INLINE Float4 Broadcast(Float32 value) { return Float4{value, value, value, value}; }

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

// The first values of an array, followed by zeros.
template <Int kCount, class Lanes, class T>
OSTRA_SAMPLER_INLINE Lanes LoadLanes(const T* values) {
  if constexpr (kCount == 1)
    return Lanes{values[0]};
  else if constexpr (kCount == 2)
    return Lanes{values[0], values[1]};
  else
    return Lanes{values[0], values[1], values[2]};
}

// A bit for each of the first `kCount` comparisons that holds.
template <Int kCount>
OSTRA_SAMPLER_INLINE UInt32 GetBits(Int4 comparisons) {
  constexpr UInt32 kMask = (1u << kCount) - 1;
#if defined(__SSE2__)
  return static_cast<UInt32>(_mm_movemask_ps(reinterpret_cast<__m128>(comparisons))) & kMask;
#else
  UInt32 bits = 0;
  for (Int i = 0; i < kCount; ++i) bits |= static_cast<UInt32>(comparisons[i] != 0) << i;
  return bits & kMask;
#endif
}

// Whether the first `kCount` comparisons hold.
template <Int kCount>
OSTRA_SAMPLER_INLINE Bool AreAllSet(Int4 comparisons) {
  return GetBits<kCount>(comparisons) == (1u << kCount) - 1;
}

// The number of the texel at `index` (one per dimension) in a layer. Like the numbers of all texels, it has 32 bits.
template <Int kDimensions>
OSTRA_SAMPLER_INLINE UInt32 GetTexelNumber(const UInt32 (&index)[kDimensions], UInt32 layer,
                                           const Vec3<UInt32>& extent) {
  if constexpr (kDimensions == 1)
    return extent.x * layer + index[0];
  else if constexpr (kDimensions == 2)
    return (extent.y * layer + index[1]) * extent.x + index[0];
  else
    return ((extent.z * layer + index[2]) * extent.y + index[1]) * extent.x + index[0];
}

// The wrap mode of an axis.
inline UInt32 GetWrapMode(UInt32 flags, Int axis) { return flags >> (2 * axis) & PackedTextureFlags::kWrapMask; }

// The neighbours of a coordinate along each axis, a lane per axis, and how much the second ones weigh.
struct Neighbours {
  UInt4 first;
  UInt4 second;
  Float4 weight;

  // The number of the neighbour that is the second one along the axes whose bit is set.
  template <Int kDimensions>
  OSTRA_SAMPLER_INLINE UInt32 GetTexelNumber(UInt32 corner, UInt32 layer, const Vec3<UInt32>& extent) const {
    const auto select = [&](int axis) { return (corner >> axis & 1 ? second : first)[axis]; };
    if constexpr (kDimensions == 1)
      return sampler::GetTexelNumber<1>({select(0)}, layer, extent);
    else if constexpr (kDimensions == 2)
      return sampler::GetTexelNumber<2>({select(0), select(1)}, layer, extent);
    else
      return sampler::GetTexelNumber<3>({select(0), select(1), select(2)}, layer, extent);
  }
};

// Which neighbours are the border colour: bit i of [k] stands for the neighbour k along axis i.
struct Borders {
  UInt32 axes[2];
};

// Finds the neighbours of coordinates as a sample function takes them, wherever they are.
template <Int kDimensions>
Borders FindNeighbours(const Float32* coordinates, const SamplingData& data, Neighbours& neighbours);

// The same when all neighbours are inside. `position` is in texels, half a texel less than where it points. False when
// one is outside.
template <Int kDimensions>
OSTRA_SAMPLER_INLINE Bool FindNeighboursInside(Float4 position, Float4 extent, Neighbours& neighbours) {
  const Float4 next = position + Broadcast(1.0f);
  if (!AreAllSet<kDimensions>((position >= Broadcast(0.0f)) & (next < extent))) return false;
  const Int4 first = __builtin_convertvector(position, Int4);
  neighbours.first = reinterpret_cast<UInt4>(first);
  // Not simply the first index plus one: the sum above may have been rounded up to the texel after it.
  neighbours.second = reinterpret_cast<UInt4>(__builtin_convertvector(next, Int4));
  neighbours.weight = position - __builtin_convertvector(first, Float4);
  return true;
}

// A coordinate as a sample function takes it, in texels.
inline Float32 ScaleCoordinate(Float32 coordinate, UInt32 extent, UInt32 flags) {
  if (flags < PackedTextureFlags::kNormalizedCoordinates) return coordinate;
  return coordinate * static_cast<Float32>(extent);
}

// The texel along an axis that `coordinate` (in texels) points into. False for the border.
Bool ResolveNearest(Float32 coordinate, UInt32 extent, UInt32 mode, UInt32& index);

// The texel at an integer coordinate that is outside. False for the border.
Bool ResolveInteger(Int32 coordinate, UInt32 extent, UInt32 mode, UInt32& index);

}  // namespace ostra::sampler
