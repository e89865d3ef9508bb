// Which texels a lookup reads. Coordinates inside the texture are answered inline; the rest goes through functions that
// do not depend on the texel format.
//
// What the common way needs is inlined by force: with hundreds of callers compilers would rather call it, and pass
// vectors through memory.
#pragma once

#include <cstddef>
#include <cstring>

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

template <class T>
OSTRA_SAMPLER_INLINE T Read(const void* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return value;
}

// The first values of an array, followed by zeros. Pairs are loaded at once.
template <Int kCount, class Lanes, class T>
OSTRA_SAMPLER_INLINE Lanes LoadLanes(const T* values) {
  using Pairs = Float64 __attribute__((vector_size(16)));  // only to move eight bytes at once
  if constexpr (kCount == 1) return Lanes{values[0]};
  if constexpr (kCount == 2) return reinterpret_cast<Lanes>(Pairs{Read<Float64>(values)});
  if constexpr (kCount == 3)
    return __builtin_shufflevector(reinterpret_cast<Lanes>(Pairs{Read<Float64>(values)}), Lanes{values[2]}, 0, 1, 4, 5);
}

// The extents of a texture; lanes without an axis hold anything. Extents from 2^31 on become negative.
OSTRA_SAMPLER_INLINE Float4 LoadExtents(const SamplingData& data) {
  constexpr std::size_t kOffset = offsetof(SamplingData, _dimensions);
  static_assert(kOffset + sizeof(Int4) <= sizeof(SamplingData));
  return __builtin_convertvector(Read<Int4>(reinterpret_cast<const Byte*>(&data) + kOffset), Float4);
}

// A bit for each of the first `kCount` lanes that is negative, as those of comparisons that hold are.
template <Int kCount>
OSTRA_SAMPLER_INLINE UInt32 GetBits(Int4 lanes) {
  constexpr UInt32 kMask = (1u << kCount) - 1;
#if defined(__SSE2__)
  return static_cast<UInt32>(_mm_movemask_ps(reinterpret_cast<__m128>(lanes))) & kMask;
#else
  UInt32 bits = 0;
  for (Int i = 0; i < kCount; ++i) bits |= static_cast<UInt32>(lanes[i] < 0) << i;
  return bits & kMask;
#endif
}

// Whether the first `kCount` lanes are negative.
template <Int kCount>
OSTRA_SAMPLER_INLINE Bool AreAllSet(Int4 lanes) {
  return GetBits<kCount>(lanes) == (1u << kCount) - 1;
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

// Constants for three axes. The last lane differs, so that compilers load them instead of spreading a number.
inline constexpr Float4 kHalfTexel = {-0.5f, -0.5f, -0.5f, 0};
inline constexpr Float4 kNextTexel = {1, 1, 1, 0};

// The first neighbours of a place, and the weights of the second ones, when all are inside and lie side by side.
// `position` is in texels, half a texel less than where it points. False when it is not so, and for what is no number.
template <Int kDimensions>
OSTRA_SAMPLER_INLINE Bool FindNeighboursInside(Float4 position, Float4 extents, Int4& first, Float4& weight) {
  const Float4 next = position + kNextTexel;
  first = __builtin_convertvector(position, Int4);
  // The sum may have been rounded up to the texel after the next.
  const Int4 isNext = __builtin_convertvector(next, Int4) - first == Int4{1, 1, 1, 0};
  weight = position - __builtin_convertvector(first, Float4);
  // Signs say the same as comparisons: a difference is negative, even if tiny, exactly when the first number is
  // smaller, and one from something that is no number has the sign of that, so that it cannot be negative when
  // `position` is not.
  const Int4 isNotBelow = ~reinterpret_cast<Int4>(position), isBelowEnd = reinterpret_cast<Int4>(next - extents);
  return AreAllSet<kDimensions>(isNotBelow & isBelowEnd & isNext);
}

// The texels around a place, when they lie side by side: bit i of `corner` stands for the second one along axis i.
template <Int kDimensions, Int kStride>
struct TexelBlock {
  OSTRA_SAMPLER_INLINE TexelBlock(Int4 index, UInt32 layer, const SamplingData& data) {
    UInt32 numbers[kDimensions];
    for (Int i = 0; i < kDimensions; ++i) numbers[i] = static_cast<UInt32>(index[i]);
    first = data._texels + Int{GetTexelNumber<kDimensions>(numbers, layer, data._dimensions)} * kStride;
    if constexpr (kDimensions > 1) row = Int{data._dimensions.x} * kStride;
    if constexpr (kDimensions > 2) slice = Int{data._dimensions.y} * row;
  }
  OSTRA_SAMPLER_INLINE const Byte* GetTexel(UInt32 corner) const {
    const Byte* texel = first + (corner & 1 ? kStride : 0);
    if constexpr (kDimensions > 1) texel += corner & 2 ? row : 0;
    if constexpr (kDimensions > 2) texel += corner & 4 ? slice : 0;
    return texel;
  }

  const Byte* first;
  Int row, slice;  // bytes
};

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
