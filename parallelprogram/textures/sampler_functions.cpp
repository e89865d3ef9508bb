#include "parallelprogram/textures/sampler_functions.h"

#include <cmath>

namespace ostra::sampler {

ByteTables g_byteTables;

namespace {

template <TextureFormat kFormat, Bool kIsSigned>
void FillByteTables() {
  using Element = typename ElementOf<kFormat>::Type;
  const auto fill = [](Bool isNormalized, Byte byte, Float32 value) {
    g_byteTables.values[false][kIsSigned][isNormalized][byte] = value;
    g_byteTables.values[true][kIsSigned][isNormalized][byte] = DecodeSrgb(value);
  };
  for (Int i = 0; i < 256; ++i) {
    const Byte byte = static_cast<Byte>(i);
    const Float32 value = static_cast<Float32>(Read<Element>(&byte));
    fill(false, byte, value);
    fill(true, byte, Normalize<kFormat>(value));
  }
}

Bool FillAllByteTables() {
  FillByteTables<TextureFormat::U8, false>();
  FillByteTables<TextureFormat::I8, true>();
  return true;
}

// The border colour as a value to blend.
Float4 GetBorder(const SamplingData& data) { return Read<Float4>(data._borderColor); }

}  // namespace

Float32 DecodeSrgb(Float32 value) {
  if (0.04045f >= value) return value / 12.92f;
  return std::pow((value + 0.055f) / 1.055f, 2.4f);
}

void PrepareByteTables() { [[maybe_unused]] static const Bool isFilled = FillAllByteTables(); }

template <Int kDimensions>
const Byte* FindOutside(const Int32* coordinates, UInt32 layer, const SamplingData& data, Int stride) {
  UInt32 index[kDimensions];
  for (Int i = 0; i < kDimensions; ++i) {
    const UInt32 extent = data._dimensions[static_cast<int>(i)];
    const UInt32 mode = GetWrapMode(data._flags._bits, i);
    if (coordinates[i] >= 0 && coordinates[i] < static_cast<Int32>(extent))
      index[i] = static_cast<UInt32>(coordinates[i]);
    else if (!ResolveInteger(coordinates[i], extent, mode, index[i]))
      return nullptr;
  }
  return GetTexel(data, GetTexelNumber<kDimensions>(index, layer, data._dimensions), stride);
}

template <Int kDimensions>
void SampleNearest(Float32* result, const Float32* coordinates, UInt32 layer, const SamplingData& data, Int stride,
                   DecodeFunction decode) {
  const UInt32 flags = data._flags._bits;
  UInt32 index[kDimensions];
  for (Int i = 0; i < kDimensions; ++i) {
    const UInt32 extent = data._dimensions[static_cast<int>(i)];
    const Float32 position = ScaleCoordinate(coordinates[i], extent, flags);
    if (ResolveNearest(position, extent, GetWrapMode(flags, i), index[i])) continue;
    std::memcpy(result, data._borderColor, sizeof(data._borderColor));
    return;
  }
  decode(result, GetTexel(data, GetTexelNumber<kDimensions>(index, layer, data._dimensions), stride));
}

template <Int kDimensions>
void BlendWithBorder(Float32* result, const Neighbours& neighbours, const Borders& borders, UInt32 layer,
                     const SamplingData& data, Int stride, DecodeFunction decode) {
  const auto load = [&](UInt32 corner) {
    if ((corner & borders.axes[1]) != 0 || (~corner & borders.axes[0]) != 0) return GetBorder(data);
    Float32 value[4];
    decode(value, GetTexel(data, neighbours.GetTexelNumber<kDimensions>(corner, layer, data._dimensions), stride));
    return Read<Float4>(value);
  };
  // Where all neighbours along an axis are the border, all corners are.
  const Bool isBorder = (borders.axes[0] & borders.axes[1]) != 0;
  const Float4 border = GetBorder(data);
  const Float4 value = isBorder ? Blend<kDimensions>(neighbours.weight, [border](UInt32) { return border; })
                                : Blend<kDimensions>(neighbours.weight, load);
  std::memcpy(result, &value, sizeof(value));
}

#define OSTRA_SAMPLER_INSTANTIATE(dimensions)                                                                          \
  template const Byte* FindOutside<dimensions>(const Int32*, UInt32, const SamplingData&, Int);                        \
  template void SampleNearest<dimensions>(Float32*, const Float32*, UInt32, const SamplingData&, Int, DecodeFunction); \
  template void BlendWithBorder<dimensions>(Float32*, const Neighbours&, const Borders&, UInt32, const SamplingData&,  \
                                            Int, DecodeFunction)
OSTRA_SAMPLER_INSTANTIATE(1);
OSTRA_SAMPLER_INSTANTIATE(2);
OSTRA_SAMPLER_INSTANTIATE(3);

}  // namespace ostra::sampler
