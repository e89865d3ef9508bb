// The sampler objects that kernels work with: one type per dimensionality, channels, element and filter.
//
//   const TextureSamplerObj_2D_RGBA_F32_LINEAR* image = ...;          // a parameter of the kernel
//   Vec4<Float32> colour = image->Sample({0.5f, 0.5f});               // filtered; coordinates 0..1 or texels
//   Vec4<Float32> texel = image->Fetch({3, 5});                       // one texel; wrap modes apply
//   Vec2<Int32> size = image->GetSize();
//
// Header-only. Reading is thread-safe.
#pragma once

#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

namespace sampler {

template <Int kCount, class T>
struct TupleOf {
  using Type = glm::vec<static_cast<glm::length_t>(kCount), T, glm::packed_highp>;
};
template <class T>
struct TupleOf<1, T> {
  using Type = T;
};

// A single number, or a vector of `kCount` numbers.
template <Int kCount, class T>
using Tuple = typename TupleOf<kCount, T>::Type;

template <Int kCount, class T>
Tuple<kCount, T> MakeTuple(const T* numbers) {
  Tuple<kCount, T> tuple{};
  MemCopy(&tuple, numbers, kCount * static_cast<Int>(sizeof(T)));
  return tuple;
}

}  // namespace sampler

// What all sampler types with `kDimensions`, `kChannels`, elements of type Element and a filter have in common.
template <Int kDimensionCount, Int kChannelCount, class ElementType, TextureFilter kSamplerFilter>
struct TextureSampler : TextureSamplerDataHelper {
  static constexpr Int kDimensions = kDimensionCount;
  static constexpr Int kChannels = kChannelCount;
  static constexpr TextureFilter kFilter = kSamplerFilter;
  using Element = ElementType;

  using Coordinates = sampler::Tuple<kDimensions, Float32>;
  using TexelCoordinates = sampler::Tuple<kDimensions, Int32>;
  // Whole numbers are read as they are, texels of 8 bits as 0 to 255.
  static constexpr Bool kIsByte = std::is_same_v<Element, UInt8>;
  using Number = std::conditional_t<std::is_signed_v<Element>, Int32, UInt32>;
  using Value = std::conditional_t<std::is_integral_v<Element>, Number, sampler::Tuple<kChannels, Float32>>;

  // The filtered value at `coordinates`: 0..1 over the texture, or texels when it was made so.
  Value Sample(const Coordinates& coordinates, UInt32 layer = 0) const {
    static_assert(kFilter == TextureFilter::LINEAR,
                  "A POINT texture has no filtered value: read it with FetchTexture, whose coordinates are texels, or "
                  "declare the parameter with a LINEAR type.");
    Float32 position[kDimensions];
    MemCopy(position, &coordinates, sizeof(position));
    Result result;
    _sample(&result, position, layer, &_samplingData);
    return result.GetValue();
  }

  // The texel at integer coordinates. Wrap modes apply to coordinates outside; nothing is filtered.
  Value Fetch(const TexelCoordinates& coordinates, UInt32 layer = 0) const {
    Int32 position[kDimensions];
    MemCopy(position, &coordinates, sizeof(position));
    Result result;
    _fetch(&result, position, layer, &_samplingData);
    return result.GetValue();
  }

  // Texels per axis.
  TexelCoordinates GetSize() const {
    const Vec3<UInt32>& extent = _samplingData._dimensions;
    const Int32 size[3] = {static_cast<Int32>(extent.x), static_cast<Int32>(extent.y), static_cast<Int32>(extent.z)};
    return sampler::MakeTuple<kDimensions>(size);
  }

 private:
  // Room for the widest result, whatever the functions write.
  struct Result {
    union {
      Float32 floats[4];
      Number number;
      Byte byte;
    };
    Value GetValue() const {
      if constexpr (kIsByte)
        return byte;
      else if constexpr (std::is_integral_v<Element>)
        return number;
      else
        return sampler::MakeTuple<kChannels>(floats);
    }
  };
};

// apply(dimensions, channels, element, filter, element type, channel count, filter in lower case), in the order in
// which the types are registered.
#define OSTRA_FOR_EACH_DIMENSION(apply, ...) apply(1, __VA_ARGS__) apply(2, __VA_ARGS__) apply(3, __VA_ARGS__)
#define OSTRA_FOR_EACH_SAMPLER_TYPE(apply)                               \
  OSTRA_FOR_EACH_DIMENSION(apply, R, F32, POINT, Float32, 1, point)      \
  OSTRA_FOR_EACH_DIMENSION(apply, R, F32, LINEAR, Float32, 1, linear)    \
  OSTRA_FOR_EACH_DIMENSION(apply, RG, F32, LINEAR, Float32, 2, linear)   \
  OSTRA_FOR_EACH_DIMENSION(apply, RGB, F32, LINEAR, Float32, 3, linear)  \
  OSTRA_FOR_EACH_DIMENSION(apply, RGBA, F32, LINEAR, Float32, 4, linear) \
  OSTRA_FOR_EACH_DIMENSION(apply, R, I32, POINT, Int32, 1, point)        \
  OSTRA_FOR_EACH_DIMENSION(apply, R, U16, POINT, UInt16, 1, point)       \
  OSTRA_FOR_EACH_DIMENSION(apply, R, U8, POINT, UInt8, 1, point)

// TextureSamplerObj_<d>D_<channels>_<element>_<filter>. The I32 and U16 types can be declared, but no texture has them.
#define OSTRA_DECLARE_SAMPLER_TYPE(dimensions, channels, element, filter, Element, count, lowerFilter) \
  struct TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter final                     \
      : TextureSampler<dimensions, count, Element, TextureFilter::filter> {};
OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_DECLARE_SAMPLER_TYPE)
#undef OSTRA_DECLARE_SAMPLER_TYPE

}  // namespace ostra

#define OSTRA_DESCRIBE_SAMPLER_TYPE(dimensions, channels, element, filter, Element, count, lowerFilter)      \
  OSTRA_DATATYPE(ostra::TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter,                 \
                 "net.ostra.datatype.parallelprogram.textures.texturesamplerobj_" #dimensions "D_" #channels \
                 "_" #element "_" #lowerFilter,                                                              \
                 "ostra::TextureSamplerObj_" #dimensions "D_" #channels "_" #element "_" #filter);
OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_DESCRIBE_SAMPLER_TYPE)
#undef OSTRA_DESCRIBE_SAMPLER_TYPE
