#include "parallelprogram/textures/sampler_addressing.h"

#include <cmath>

namespace ostra::sampler {
namespace {

// Same value as fmodf (but for the sign of a zero, which truncation drops), without its loop: with a quotient below
// 2^28 the whole part of the division, the product and the difference are exact in 64 bits.
Float32 Remainder(Float32 value, Float32 divisor) {
  constexpr Float64 kLimit = 268435456.0;
  const Float64 quotient = Float64{value} / Float64{divisor};
  if (!(std::fabs(quotient) < kLimit)) return std::fmod(value, divisor);
  const Float64 whole = static_cast<Float64>(static_cast<Int64>(quotient));
  return static_cast<Float32>(Float64{value} - whole * Float64{divisor});
}

}  // namespace

Bool ResolveNearest(Float32 coordinate, UInt32 extent, UInt32 mode, UInt32& index) {
  const Float32 size = static_cast<Float32>(extent);
  if (coordinate >= size || 0 > coordinate) {
    switch (static_cast<TextureWrapMode>(mode)) {
      case TextureWrapMode::REPEAT: {
        const Float32 remainder = Remainder(coordinate, size);
        coordinate = coordinate < 0 ? size + remainder : remainder;
        break;
      }
      case TextureWrapMode::CLAMP:
        coordinate = coordinate < 0 ? 0.0f : size - 1.0f;
        break;
      case TextureWrapMode::BORDER:
        return false;
      default:
        break;
    }
  }
  index = TruncateToIndex(coordinate);
  return true;
}

namespace {

Float4 Select(Int4 mask, Float4 a, Float4 b) {
  return reinterpret_cast<Float4>((mask & reinterpret_cast<Int4>(a)) | (~mask & reinterpret_cast<Int4>(b)));
}

// The axes with a wrap mode.
Int4 FindAxes(UInt32 flags, TextureWrapMode mode) {
  const UInt32 number = static_cast<UInt32>(mode);
  const UInt4 modes = UInt4{flags, flags, flags, flags} & UInt4{3, 3 << 2, 3 << 4, 0};
  return reinterpret_cast<Int4>(modes == UInt4{number, number << 2, number << 4, 0});
}

// All axes at once, for positions less than one extent outside: remainders are then a sum or a difference, without
// rounding but for that of the sum. False for others, and for what is no number.
template <Int kDimensions>
Bool FindNeighboursNearby(Float4 position, Float4 extent, UInt32 flags, Neighbours& neighbours, Borders& borders) {
  constexpr Float32 kMax = 268435456.0f;  // doubled, it fits into an integer
  const Float4 next = position + kNextTexel;
  if (!AreAllSet<kDimensions>((position > -extent) & (next < extent + extent) & (extent > Broadcast(0)) &
                              (extent <= Broadcast(kMax))))
    return false;
  const Int4 isRepeated = FindAxes(flags, TextureWrapMode::REPEAT);
  const Int4 isClamped = FindAxes(flags, TextureWrapMode::CLAMP);
  const Int4 hasBorder = FindAxes(flags, TextureWrapMode::BORDER);
  const auto resolve = [&](Float4 place, UInt32& border) {
    const Int4 isBelow = place < Broadcast(0.0f);
    const Int4 isOutside = isBelow | (place >= extent);
    const Float4 repeated = Select(isBelow, extent + place, place - extent);
    const Float4 clamped = Select(isBelow, Broadcast(0.0f), extent + Broadcast(-1.0f));
    border = GetBits<kDimensions>(isOutside & hasBorder);
    const Float4 wrapped = Select(isOutside & isRepeated, repeated, Select(isOutside & isClamped, clamped, place));
    return reinterpret_cast<UInt4>(__builtin_convertvector(wrapped, Int4));
  };
  neighbours.first = resolve(position, borders.axes[0]);
  neighbours.second = resolve(next, borders.axes[1]);
  const Float4 whole = __builtin_convertvector(__builtin_convertvector(position, Int4), Float4);
  neighbours.weight = position - Select(whole > position, whole - Broadcast(1.0f), whole);
  return true;
}

}  // namespace

template <Int kDimensions>
Borders FindNeighbours(const Float32* coordinates, const SamplingData& data, Neighbours& neighbours) {
  const UInt32 flags = data._flags._bits;
  Borders borders = {};
  const Float4 extents = LoadExtents(data);
  Float4 place = LoadLanes<kDimensions, Float4>(coordinates);
  if (flags >= PackedTextureFlags::kNormalizedCoordinates) place = place * extents;
  if (FindNeighboursNearby<kDimensions>(place + kHalfTexel, extents, flags, neighbours, borders)) return borders;
  neighbours.first = neighbours.second = UInt4{};
  neighbours.weight = Float4{};
  for (Int i = 0; i < kDimensions; ++i) {
    const UInt32 extent = data._dimensions[static_cast<int>(i)];
    const Float32 position = ScaleCoordinate(coordinates[i], extent, flags) + -0.5f;
    const UInt32 mode = GetWrapMode(flags, i);
    neighbours.weight[i] = position - std::floor(position);
    UInt32 first = 0, second = 0;
    if (!ResolveNearest(position, extent, mode, first)) borders.axes[0] |= 1u << i;
    if (!ResolveNearest(position + 1.0f, extent, mode, second)) borders.axes[1] |= 1u << i;
    neighbours.first[i] = first;
    neighbours.second[i] = second;
  }
  return borders;
}

template Borders FindNeighbours<1>(const Float32*, const SamplingData&, Neighbours&);
template Borders FindNeighbours<2>(const Float32*, const SamplingData&, Neighbours&);
template Borders FindNeighbours<3>(const Float32*, const SamplingData&, Neighbours&);

Bool ResolveInteger(Int32 coordinate, UInt32 extent, UInt32 mode, UInt32& index) {
  switch (static_cast<TextureWrapMode>(mode)) {
    case TextureWrapMode::REPEAT: {
      const Float32 size = static_cast<Float32>(static_cast<Int32>(extent));
      const UInt32 remainder = TruncateToIndex(Remainder(static_cast<Float32>(coordinate), size));
      index = (coordinate < 0 ? extent : 0) + remainder;
      return true;
    }
    case TextureWrapMode::CLAMP:
      index = coordinate < 0 ? 0 : extent - 1;
      return true;
    case TextureWrapMode::BORDER:
      return false;
    default:
      index = static_cast<UInt32>(coordinate);
      return true;
  }
}

}  // namespace ostra::sampler
