// How a texel becomes the value that a lookup gives. A decoder is one combination of format, flags and channel counts.
//
// Values are floats for one channel and four lanes otherwise. Lanes are computed with the same operations in the same
// order as single floats, so both give the same bits.
#pragma once

#include <algorithm>
#include <cstring>

#include "parallelprogram/textures/sampler_addressing.h"

namespace ostra::sampler {

template <Int kChannels>
using Value = std::conditional_t<kChannels == 1, Float32, Float4>;

OSTRA_SAMPLER_INLINE Float32 Lerp(Float32 a, Float32 b, Float32 weight) { return (b - a) * weight + a; }
OSTRA_SAMPLER_INLINE Float4 Lerp(Float4 a, Float4 b, Float32 weight) { return (b - a) * Broadcast(weight) + a; }

// Writes the first channels of `value`.
template <Int kChannels>
inline void Store(void* result, Value<kChannels> value) {
  std::memcpy(result, &value, kChannels * sizeof(Float32));
}

// Two floats of one place and two of another.
OSTRA_SAMPLER_INLINE Float4 LoadTwoPairs(const Byte* first, const Byte* second) {
  using Pairs = Float64 __attribute__((vector_size(16)));  // only to move eight bytes at once
  return reinterpret_cast<Float4>(Pairs{Read<Float64>(first), Read<Float64>(second)});
}

template <TextureFormat kFormat>
struct ElementOf {
  using Type = Float32;
};
template <>
struct ElementOf<TextureFormat::U8> {
  using Type = UInt8;
};
template <>
struct ElementOf<TextureFormat::I8> {
  using Type = Int8;
};
template <>
struct ElementOf<TextureFormat::U16> {
  using Type = UInt16;
};
template <>
struct ElementOf<TextureFormat::I16> {
  using Type = Int16;
};
template <>
struct ElementOf<TextureFormat::U32> {
  using Type = UInt32;
};
template <>
struct ElementOf<TextureFormat::I32> {
  using Type = Int32;
};

// A number (or four) of an integer format as 0..1, signed ones as -1..1.
template <TextureFormat kFormat, class T>
inline T Normalize(T value) {
  const auto constant = [](Float32 number) {
    if constexpr (std::is_same_v<T, Float32>)
      return number;
    else
      return Broadcast(number);
  };
  constexpr Float32 kInverseOf32Bits = 1.0f / 4294967296.0f;
  if constexpr (kFormat == TextureFormat::U8) return value / constant(255.0f);
  if constexpr (kFormat == TextureFormat::U16) return value / constant(65535.0f);
  if constexpr (kFormat == TextureFormat::U32) return value * constant(kInverseOf32Bits);
  T unit;
  if constexpr (kFormat == TextureFormat::I8)
    unit = (value + constant(128.0f)) / constant(255.0f);
  else if constexpr (kFormat == TextureFormat::I16)
    unit = (value + constant(32768.0f)) / constant(65535.0f);
  else
    unit = (value + constant(2147483648.0f)) * constant(kInverseOf32Bits);
  return unit + unit + constant(-1.0f);
}

// From the sRGB curve to linear light; values outside 0..1 go through the same formula. Out of line: the power inside
// takes longer than a call, and there are many callers.
Float32 DecodeSrgb(Float32 value);

// What the 8-bit formats decode to without and with the sRGB curve, by signedness, normalization and byte: powf is
// slow.
struct ByteTables {
  Float32 values[2][2][2][256];
};
[[gnu::visibility("hidden")]] extern ByteTables g_byteTables;  // read without a detour
// Fills the tables; called before a function that reads them is handed out.
void PrepareByteTables();

template <TextureFormat kFormat, Bool kIsNormalized, Bool kIsSrgb, Int kTexelChannels>
struct Decoder {
  using Element = typename ElementOf<kFormat>::Type;
  static constexpr Bool kIsFloat = std::is_same_v<Element, Float32>;
  static constexpr Bool kIsByte = sizeof(Element) == 1;
  // Whether texels are values as they are.
  static constexpr Bool kIsPlainFloat = kIsFloat && !kIsSrgb && kTexelChannels == 1;
  static constexpr Int kStride = kTexelChannels * static_cast<Int>(sizeof(Element));

