// A second, slow way to read textures: one scalar formula after the other, written without looking at the samplers.
// Tests compare bits with it.
//
//   Texture texture = MakeTexture(...);
//   ReferenceSample(texture, 4, {0.5f, 0.5f}, 0);
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <random>
#include <vector>

#include "parallelprogram/textures/sampling_data.h"
#include "parallelprogram/textures/texture_records.h"

namespace ostra::test {

// A description together with the texels that it points to.
struct Texture {
  TextureBindData bindData;
  std::vector<Byte> texels;

  Int GetTexelSize() const { return bindData._numChannels * GetElementSize(bindData._format); }
  TextureBindData GetBindData() const {
    TextureBindData complete = bindData;
    complete._data = texels.data();
    complete._dataSize = static_cast<Int>(texels.size());
    return complete;
  }
  SamplingData Build() const {
    auto data = BuildSamplingData(GetBindData());
    EXPECT_TRUE(data.IsOk());
    return std::move(data).GetValue();
  }
};

// Texels for `layers` layers: random numbers of the format, floats with a few that are negative, large or tiny.
inline void FillTexels(Texture& texture, Int layers, std::mt19937& random) {
  const Vec3<UInt32>& extent = texture.bindData._dimensions;
  const Int count = Int{extent.x} * extent.y * extent.z * layers * texture.GetTexelSize();
  texture.texels.resize(static_cast<std::size_t>(count));
  if (texture.bindData._format == TextureFormat::F16 || texture.bindData._format == TextureFormat::F32) {
    std::uniform_real_distribution<Float32> numbers(-0.5f, 1.5f);
    const Float32 special[] = {0.0f, -0.0f, 0.04045f, 1e-39f, 3e9f, -7.75f};
    for (Int i = 0; i < count; i += 4) {
      const Float32 value = random() % 8 == 0 ? special[random() % std::size(special)] : numbers(random);
      MemCopy(&texture.texels[static_cast<std::size_t>(i)], &value, 4);
    }
  } else {
    for (Byte& byte : texture.texels) byte = random() % 8 == 0 ? Byte(random() % 2 ? 255 : 128) : Byte(random());
  }
}

// Bytes behind the texels are zero.
template <class T>
T ReadElement(const Texture& texture, UInt32 texel, Int channel) {
  const Int offset = Int{texel} * texture.GetTexelSize() + channel * static_cast<Int>(sizeof(T));
  T value{};
  if (offset + static_cast<Int>(sizeof(T)) <= static_cast<Int>(texture.texels.size()))
    MemCopy(&value, &texture.texels[static_cast<std::size_t>(offset)], sizeof(T));
  return value;
}

inline Float32 ReferenceElement(const Texture& texture, UInt32 texel, Int channel) {
  const Bool normalized = texture.bindData._normalizedValues;
  volatile Float32 v = 0;  // one rounding after each operation
  switch (texture.bindData._format) {
    case TextureFormat::U8:
      v = static_cast<Float32>(ReadElement<UInt8>(texture, texel, channel));
      if (normalized) v = v / 255.0f;
      break;
    case TextureFormat::I8:
      v = static_cast<Float32>(ReadElement<Int8>(texture, texel, channel));
      if (normalized) {
        v = v + 128.0f;
        v = v / 255.0f;
        v = v + v;
        v = v + -1.0f;
      }
      break;
    case TextureFormat::U16:
      v = static_cast<Float32>(ReadElement<UInt16>(texture, texel, channel));
      if (normalized) v = v / 65535.0f;
      break;
    case TextureFormat::I16:
      v = static_cast<Float32>(ReadElement<Int16>(texture, texel, channel));
      if (normalized) {
        v = v + 32768.0f;
        v = v / 65535.0f;
        v = v + v;
        v = v + -1.0f;
      }
      break;
    case TextureFormat::U32:
      v = static_cast<Float32>(ReadElement<UInt32>(texture, texel, channel));
      if (normalized) v = v * 0x1p-32f;
      break;
    case TextureFormat::I32:
      v = static_cast<Float32>(ReadElement<Int32>(texture, texel, channel));
      if (normalized) {
        v = v + 2147483648.0f;
        v = v * 0x1p-32f;
        v = v + v;
        v = v + -1.0f;
      }
      break;
    default:
      v = ReadElement<Float32>(texture, texel, channel);
      break;
  }
  if (!texture.bindData._sRGB) return v;
  if (0.04045f >= v) return v / 12.92f;
  v = v + 0.055f;
  v = v / 1.055f;
  return powf(v, 2.4f);
}

using Values = std::vector<Float32>;

inline Values ReferenceTexel(const Texture& texture, Int outputs, UInt32 texel) {
  Values values(static_cast<std::size_t>(outputs), 0.0f);
  for (Int i = 0; i < outputs && i < Int{texture.bindData._numChannels}; ++i)
    values[static_cast<std::size_t>(i)] = ReferenceElement(texture, texel, i);
  return values;
}

inline Values ReferenceBorder(const Texture& texture, Int outputs) {
  return Values(texture.bindData._borderColor, texture.bindData._borderColor + outputs);
}

inline UInt32 ReferenceNumber(const Texture& texture, const std::vector<UInt32>& c, UInt32 layer) {
  const UInt32 width = texture.bindData._dimensions.x;
  const UInt32 height = texture.bindData._dimensions.y;
  const UInt32 depth = texture.bindData._dimensions.z;
  if (c.size() == 1) return width * layer + c[0];
  if (c.size() == 2) return (height * layer + c[1]) * width + c[0];
  return ((depth * layer + c[2]) * height + c[1]) * width + c[0];
}

// Integer coordinates; false for the border.
inline Bool ReferenceIntegerAddress(const Texture& texture, const std::vector<Int32>& coordinates, UInt32 layer,
                                    UInt32& number) {
  std::vector<UInt32> place;
  for (std::size_t axis = 0; axis < coordinates.size(); ++axis) {
    const Int e = static_cast<Int>(texture.bindData._dimensions[static_cast<int>(axis)]);
    Int c = coordinates[axis];
    if (c < 0 || c >= e) {
      switch (static_cast<Int32>(texture.bindData._wrapModes[axis])) {
        case 0:
          c = (c < 0 ? e : 0) + static_cast<Int>(fmodf(static_cast<Float32>(c), static_cast<Float32>(e)));
          break;
        case 1:
          c = c < 0 ? 0 : e - 1;
          break;
        case 2:
          return false;
        default:
          break;
      }
    }
    place.push_back(static_cast<UInt32>(c));
  }
  number = ReferenceNumber(texture, place, layer);
  return true;
}

inline Values ReferenceFetch(const Texture& texture, Int outputs, const std::vector<Int32>& coordinates, UInt32 layer) {
  UInt32 number = 0;
  if (!ReferenceIntegerAddress(texture, coordinates, layer, number)) return ReferenceBorder(texture, outputs);
  return ReferenceTexel(texture, outputs, number);
}

inline Byte ReferenceLowByte(Float32 value) {
  if (std::isnan(value) || std::fabs(value) >= 4e9f) return 0;
  const Float64 whole = std::trunc(static_cast<Float64>(value));
  if (whole < -2147483648.0 || whole > 2147483647.0) return 0;
  return static_cast<Byte>(static_cast<Int>(whole) & 255);
}

inline Byte ReferenceByte(const Texture& texture, const std::vector<Int32>& coordinates, UInt32 layer) {
  UInt32 number = 0;
  if (!ReferenceIntegerAddress(texture, coordinates, layer, number))
    return ReferenceLowByte(texture.bindData._borderColor[0]);
  switch (GetElementSize(texture.bindData._format)) {
    case 1:
      return ReadElement<UInt8>(texture, number, 0);
    case 2:
      return static_cast<Byte>(ReadElement<UInt16>(texture, number, 0) & 255);
    default:
      break;
  }
  if (texture.bindData._format == TextureFormat::U32 || texture.bindData._format == TextureFormat::I32)
    return static_cast<Byte>(ReadElement<UInt32>(texture, number, 0) & 255);
  return ReferenceLowByte(ReadElement<Float32>(texture, number, 0));
}

// One texel at float coordinates in texels.
inline Values ReferenceNearest(const Texture& texture, Int outputs, const std::vector<Float32>& coordinates,
                               UInt32 layer) {
  std::vector<UInt32> place;
  for (std::size_t axis = 0; axis < coordinates.size(); ++axis) {
    const Float32 e = static_cast<Float32>(texture.bindData._dimensions[static_cast<int>(axis)]);
    Float32 c = coordinates[axis];
    if (c >= e || 0 > c) {
      switch (static_cast<Int32>(texture.bindData._wrapModes[axis])) {
        case 0:
          c = c < 0 ? e + fmodf(c, e) : fmodf(c, e);
          break;
        case 1:
          c = c < 0 ? 0.0f : e + -1.0f;
          break;
        case 2:
          return ReferenceBorder(texture, outputs);
        default:
          break;
      }
    }
    const Bool fits = c > -0x1p63f && c < 0x1p63f;
    place.push_back(fits ? static_cast<UInt32>(static_cast<UInt64>(static_cast<Int64>(c))) : 0);
  }
  return ReferenceTexel(texture, outputs, ReferenceNumber(texture, place, layer));
}

inline Values ReferenceLerp(const Values& a, const Values& b, Float32 f) {
  Values values;
  for (std::size_t i = 0; i < a.size(); ++i) {
    volatile Float32 v = b[i] - a[i];
    v = v * f;
    v = v + a[i];
    values.push_back(static_cast<Float32>(v));
  }
  return values;
}

// `coordinates` as the sample functions take them.
inline Values ReferenceSample(const Texture& texture, Int outputs, std::vector<Float32> coordinates, UInt32 layer) {
  for (std::size_t axis = 0; axis < coordinates.size(); ++axis) {
    if (texture.bindData._normalizedCoordinates)
      coordinates[axis] *= static_cast<Float32>(texture.bindData._dimensions[static_cast<int>(axis)]);
  }
  if (texture.bindData._filter != TextureFilter::LINEAR) return ReferenceNearest(texture, outputs, coordinates, layer);
  std::vector<Float32> weights;
  for (Float32& c : coordinates) {
    c += -0.5f;
    weights.push_back(c - floorf(c));
  }
  // Corner i is moved by one along the axes whose bit is set; blending along an axis halves the corners.
  std::vector<Values> corners;
  for (std::size_t corner = 0; corner < std::size_t{1} << coordinates.size(); ++corner) {
    std::vector<Float32> moved = coordinates;
    for (std::size_t axis = 0; axis < moved.size(); ++axis) {
      if (corner >> axis & 1) moved[axis] += 1.0f;
    }
    corners.push_back(ReferenceNearest(texture, outputs, moved, layer));
  }
  for (const Float32 weight : weights) {
    std::vector<Values> blended;
    for (std::size_t i = 0; i + 1 < corners.size(); i += 2)
      blended.push_back(ReferenceLerp(corners[i], corners[i + 1], weight));
    corners = std::move(blended);
  }
  return corners[0];
}

// Equal bits, or both not a number: the bits of those are left open.
inline Bool HaveSameBits(Float32 a, Float32 b) {
  return std::bit_cast<UInt32>(a) == std::bit_cast<UInt32>(b) || (std::isnan(a) && std::isnan(b));
}

inline testing::AssertionResult HaveSameBits(const Values& actual, const Values& expected) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (!HaveSameBits(actual[i], expected[i]))
      return testing::AssertionFailure() << "component " << i << " is " << actual[i] << " instead of " << expected[i];
  }
  return testing::AssertionSuccess();
}

}  // namespace ostra::test
