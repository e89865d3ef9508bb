// Wide lookups for one instruction level, OSTRA_LANE_LEVEL. The arithmetic of a lane is that of sampler_functions.h, in
// the same order.
//
// Texels are read lane by lane and put together: that is at least as quick as instructions that gather, where those are
// slow much quicker, and every level has it.
#include "ostra/math/lanes/lanes.inl"
#include "parallelprogram/textures/sampler_decode.h"
#include "parallelprogram/textures/sampler_lanes.h"

#include "ostra/math/lanes/level_begin.inl"

namespace ostra::OSTRA_LANES {
namespace {

using internal::LaneNumbers;
using sampler::Float4;
using sampler::Read;

// Numbers of texels and their bytes fit into 32 bits, extents into floats and integers.
constexpr UInt32 kMaxExtent = 1u << 28;
constexpr Int kMaxSize = Int{1} << 31;

template <int kDimensions>
OSTRA_LANE_INLINE Bool HasWideForm(const SamplingData& data) {
  Bool isPossible = data._texels && data._dataSize < kMaxSize;
  for (int i = 0; i < kDimensions; ++i) isPossible &= data._dimensions[i] - 1u < kMaxExtent;
  return isPossible;
}

// Calls `use` for each axis, whose number is a constant in it.
template <int kDimensions, class Use>
OSTRA_LANE_INLINE void ForEachAxis(const Use& use) {
  use(0);
  if constexpr (kDimensions > 1) use(1);
  if constexpr (kDimensions > 2) use(2);
}

// The lanes of `bits`.
OSTRA_LANE_INLINE Mask MakeMask(UInt32 bits) {
  if (bits == kAllBits) return true;
  return (ShiftRight(Lanes<UInt32>(bits), MakeIota<UInt32>()) & 1u) != 0u;
}

// Same value as fmodf (but for the sign of a zero, which truncation drops), where `isExact` holds: with a quotient
// below 2^28 the product and the difference are exact in 64 bits.
OSTRA_LANE_INLINE Lanes<Float32> Remainder(Lanes<Float32> value, Float32 divisor, Mask& isExact) {
  constexpr Float64 kLimit = 268435456.0;
  const Lanes<Float64> wide = Convert<Float64>(value);
  const Lanes<Float64> quotient = wide / Lanes<Float64>(Float64{divisor});
  isExact = (quotient < Lanes<Float64>(kLimit)) & (quotient > Lanes<Float64>(-kLimit));
  const Lanes<Float64> whole = Convert<Float64>(Convert<Int32>(Select(isExact, quotient, Lanes<Float64>(0.0))));
  return Convert<Float32>(wide - whole * Lanes<Float64>(Float64{divisor}));
}

// The texels along an axis that places point into; takes lanes without a quick way out of `easy`. Where the result is
// set, it is the border.
OSTRA_LANE_INLINE Mask ResolveLanes(Lanes<Float32> place, Float32 size, UInt32 mode, Mask& easy, Lanes<Int32>& index) {
  const Mask isBelow = place < 0.0f;
  const Mask isOutside = isBelow | (place >= size);
  Mask border = false;
  easy = easy & (place == place);
  switch (static_cast<TextureWrapMode>(mode)) {
    case TextureWrapMode::REPEAT: {
      Lanes<Float32> rest = Select(isBelow, place, place - size);
      if (Any(easy & ((place <= -size) | (place >= size + size)))) {
        Mask isExact;
        rest = Remainder(place, size, isExact);
        easy = easy & (isExact | !isOutside);
      }
      place = Select(isOutside, Select(isBelow, size + rest, rest), place);
      break;
    }
    case TextureWrapMode::CLAMP:
      place = Select(isOutside, Select(isBelow, Lanes<Float32>(0.0f), Lanes<Float32>(size - 1.0f)), place);
      break;
    case TextureWrapMode::BORDER:
      place = Select(isOutside, Lanes<Float32>(0.0f), place);
      border = isOutside;
      break;
    default:
      easy = AndNot(easy, isOutside);
      break;
  }
  index = Convert<Int32>(place);
  return border;
}

// Neighbours that lie side by side along each axis, none of them the border.
template <int kDimensions>
struct NearNeighbours {
  Lanes<Int32> first[kDimensions];
  Native<Float32> weight[kDimensions];
};

// Any neighbours along each axis.
template <int kDimensions>
struct LaneNeighbours {
  Lanes<Int32> first[kDimensions], second[kDimensions];
  Native<Float32> weight[kDimensions];
  Mask border[2][kDimensions];
  Bool hasBorder;
  Bool isOutside;  // all neighbours are the border
};

template <int kDimensions>
OSTRA_LANE_INLINE void LoadPlaces(const Float32* coordinates, const SamplingData& data, Lanes<Float32>* places) {
  const Bool isNormalized = data._flags._bits >= PackedTextureFlags::kNormalizedCoordinates;
  ForEachAxis<kDimensions>([&](int i) __attribute__((always_inline)) {
    places[i] = Load(coordinates + i * kLaneCount);
    if (isNormalized) places[i] = places[i] * static_cast<Float32>(static_cast<Int32>(data._dimensions[i]));
  });
}

// Whether the neighbours of all lanes in `easy` lie side by side: most do.
template <int kDimensions>
OSTRA_LANE_INLINE Bool FindNearNeighbours(const Lanes<Float32>* places, const SamplingData& data, Mask easy,
                                          NearNeighbours<kDimensions>& neighbours) {
  Mask isNear = true;
  ForEachAxis<kDimensions>([&](int i) __attribute__((always_inline)) {
    const Float32 size = static_cast<Float32>(static_cast<Int32>(data._dimensions[i]));
    const Lanes<Float32> position = places[i] + -0.5f, next = position + 1.0f;
    neighbours.first[i] = Convert<Int32>(position);
    neighbours.weight[i] = (position - Convert<Float32>(neighbours.first[i])).v;
    isNear = isNear & (position >= 0.0f) & (next < size) & (Convert<Int32>(next) - neighbours.first[i] == 1);
  });
  return All(isNear | !easy);
}

template <int kDimensions>
OSTRA_LANE_INLINE void FindLaneNeighbours(const Lanes<Float32>* places, const SamplingData& data, Mask& easy,
                                          LaneNeighbours<kDimensions>& neighbours) {
  Mask border = false, outside = false;
  for (int i = 0; i < kDimensions; ++i) {
    const Float32 size = static_cast<Float32>(static_cast<Int32>(data._dimensions[i]));
    const UInt32 mode = sampler::GetWrapMode(data._flags._bits, i);
    const Lanes<Float32> position = places[i] + -0.5f;
    neighbours.weight[i] = (position - floor(position)).v;
    neighbours.border[0][i] = ResolveLanes(position, size, mode, easy, neighbours.first[i]);
    neighbours.border[1][i] = ResolveLanes(position + 1.0f, size, mode, easy, neighbours.second[i]);
    border = border | neighbours.border[0][i] | neighbours.border[1][i];
    outside = outside | (neighbours.border[0][i] & neighbours.border[1][i]);
  }
  neighbours.hasBorder = Any(border & easy);
  neighbours.isOutside = neighbours.hasBorder && All(outside | !easy);
}

// The bytes from the first texel to those at `index`; 0 for lanes that are not in `easy`.
template <int kDimensions>
OSTRA_LANE_INLINE Lanes<UInt32> GetTexelOffsets(const Lanes<Int32>* index, Lanes<UInt32> layer,
                                                const SamplingData& data, UInt32 stride, Mask easy) {
  const Vec3<UInt32>& extent = data._dimensions;
  // Products of their own do not wait for each other.
  Lanes<UInt32> bytes = BitCast<UInt32>(index[0]) * stride;
  for (int i = 1; i < kDimensions; ++i) {
    stride *= extent[i - 1];
    bytes = bytes + BitCast<UInt32>(index[i]) * stride;
  }
  bytes = bytes + layer * (stride * extent[kDimensions - 1]);
  return Select(easy, bytes, Lanes<UInt32>(0u));
}

// The bytes from the first neighbours to those of a corner, when all lie side by side.
OSTRA_LANE_INLINE Int GetCornerBytes(int corner, const SamplingData& data, UInt32 stride) {
  const Int row = Int{data._dimensions.x} * stride;
  return (corner & 1 ? Int{stride} : 0) + (corner & 2 ? row : 0) + (corner & 4 ? Int{data._dimensions.y} * row : 0);
}

OSTRA_LANE_INLINE Native<Float32> LerpLanes(Native<Float32> a, Native<Float32> b, Native<Float32> weight) {
  return (b - a) * weight + a;
}

// Blends rows of corners along y, then z. `along` gives a row, which is blended along x.
template <int kDimensions, class Along>
OSTRA_LANE_INLINE Native<Float32> BlendRows(const Native<Float32>* weight, const Along& along) {
  if constexpr (kDimensions == 1) {
    return along(0);
  } else {
    const auto plane = [&](int row) __attribute__((always_inline)) {
      return LerpLanes(along(row), along(row + 1), weight[1]);
    };
    if constexpr (kDimensions == 2)
      return plane(0);
    else
      return LerpLanes(plane(0), plane(2), weight[2]);
  }
}

// Blends the corners along x, then y, then z. `load` gives the values of a corner.
template <int kDimensions, class Load>
OSTRA_LANE_INLINE Native<Float32> BlendCorners(const Native<Float32>* weight, const Load& load) {
  return BlendRows<kDimensions>(
      weight, [&](int row)
                  __attribute__((always_inline)) { return LerpLanes(load(2 * row), load(2 * row + 1), weight[0]); });
}

// A value of memory for each lane.
template <class T, class Place, int... lane>
OSTRA_LANE_INLINE Native<T> PickEach(const Place& place, std::integer_sequence<int, lane...>) {
  return Native<T>{Read<T>(place(lane))...};
}

// Floats of one channel that lie side by side: both neighbours along x are read at once. Of four lanes, the pairs of
// two go into one vector and those of the others into another, which one instruction sorts into first and second ones.
template <int... lane>
OSTRA_LANE_INLINE void ReadPairs(const Byte* texels, const UInt32* offsets, Native<Float32>& first,
                                 Native<Float32>& second, std::integer_sequence<int, lane...>) {
  typedef Float64 Pairs __attribute__((vector_size(sizeof(Native<Float32>))));  // only to move eight bytes at once
  const auto read = [&](int i) __attribute__((always_inline)) { return Read<Float64>(texels + offsets[i]); };
  const auto half = [&]<int... pair>(int begin, std::integer_sequence<int, pair...>) __attribute__((always_inline)) {
    return reinterpret_cast<Native<Float32>>(Pairs{read(begin + pair / 2 * 4 + pair % 2)...});
  };
  const Native<Float32> low = half(0, std::make_integer_sequence<int, kLaneCount / 2>());
  const Native<Float32> high = half(2, std::make_integer_sequence<int, kLaneCount / 2>());
  first = __builtin_shufflevector(low, high, (lane / 4 * 4 + lane % 2 * 2 + lane % 4 / 2 * kLaneCount)...);
  second = __builtin_shufflevector(low, high, (lane / 4 * 4 + lane % 2 * 2 + lane % 4 / 2 * kLaneCount + 1)...);
}

// `read(row, first, second)` gives the neighbours along x of a row.
template <int kDimensions, class ReadRow>
OSTRA_LANE_INLINE Native<Float32> BlendPairs(const Native<Float32>* weight, const ReadRow& read) {
  return BlendRows<kDimensions>(
      weight, [&](int row) __attribute__((always_inline)) {
        Native<Float32> first, second;
        read(row, first, second);
        return LerpLanes(first, second, weight[0]);
      });
}

// Floats of two channels and more: whole texels are blended, a quarter of the lanes at once. What lies behind a texel
// of less than four channels is read and never used.
template <int kGroup, class Texel>
OSTRA_LANE_INLINE Native<Float32> ReadTexels(const Texel& texel) {
  constexpr int kFirst = kGroup * kLaneCount / 4;
  const auto read = [&](int lane) __attribute__((always_inline)) { return Read<Float4>(texel(kFirst + lane)); };
#if OSTRA_LANE_LEVEL == 0
  return read(0);
#elif OSTRA_LANE_LEVEL == 1
  return __builtin_shufflevector(read(0), read(1), 0, 1, 2, 3, 4, 5, 6, 7);
#else
  const auto join = [&](int lane) __attribute__((always_inline)) {
    return __builtin_shufflevector(read(lane), read(lane + 1), 0, 1, 2, 3, 4, 5, 6, 7);
  };
  return __builtin_shufflevector(join(0), join(2), 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
#endif
}

template <int kDimensions, int kGroup, class GetTexel, int... lane>
OSTRA_LANE_INLINE Native<Float32> BlendGroup(const Native<Float32>* weight, const GetTexel& getTexel,
                                             std::integer_sequence<int, lane...>) {
  Native<Float32> spread[kDimensions];
  for (int i = 0; i < kDimensions; ++i)
    spread[i] = __builtin_shufflevector(weight[i], weight[i], (kGroup * kLaneCount / 4 + lane / 4)...);
  return BlendCorners<kDimensions>(
      spread, [&](int corner) __attribute__((always_inline)) {
        return ReadTexels<kGroup>([&](int number) __attribute__((always_inline)) { return getTexel(corner, number); });
      });
}

template <int kDimensions, class GetTexel>
OSTRA_LANE_INLINE void BlendTexels(const Native<Float32>* weight, const GetTexel& getTexel, UInt32 outputs,
                                   Byte* result) {
  const Native<Float32> rows[4] = {BlendGroup<kDimensions, 0>(weight, getTexel, LaneNumbers()),
                                   BlendGroup<kDimensions, 1>(weight, getTexel, LaneNumbers()),
                                   BlendGroup<kDimensions, 2>(weight, getTexel, LaneNumbers()),
                                   BlendGroup<kDimensions, 3>(weight, getTexel, LaneNumbers())};
  Native<Float32> parts[4];
  internal::PickParts<4, Float32>(rows, parts, std::make_integer_sequence<int, 4>());
  for (UInt32 i = 0; i < outputs; ++i) std::memcpy(result + i * sizeof(parts[0]), &parts[i], sizeof(parts[0]));
}

// Any element as a value of its sampler.
[[gnu::noinline]] void DecodeElements(const SamplerLanes& lanes, const Byte* elements, const UInt32* offsets,
                                      Float32* result) {
  OSTRA_LANE_CLEAR;
  const auto place = [&](int lane) __attribute__((always_inline)) { return elements + offsets[lane]; };
  const auto convert = [&]<class T>(T) __attribute__((always_inline)) {
    Lanes<Float32> values;
    for (int i = 0; i < kLaneCount; ++i) values.v[i] = static_cast<Float32>(Read<T>(place(i)));
    return values;
  };
  constexpr Float32 kInverseOf32Bits = 1.0f / 4294967296.0f;
  Lanes<Float32> values;
  switch (lanes.format) {
    case TextureFormat::U8:
      values = convert(UInt8());
      if (lanes.isNormalized) values = values / 255.0f;
      break;
    case TextureFormat::I8:
      values = convert(Int8());
      if (lanes.isNormalized) values = (values + 128.0f) / 255.0f;
      break;
    case TextureFormat::U16:
      values = convert(UInt16());
      if (lanes.isNormalized) values = values / 65535.0f;
      break;
    case TextureFormat::I16:
      values = convert(Int16());
      if (lanes.isNormalized) values = (values + 32768.0f) / 65535.0f;
      break;
    case TextureFormat::U32:
      values = convert(UInt32());
      if (lanes.isNormalized) values = values * kInverseOf32Bits;
      break;
    case TextureFormat::I32:
      values = convert(Int32());
      if (lanes.isNormalized) values = (values + 2147483648.0f) * kInverseOf32Bits;
      break;
    default:
      values = convert(Float32());
      break;
  }
  const Bool isSigned =
      lanes.format == TextureFormat::I8 || lanes.format == TextureFormat::I16 || lanes.format == TextureFormat::I32;
  if (lanes.isNormalized && isSigned) values = values + values + -1.0f;
  Store(result, values);
  OSTRA_LANE_CLEAR;
  if (!lanes.isSrgb) return;
  for (int i = 0; i < kLaneCount; ++i) result[i] = sampler::DecodeSrgb(result[i]);
}

// How the texels of a sampler are read.
enum class TexelKind { kFloats, kBytes, kOthers };

OSTRA_LANE_INLINE TexelKind GetTexelKind(const SamplerLanes& lanes) {
  if (GetElementSize(lanes.format) == 1) return TexelKind::kBytes;
  const Bool isFloat = lanes.format == TextureFormat::F32 || lanes.format == TextureFormat::F16;
  return isFloat && !lanes.isSrgb ? TexelKind::kFloats : TexelKind::kOthers;
}

// The bytes from a texel to the next.
OSTRA_LANE_INLINE UInt32 GetTexelStride(const SamplerLanes& lanes) {
  return lanes.channels * static_cast<UInt32>(GetElementSize(lanes.format));
}

OSTRA_LANE_INLINE const Float32* GetByteTable(const SamplerLanes& lanes) {
  return sampler::g_byteTables.values[lanes.isSrgb][lanes.format == TextureFormat::I8][lanes.isNormalized];
}

// The values of the texels at some offsets for each corner, channel by channel.
template <int kCorners, TexelKind kKind>
struct TexelReader {
  OSTRA_LANE_INLINE TexelReader(const SamplerLanes& lanes, const Byte* texels, const UInt32 (*offsets)[kLaneCount])
      : _lanes(lanes), _texels(texels), _offsets(offsets) {
    if constexpr (kKind == TexelKind::kBytes) {
      _table = GetByteTable(lanes);
      for (int corner = 0; corner < kCorners; ++corner)
        for (int i = 0; i < kLaneCount; ++i) _bytes[corner][i] = Read<UInt32>(texels + offsets[corner][i]);
    }
  }

  OSTRA_LANE_INLINE Native<Float32> Load(int corner, UInt32 channel) const {
    if (channel >= _lanes.channels) return Native<Float32>{};
    if constexpr (kKind == TexelKind::kBytes) {
      const Byte* bytes = reinterpret_cast<const Byte*>(&_bytes[corner][0]) + channel;  // the first one is the lowest
      return PickEach<Float32>(
          [&](int lane) __attribute__((always_inline)) { return _table + bytes[4 * lane]; }, LaneNumbers());
    } else if constexpr (kKind == TexelKind::kFloats) {
      const Byte* elements = _texels + channel * sizeof(Float32);
      return PickEach<Float32>(
          [&](int lane) __attribute__((always_inline)) { return elements + _offsets[corner][lane]; }, LaneNumbers());
    } else {
      Float32 values[kLaneCount];
      DecodeElements(_lanes, _texels + channel * static_cast<UInt32>(GetElementSize(_lanes.format)), _offsets[corner],
                     values);
      return ::ostra::OSTRA_LANES::Load(values).v;
    }
  }

 private:
  const SamplerLanes& _lanes;
  const Byte* _texels;
  const UInt32 (*_offsets)[kLaneCount];
  const Float32* _table = nullptr;
  UInt32 _bytes[kKind == TexelKind::kBytes ? kCorners : 1][kLaneCount];
};

// Blends channel by channel; corners that are in `borders` have the border colour.
template <int kDimensions, TexelKind kKind>
[[gnu::noinline]] void BlendChannels(const TextureSamplerDataHelper& sampler, const UInt32 (*offsets)[kLaneCount],
                                     const Native<Float32>* weight, const Mask* borders, Byte* result) {
  constexpr int kCorners = 1 << kDimensions;
  const SamplingData& data = sampler._samplingData;
  const TexelReader<kCorners, kKind> reader(sampler._lanes, data._texels, offsets);
  for (UInt32 channel = 0; channel < sampler._lanes.outputs; ++channel) {
    const Lanes<Float32> border = data._borderColor[channel];
    const Native<Float32> value = BlendCorners<kDimensions>(
        weight, [&](int corner) __attribute__((always_inline)) {
          const Native<Float32> texel = reader.Load(corner, channel);
          return borders ? Select(borders[corner], border, Lanes<Float32>::Make(texel)).v : texel;
        });
    std::memcpy(result + channel * sizeof(value), &value, sizeof(value));
  }
  OSTRA_LANE_CLEAR;
}

// Values of single texels; those in `border` have the border colour.
template <TexelKind kKind>
OSTRA_LANE_INLINE void ReadChannels(const TextureSamplerDataHelper& sampler, const UInt32 (*offsets)[kLaneCount],
                                    Mask border, Byte* result) {
  const SamplingData& data = sampler._samplingData;
  const TexelReader<1, kKind> reader(sampler._lanes, data._texels, offsets);
  for (UInt32 channel = 0; channel < sampler._lanes.outputs; ++channel) {
    const auto texel = Lanes<Float32>::Make(reader.Load(0, channel));
    const Lanes<Float32> value = Select(border, Lanes<Float32>(data._borderColor[channel]), texel);
    std::memcpy(result + channel * sizeof(value), &value, sizeof(value));
  }
}
[[gnu::noinline]] void ReadTexels(const TextureSamplerDataHelper& sampler, const UInt32 (*offsets)[kLaneCount],
                                  const Mask* border, Byte* result) {
  switch (GetTexelKind(sampler._lanes)) {
    case TexelKind::kFloats:
      ReadChannels<TexelKind::kFloats>(sampler, offsets, *border, result);
      break;
    case TexelKind::kBytes:
      ReadChannels<TexelKind::kBytes>(sampler, offsets, *border, result);
      break;
    default:
      ReadChannels<TexelKind::kOthers>(sampler, offsets, *border, result);
      break;
  }
  OSTRA_LANE_CLEAR;
}

// Lanes whose neighbours all are the border: its colour, blended with itself as everything is.
template <int kDimensions>
OSTRA_LANE_INLINE void BlendBorder(const TextureSamplerDataHelper& sampler, const Native<Float32>* weight,
                                   Byte* result) {
  for (UInt32 channel = 0; channel < sampler._lanes.outputs; ++channel) {
    const Native<Float32> border = Lanes<Float32>(sampler._samplingData._borderColor[channel]).v;
    const Native<Float32> value = BlendCorners<kDimensions>(
        weight, [&](int) __attribute__((always_inline)) { return border; });
    std::memcpy(result + channel * sizeof(value), &value, sizeof(value));
  }
}

// What a linear lookup knows of the texels of a sampler.
struct TexelForm {
  UInt32 stride;  // bytes from one to the next
  TexelKind kind;
  Bool isSingle;  // one float
  Bool isWhole;   // several floats, of which all that are wanted are there
};
OSTRA_LANE_INLINE TexelForm GetTexelForm(const SamplerLanes& lanes) {
  const TexelKind kind = GetTexelKind(lanes);
  const Bool isFloat = kind == TexelKind::kFloats;
  return {GetTexelStride(lanes), kind, isFloat && lanes.channels == 1 && lanes.outputs == 1,
          isFloat && lanes.channels > 1 && lanes.outputs <= lanes.channels};
}

// Blends the texels at some offsets for each corner, whatever their kind.
template <int kDimensions>
OSTRA_LANE_INLINE void BlendAnyChannels(const TextureSamplerDataHelper& sampler, TexelKind kind,
                                        const UInt32 (*offsets)[kLaneCount], const Native<Float32>* weight,
                                        const Mask* borders, Byte* result) {
  switch (kind) {
    case TexelKind::kFloats:
      return BlendChannels<kDimensions, TexelKind::kFloats>(sampler, offsets, weight, borders, result);
    case TexelKind::kBytes:
      return BlendChannels<kDimensions, TexelKind::kBytes>(sampler, offsets, weight, borders, result);
    default:
      return BlendChannels<kDimensions, TexelKind::kOthers>(sampler, offsets, weight, borders, result);
  }
}

template <int kDimensions>
OSTRA_LANE_INLINE void SampleNear(const TextureSamplerDataHelper& sampler,
                                  const NearNeighbours<kDimensions>& neighbours, Lanes<UInt32> layer, Mask easy,
                                  Byte* result) {
  constexpr int kCorners = 1 << kDimensions;
  const SamplingData& data = sampler._samplingData;
  const TexelForm form = GetTexelForm(sampler._lanes);
  const Lanes<UInt32> first = GetTexelOffsets<kDimensions>(neighbours.first, layer, data, form.stride, easy);
  alignas(64) UInt32 offsets[kCorners][kLaneCount];
  Store(offsets[0], first);
  const auto getTexels = [&](int corner) __attribute__((always_inline)) {
    return data._texels + GetCornerBytes(corner, data, form.stride);
  };
  if (form.isSingle) {
    const Native<Float32> value = BlendPairs<kDimensions>(
        neighbours.weight, [&](int row, Native<Float32>& left, Native<Float32>& right) __attribute__((always_inline)) {
          ReadPairs(getTexels(2 * row), offsets[0], left, right, LaneNumbers());
        });
    std::memcpy(result, &value, sizeof(value));
    return;
  }
  if (form.isWhole) {
    const Byte* texels[kCorners];
    for (int corner = 0; corner < kCorners; ++corner) texels[corner] = getTexels(corner);
    return BlendTexels<kDimensions>(
        neighbours.weight,
        [&](int corner, int lane) __attribute__((always_inline)) { return texels[corner] + offsets[0][lane]; },
        sampler._lanes.outputs, result);
  }
  for (int corner = 1; corner < kCorners; ++corner)
    Store(offsets[corner], first + static_cast<UInt32>(GetCornerBytes(corner, data, form.stride)));
  BlendAnyChannels<kDimensions>(sampler, form.kind, offsets, neighbours.weight, nullptr, result);
}

// `easy` has one lane at least.
template <int kDimensions>
OSTRA_LANE_INLINE void SampleApart(const TextureSamplerDataHelper& sampler,
                                   const LaneNeighbours<kDimensions>& neighbours, Lanes<UInt32> layer, Mask easy,
                                   Byte* result) {
  constexpr int kCorners = 1 << kDimensions;
  const Byte* texels = sampler._samplingData._texels;
  if (neighbours.isOutside) return BlendBorder<kDimensions>(sampler, neighbours.weight, result);
  const TexelForm form = GetTexelForm(sampler._lanes);
  // Clamped, both neighbours along x may be the same texel; what is read behind it is not used.
  const Lanes<Int32> apart = neighbours.second[0] - neighbours.first[0];
  const Bool isPaired = form.isSingle && !neighbours.hasBorder && All((apart == 0) | (apart == 1) | !easy);
  alignas(64) UInt32 offsets[kCorners][kLaneCount];
  for (int corner = 0; corner < kCorners; corner += isPaired ? 2 : 1) {
    Lanes<Int32> index[kDimensions];
    for (int i = 0; i < kDimensions; ++i) index[i] = corner >> i & 1 ? neighbours.second[i] : neighbours.first[i];
    Store(offsets[corner], GetTexelOffsets<kDimensions>(index, layer, sampler._samplingData, form.stride, easy));
  }
  if (isPaired) {
    const Native<Float32> value = BlendPairs<kDimensions>(
        neighbours.weight, [&](int row, Native<Float32>& left, Native<Float32>& right) __attribute__((always_inline)) {
          ReadPairs(texels, offsets[2 * row], left, right, LaneNumbers());
          right = (apart == 0).Choose(left, right);
        });
    std::memcpy(result, &value, sizeof(value));
    return;
  }
  if (form.isWhole && !neighbours.hasBorder) {
    return BlendTexels<kDimensions>(
        neighbours.weight,
        [&](int corner, int lane) __attribute__((always_inline)) { return texels + offsets[corner][lane]; },
        sampler._lanes.outputs, result);
  }
  Mask borders[kCorners];
  for (int corner = 0; neighbours.hasBorder && corner < kCorners; ++corner) {
    borders[corner] = false;
    for (int i = 0; i < kDimensions; ++i) borders[corner] = borders[corner] | neighbours.border[corner >> i & 1][i];
  }
  BlendAnyChannels<kDimensions>(sampler, form.kind, offsets, neighbours.weight,
                                neighbours.hasBorder ? borders : nullptr, result);
}

// The lanes that were looked up.
template <int kDimensions>
OSTRA_LANE_INLINE UInt32 SampleLinear(const TextureSamplerDataHelper& sampler, const Lanes<Float32>* places,
                                      Lanes<UInt32> layer, Mask easy, Byte* result) {
  const SamplingData& data = sampler._samplingData;
  NearNeighbours<kDimensions> near;
  if (FindNearNeighbours<kDimensions>(places, data, easy, near)) {
    SampleNear<kDimensions>(sampler, near, layer, easy, result);
    return GetBits(easy);
  }
  LaneNeighbours<kDimensions> neighbours;
  FindLaneNeighbours<kDimensions>(places, data, easy, neighbours);
  const UInt32 done = GetBits(easy);
  if (done != 0) SampleApart<kDimensions>(sampler, neighbours, layer, easy, result);
  return done;
}

// The nearest texels; the lanes that were looked up.
template <int kDimensions>
OSTRA_LANE_INLINE UInt32 SamplePoint(const TextureSamplerDataHelper& sampler, const Lanes<Float32>* places,
                                     Lanes<UInt32> layer, Mask easy, Byte* result) {
  const SamplingData& data = sampler._samplingData;
  Lanes<Int32> index[kDimensions];
  Mask border = false;
  for (int i = 0; i < kDimensions; ++i) {
    const Float32 size = static_cast<Float32>(static_cast<Int32>(data._dimensions[i]));
    border = border | ResolveLanes(places[i], size, sampler::GetWrapMode(data._flags._bits, i), easy, index[i]);
  }
  const UInt32 done = GetBits(easy);
  alignas(64) UInt32 offsets[1][kLaneCount];
  Store(offsets[0], GetTexelOffsets<kDimensions>(index, layer, data, GetTexelStride(sampler._lanes), easy));
  if (done != 0) ReadTexels(sampler, offsets, &border, result);
  return done;
}

// Looks lanes up one by one with a function of single lookups.
template <int kDimensions, class T, class Function>
[[gnu::noinline]] void LookUpEach(Byte* result, const T* coordinates, const UInt32* layers, UInt32 bits,
                                  const TextureSamplerDataHelper& sampler, Function function) {
  OSTRA_LANE_CLEAR;
  const UInt32 outputs = sampler._lanes.outputs;
  for (; bits != 0; bits &= bits - 1) {
    const int lane = __builtin_ctz(bits);
    T at[kDimensions];
    for (int i = 0; i < kDimensions; ++i) at[i] = coordinates[i * kLaneCount + lane];
    Byte value[4 * sizeof(Float32)] = {};
    function(value, at, layers[lane], &sampler._samplingData);
    for (UInt32 i = 0; i < (outputs == 0 ? 1 : outputs); ++i)
      std::memcpy(result + (i * kLaneCount + static_cast<UInt32>(lane)) * 4, value + 4 * i, 4);
  }
}

template <int kDimensions>
void SampleLanesOf(void* result, const Float32* coordinates, const UInt32* layers, UInt32 bits,
                   const TextureSamplerDataHelper* sampler) {
  const SamplingData& data = sampler->_samplingData;
  UInt32 done = 0;
  // No lanes would count as near, and something would be read for them.
  if (bits != 0 && HasWideForm<kDimensions>(data)) [[likely]] {
    Lanes<Float32> places[kDimensions];
    LoadPlaces<kDimensions>(coordinates, data, places);
    const Mask easy = MakeMask(bits);
    const Lanes<UInt32> layer = Load(layers);
    if ((data._flags._bits & PackedTextureFlags::kFilterMask) == PackedTextureFlags::kLinearFilter) [[likely]]
      done = SampleLinear<kDimensions>(*sampler, places, layer, easy, static_cast<Byte*>(result));
    else
      done = SamplePoint<kDimensions>(*sampler, places, layer, easy, static_cast<Byte*>(result));
  }
  OSTRA_LANE_CLEAR;
  if (bits & ~done) [[unlikely]]
    LookUpEach<kDimensions>(static_cast<Byte*>(result), coordinates, layers, bits & ~done, *sampler, sampler->_sample);
}

// The texels at integer coordinates; takes lanes without a quick way out of `easy`, and gives those of the border.
template <int kDimensions>
OSTRA_LANE_INLINE Mask FindLaneTexels(const Int32* coordinates, const UInt32* layers, const SamplingData& data,
                                      UInt32 stride, Mask& easy, UInt32* offsets) {
  Lanes<Int32> index[kDimensions];
  Mask border = false;
  for (int i = 0; i < kDimensions; ++i) {
    const Int32 extent = static_cast<Int32>(data._dimensions[i]);
    index[i] = Load(coordinates + i * kLaneCount);
    const Mask isBelow = index[i] < 0;
    const Mask isOutside = isBelow | (index[i] >= extent);
    if (None(isOutside & easy)) continue;
    switch (static_cast<TextureWrapMode>(sampler::GetWrapMode(data._flags._bits, i))) {
      case TextureWrapMode::REPEAT: {
        Mask isExact;
        const Lanes<Float32> rest = Remainder(Convert<Float32>(index[i]), static_cast<Float32>(extent), isExact);
        easy = easy & (isExact | !isOutside);
        const Lanes<Int32> whole = Convert<Int32>(rest);
        index[i] = Select(isOutside, Select(isBelow, whole + extent, whole), index[i]);
        break;
      }
      case TextureWrapMode::CLAMP:
        index[i] = Select(isOutside, Select(isBelow, Lanes<Int32>(0), Lanes<Int32>(extent - 1)), index[i]);
        break;
      case TextureWrapMode::BORDER:
        index[i] = Select(isOutside, Lanes<Int32>(0), index[i]);
        border = border | isOutside;
        break;
      default:
        easy = AndNot(easy, isOutside);
        break;
    }
  }
  Store(offsets, GetTexelOffsets<kDimensions>(index, Load(layers), data, stride, easy));
  return border;
}

template <int kDimensions>
void FetchLanesOf(void* result, const Int32* coordinates, const UInt32* layers, UInt32 bits,
                  const TextureSamplerDataHelper* sampler) {
  const SamplerLanes& lanes = sampler->_lanes;
  UInt32 done = 0;
  if (HasWideForm<kDimensions>(sampler->_samplingData)) [[likely]] {
    Mask easy = MakeMask(bits);
    alignas(64) UInt32 offsets[1][kLaneCount];
    const Mask border = FindLaneTexels<kDimensions>(coordinates, layers, sampler->_samplingData, GetTexelStride(lanes),
                                                    easy, offsets[0]);
    done = GetBits(easy);
    if (done != 0) ReadTexels(*sampler, offsets, &border, static_cast<Byte*>(result));
  }
  OSTRA_LANE_CLEAR;
  if (bits & ~done) [[unlikely]]
    LookUpEach<kDimensions>(static_cast<Byte*>(result), coordinates, layers, bits & ~done, *sampler, sampler->_fetch);
}

// The byte of U8 samplers, as UInt32.
template <int kDimensions>
void FetchByteLanesOf(void* result, const Int32* coordinates, const UInt32* layers, UInt32 bits,
                      const TextureSamplerDataHelper* sampler) {
  const SamplingData& data = sampler->_samplingData;
  const SamplerLanes& lanes = sampler->_lanes;
  UInt32 done = 0;
  if (HasWideForm<kDimensions>(data)) [[likely]] {
    Mask easy = MakeMask(bits);
    UInt32 offsets[kLaneCount];
    const Mask border = FindLaneTexels<kDimensions>(coordinates, layers, data, GetTexelStride(lanes), easy, offsets);
    done = GetBits(easy);
    const Bool isFloat = lanes.format == TextureFormat::F32 || lanes.format == TextureFormat::F16;
    const UInt32 borderBits = GetBits(border);
    const UInt32 borderByte = sampler::TruncateToByte(data._borderColor[0]);
    UInt32* values = static_cast<UInt32*>(result);
    for (int i = 0; i < kLaneCount; ++i) {
      const Byte* texel = data._texels + offsets[i];
      const UInt32 value = isFloat ? sampler::TruncateToByte(Read<Float32>(texel)) : *texel;
      values[i] = borderBits >> i & 1 ? borderByte : value;
    }
  }
  OSTRA_LANE_CLEAR;
  if (bits & ~done) [[unlikely]]
    LookUpEach<kDimensions>(static_cast<Byte*>(result), coordinates, layers, bits & ~done, *sampler, sampler->_fetch);
}

}  // namespace
}  // namespace ostra::OSTRA_LANES

#include "ostra/math/lanes/level_end.inl"
