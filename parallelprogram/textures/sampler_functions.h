// The bodies of the fetch and sample functions, for all dimensions, channel counts and decoders.
#pragma once

#include "parallelprogram/textures/sampler_addressing.h"
#include "parallelprogram/textures/sampler_decode.h"

namespace ostra::sampler {

// Blends the corners along x, then y, then z. `load` gives the value of a corner.
template <Int kDimensions, class Load>
OSTRA_SAMPLER_INLINE auto Blend(Float4 weight, const Load& load) {
  const auto along = [&](UInt32 corner) { return Lerp(load(corner), load(corner + 1), weight[0]); };
  if constexpr (kDimensions == 1) {
    return along(0);
  } else {
    const auto plane = [&](UInt32 corner) { return Lerp(along(corner), along(corner + 2), weight[1]); };
    if constexpr (kDimensions == 2)
      return plane(0);
    else
      return Lerp(plane(0), plane(4), weight[2]);
  }
}

// Volumes of one channel: the four pairs along x, of rows 0, 2, 1 and 3, are blended at once, then the two along y.
OSTRA_SAMPLER_INLINE Float32 BlendVolume(Float4 weight, Float4 first, Float4 second) {
  const Float4 rows = Lerp(first, second, weight[0]);
  const Float4 planes = Lerp(rows, __builtin_shufflevector(rows, rows, 2, 3, 2, 3), weight[1]);
  return Lerp(planes[0], planes[1], weight[2]);
}

// Like Blend with decoded texels, where some neighbours are the border colour. Writes four floats.
template <Int kDimensions>
void BlendWithBorder(Float32* result, const Neighbours& neighbours, const Borders& borders, UInt32 layer,
                     const SamplingData& data, Int stride, DecodeFunction decode);

// The texel at integer coordinates of which some are outside; null for the border.
template <Int kDimensions>
const Byte* FindOutside(const Int32* coordinates, UInt32 layer, const SamplingData& data, Int stride);

OSTRA_SAMPLER_INLINE const Byte* GetTexel(const SamplingData& data, UInt32 number, Int stride) {
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

// Blends the texels around a place. `getTexel` says where those of the corners are; with kIsSideBySide both along x are
// one behind the other.
template <Int kDimensions, Int kOutputs, class TexelDecoder, Bool kIsSideBySide, class GetTexel>
OSTRA_SAMPLER_INLINE Value<kOutputs> BlendTexels(Float4 weight, const GetTexel& getTexel) {
  const auto load = [&](UInt32 corner) { return TexelDecoder::template Load<kOutputs>(getTexel(corner)); };
  if constexpr (kDimensions == 3 && kOutputs == 1) {
    if constexpr (TexelDecoder::kIsPlainFloat && kIsSideBySide) {
      const Float4 upper = LoadTwoPairs(getTexel(0), getTexel(4)), lower = LoadTwoPairs(getTexel(2), getTexel(6));
      return BlendVolume(weight, __builtin_shufflevector(upper, lower, 0, 2, 4, 6),
                         __builtin_shufflevector(upper, lower, 1, 3, 5, 7));
    }
    return BlendVolume(weight, Float4{load(0), load(4), load(2), load(6)}, Float4{load(1), load(5), load(3), load(7)});
  } else {
    return Blend<kDimensions>(weight, load);
  }
}

// A lookup that is not linear, or not inside. Apart from the common way, which then needs no memory for its own use.
template <Int kDimensions, Int kOutputs, class TexelDecoder>
[[gnu::noinline]] void* SampleOutside(void* result, const Float32* coordinates, UInt32 layer,
                                      const SamplingData* data) {
  Float32 shared[4];
  const Bool isLinear = (data->_flags._bits & PackedTextureFlags::kFilterMask) == PackedTextureFlags::kLinearFilter;
  if (!isLinear) {
    SampleNearest<kDimensions>(shared, coordinates, layer, *data, TexelDecoder::kStride, &TexelDecoder::Decode);
    return std::memcpy(result, shared, kOutputs * sizeof(Float32));
  }
  Neighbours neighbours;
  const Borders borders = FindNeighbours<kDimensions>(coordinates, *data, neighbours);
  if ((borders.axes[0] | borders.axes[1]) != 0) {
    BlendWithBorder<kDimensions>(shared, neighbours, borders, layer, *data, TexelDecoder::kStride,
                                 &TexelDecoder::Decode);
    return std::memcpy(result, shared, kOutputs * sizeof(Float32));
  }
  const auto getTexel = [&](UInt32 corner) {
    return GetTexel(*data, neighbours.GetTexelNumber<kDimensions>(corner, layer, data->_dimensions),
                    TexelDecoder::kStride);
  };
  Store<kOutputs>(result, BlendTexels<kDimensions, kOutputs, TexelDecoder, false>(neighbours.weight, getTexel));
  return result;
}

template <Int kDimensions, Int kOutputs, class TexelDecoder>
void* Sample(void* result, const Float32* coordinates, UInt32 layer, const SamplingData* data) {
  const UInt32 flags = data->_flags._bits;
  const Float4 extents = LoadExtents(*data);
  Float4 position = LoadLanes<kDimensions, Float4>(coordinates);
  if (flags >= PackedTextureFlags::kNormalizedCoordinates) position = position * extents;
  const Bool isLinear = (flags & PackedTextureFlags::kFilterMask) == PackedTextureFlags::kLinearFilter;
  Int4 first;
  Float4 weight;
  if (!isLinear || !FindNeighboursInside<kDimensions>(position + kHalfTexel, extents, first, weight)) [[unlikely]]
    return SampleOutside<kDimensions, kOutputs, TexelDecoder>(result, coordinates, layer, data);
  const TexelBlock<kDimensions, TexelDecoder::kStride> block(first, layer, *data);
  const auto getTexel = [&](UInt32 corner) { return block.GetTexel(corner); };
  Store<kOutputs>(result, BlendTexels<kDimensions, kOutputs, TexelDecoder, true>(weight, getTexel));
  return result;
}

}  // namespace ostra::sampler
