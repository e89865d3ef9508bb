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

template <Int kDimensions>
Borders FindNeighbours(const Float32* coordinates, const SamplingData& data, Neighbours& neighbours) {
  const UInt32 flags = data._flags._bits;
  Borders borders = {};
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
