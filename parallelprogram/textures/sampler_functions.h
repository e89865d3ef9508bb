// The bodies of the fetch and sample functions, for all dimensions, channel counts and decoders.
#pragma once

#include "parallelprogram/textures/sampler_addressing.h"
#include "parallelprogram/textures/sampler_decode.h"

namespace ostra::sampler {

// The neighbours of a coordinate along all axes.
template <Int kDimensions>
struct Neighbours {
  AxisPair axis[kDimensions];

  // The number of the neighbour that is the second one along the axes whose bit is set.
  UInt32 GetTexelNumber(UInt32 corner, UInt32 layer, const Vec3<UInt32>& extent) const {
    UInt32 index[kDimensions];
    for (Int i = 0; i < kDimensions; ++i) index[i] = axis[i].index[corner >> i & 1];
    return sampler::GetTexelNumber<kDimensions>(index, layer, extent);
  }
};

// Blends the corners along x, then y, then z. `load` gives the value of a corner.
template <Int kDimensions, class Load>
inline auto Blend(const Neighbours<kDimensions>& neighbours, const Load& load) {
  const auto along = [&](UInt32 corner) { return Lerp(load(corner), load(corner + 1), neighbours.axis[0].weight); };
  if constexpr (kDimensions == 1) {
    return along(0);
  } else {
    const auto plane = [&](UInt32 corner) { return Lerp(along(corner), along(corner + 2), neighbours.axis[1].weight); };
    if constexpr (kDimensions == 2)
      return plane(0);
    else
      return Lerp(plane(0), plane(4), neighbours.axis[2].weight);
  }
}

// Volumes of one channel: the four pairs along x are blended at once.
template <class Load>
inline Float32 BlendVolume(const Neighbours<3>& neighbours, const Load& load) {
  const Float4 first{load(0), load(2), load(4), load(6)};
  const Float4 second{load(1), load(3), load(5), load(7)};
  const Float4 rows = Lerp(first, second, neighbours.axis[0].weight);
  const Float32 front = Lerp(rows[0], rows[1], neighbours.axis[1].weight);
  const Float32 back = Lerp(rows[2], rows[3], neighbours.axis[1].weight);
  return Lerp(front, back, neighbours.axis[2].weight);
}

// The texel that the coordinates (in texels) point into; null for the border.
template <Int kDimensions>
const Byte* FindNearest(const Float32* coordinates, UInt32 layer, const SamplingData& data, Int stride);

// Like Blend with decoded texels, where some neighbours are the border colour. Writes four floats.
template <Int kDimensions>
void BlendWithBorder(Float32* result, const Neighbours<kDimensions>& neighbours, UInt32 layer, const SamplingData& data,
                     Int stride, DecodeFunction decode);

// The texel at integer coordinates of which some are outside; null for the border.
template <Int kDimensions>
const Byte* FindOutside(const Int32* coordinates, UInt32 layer, const SamplingData& data, Int stride);

inline const Byte* GetTexel(const SamplingData& data, UInt32 number, Int stride) {
  return data._texels + Int{number} * stride;
}

// The texel at integer coordinates; null for the border.
template <Int kDimensions>
inline const Byte* FindTexel(const Int32* coordinates, UInt32 layer, const SamplingData& data, Int stride) {
  UInt32 index[kDimensions];
  Bool isInside = true;
  for (Int i = 0; i < kDimensions; ++i) {
    index[i] = static_cast<UInt32>(coordinates[i]);
    isInside &= coordinates[i] >= 0 && coordinates[i] < static_cast<Int32>(data._dimensions[static_cast<int>(i)]);
  }
  if (!isInside) [[unlikely]]
    return FindOutside<kDimensions>(coordinates, layer, data, stride);
  return GetTexel(data, GetTexelNumber<kDimensions>(index, layer, data._dimensions), stride);
}

template <Int kDimensions, Int kOutputs, class TexelDecoder>
void* Fetch(void* result, const Int32* coordinates, UInt32 layer, const SamplingData* data) {
  const Byte* texel = FindTexel<kDimensions>(coordinates, layer, *data, TexelDecoder::kStride);
  if (texel) [[likely]]
    Store<kOutputs>(result, TexelDecoder::template Load<kOutputs>(texel));
  else
    std::memcpy(result, data->_borderColor, kOutputs * sizeof(Float32));
  return result;
}

// The byte of U8 samplers: the first one of an integer texel, or the whole part of a float.
template <Int kDimensions, Int kStride, Bool kIsFloat>
void* FetchByte(void* result, const Int32* coordinates, UInt32 layer, const SamplingData* data) {
  const Byte* texel = FindTexel<kDimensions>(coordinates, layer, *data, kStride);
  Byte value;
  if (!texel)
    value = TruncateToByte(data->_borderColor[0]);
  else if constexpr (kIsFloat)
    value = TruncateToByte(Read<Float32>(texel));
  else
    value = *texel;
  *static_cast<Byte*>(result) = value;
  return result;
}

// A lookup without a filter. Out of line, because linear samplers do it only when their flags were made so.
template <Int kDimensions>
void SampleNearest(Float32* result, const Float32* coordinates, UInt32 layer, const SamplingData& data, Int stride,
                   DecodeFunction decode);

template <Int kDimensions, Int kOutputs, class TexelDecoder>
void* Sample(void* result, const Float32* coordinates, UInt32 layer, const SamplingData* data) {
  const UInt32 flags = data->_flags._bits;
  const Vec3<UInt32> extent = data->_dimensions;
  Float32 position[kDimensions];
  for (Int i = 0; i < kDimensions; ++i) position[i] = coordinates[i];
  if (flags >= PackedTextureFlags::kNormalizedCoordinates) {
    for (Int i = 0; i < kDimensions; ++i) position[i] *= static_cast<Float32>(extent[static_cast<int>(i)]);
  }
  Float32 shared[4];
  if ((flags & PackedTextureFlags::kFilterMask) != PackedTextureFlags::kLinearFilter) [[unlikely]] {
    SampleNearest<kDimensions>(shared, position, layer, *data, TexelDecoder::kStride, &TexelDecoder::Decode);
    return std::memcpy(result, shared, kOutputs * sizeof(Float32));
  }
  Neighbours<kDimensions> neighbours;
  UInt32 borders = 0;
  for (Int i = 0; i < kDimensions; ++i) {
    ResolveAxis(position[i] + -0.5f, extent[static_cast<int>(i)], GetWrapMode(flags, i), neighbours.axis[i]);
    borders |= neighbours.axis[i].borders;
  }
  if (borders != 0) [[unlikely]] {
    BlendWithBorder<kDimensions>(shared, neighbours, layer, *data, TexelDecoder::kStride, &TexelDecoder::Decode);
    return std::memcpy(result, shared, kOutputs * sizeof(Float32));
  }
  const auto load = [&](UInt32 corner) {
    const UInt32 number = neighbours.GetTexelNumber(corner, layer, extent);
    return TexelDecoder::template Load<kOutputs>(GetTexel(*data, number, TexelDecoder::kStride));
  };
  if constexpr (kDimensions == 3 && kOutputs == 1)
    Store<1>(result, BlendVolume(neighbours, load));
  else
    Store<kOutputs>(result, Blend<kDimensions>(neighbours, load));
  return result;
}

}  // namespace ostra::sampler