  // One element.
  static Float32 LoadElement(const Byte* element) {
    if constexpr (kIsSrgb && kIsByte) {
      return GetSrgbTable()[*element];
    } else {
      Float32 value = static_cast<Float32>(Read<Element>(element));
      if constexpr (kIsNormalized && !kIsFloat) value = Normalize<kFormat>(value);
      if constexpr (kIsSrgb) value = DecodeSrgb(value);
      return value;
    }
  }

  // The texel as a value of kOutputs channels: further channels are ignored, missing ones are zero. What takes a few
  // instructions is inlined by force, because there are many callers.
  template <Int kOutputs>
  OSTRA_SAMPLER_INLINE static Value<kOutputs> Load(const Byte* texel) {
    constexpr Int kCount = std::min(kOutputs, kTexelChannels);
    if constexpr (kOutputs == 1) {
      return LoadElement(texel);
    } else if constexpr (kIsFloat && !kIsSrgb) {
      Float4 value{};
      std::memcpy(&value, texel, kCount * sizeof(Float32));
      return value;
    } else if constexpr (kIsSrgb && kIsByte && kCount == 4) {
      return LoadSrgb(texel);
    } else if constexpr (kCount == 4 && !kIsSrgb && sizeof(Element) < 4) {
      return LoadFour(texel);
    } else {
      return LoadElements<kCount>(texel);
    }
  }

  // The same through a pointer, for the paths that are shared by all formats. Writes four floats.
  static void Decode(Float32* result, const Byte* texel) {
    const Float4 value = Load<4>(texel);
    std::memcpy(result, &value, sizeof(value));
  }

 private:
  static const Float32* GetSrgbTable() { return g_byteTables.values[true][std::is_signed_v<Element>][kIsNormalized]; }

  OSTRA_SAMPLER_INLINE static Float4 LoadSrgb(const Byte* texel) {
    const Float32* table = GetSrgbTable();
    const UInt64 bytes = Read<UInt32>(texel);  // the first byte is the lowest
    return Float4{table[bytes & 255], table[bytes >> 8 & 255], table[bytes >> 16 & 255], table[bytes >> 24]};
  }

  template <Int kCount>
  static Float4 LoadElements(const Byte* texel) {
    constexpr Int kSize = static_cast<Int>(sizeof(Element));
    const auto load = [texel](Int i) { return LoadElement(texel + i * kSize); };
    if constexpr (kCount == 1)
      return Float4{load(0)};
    else if constexpr (kCount == 2)
      return Float4{load(0), load(1)};
    else if constexpr (kCount == 3)
      return Float4{load(0), load(1), load(2)};
    else
      return Float4{load(0), load(1), load(2), load(3)};
  }

  OSTRA_SAMPLER_INLINE static Float4 LoadFour(const Byte* texel) {
    Element elements[4];
    std::memcpy(elements, texel, sizeof(elements));
    const Float4 value = __builtin_convertvector((Int4{elements[0], elements[1], elements[2], elements[3]}), Float4);
    if constexpr (kIsNormalized)
      return Normalize<kFormat>(value);
    else
      return value;
  }
};

using DecodeFunction = void (*)(Float32* result, const Byte* texel);

// The byte of U8 samplers for a float: the low byte of its whole part, which is 0 beyond 32 bits and for NaN.
inline Byte TruncateToByte(Float32 value) {
  const Bool isInRange = value >= -2147483648.0f && value < 2147483648.0f;
  return isInRange ? static_cast<Byte>(static_cast<UInt32>(static_cast<Int32>(value))) : Byte{0};
}

}  // namespace ostra::sampler
