// Textures in kernel files: the types of parameters and the words that read them.
//
//   (const TextureSampler_2D_RGBA_F32_LINEAR) image, \          a parameter; the types are those of sampler_types.h
//
//   vec4 colour = SampleTexture(image, vec2(0.5, 0.5));         filtered; 0..1 over the texture, or texels
//   vec4 texel = FetchTexture(image, int2(3, 5));               one texel; wrap modes apply
//   int2 size = TextureSize(image);
//   vec4 second = SampleTextureLayer(image, uv, 1u);            the same in a layer of a texture array
//   vec4 other = FetchTextureLayer(image, ij, 1u);
//
// The words take the name of a parameter, as UNIFORM_BUFFER does. One channel gives a float, more give a vec2 to vec4;
// textures of whole numbers give uint or int, of bytes 0 to 255. A program does not run a kernel without its textures;
// a kernel object without a texture reads zero and the size 0.
#pragma once

#include <cstring>

#include "ostra/math/float64_forms.h"
#include "parallelprogram/base/kernel_checks.h"
#include "parallelprogram/textures/sampler_types.h"

namespace ostra::kernel {

// The sampler of a parameter without a texture.
template <class Sampler>
const Sampler& GetUnboundSampler() {
  static const auto* const unbound = [] {
    static Sampler sampler;
    sampler._kind = 0;
    sampler._sample = [](void* result, const Float32*, UInt32, const SamplingData*) {
      return std::memset(result, 0, 4 * sizeof(Float32));
    };
    sampler._fetch = [](void* result, const Int32*, UInt32, const SamplingData*) {
      return std::memset(result, 0, 4 * sizeof(Float32));
    };
    return &sampler;
  }();
  return *unbound;
}

// The member that a texture parameter becomes.
template <class Sampler>
class KernelTexture {
 public:
  using Coordinates = typename Sampler::Coordinates;
  using TexelCoordinates = typename Sampler::TexelCoordinates;
  using Value = typename Sampler::Value;

  template <class At>
  Value Sample(const At& coordinates, UInt32 layer = 0) const {
    static_assert(!vocabulary::kIsWideFloat<vocabulary::Element<At>>,
                  "SampleTexture takes coordinates of 32 bits: float, vec2 or vec3.");
    return _sampler->Sample(coordinates, layer);
  }
  template <class At>
  Value Fetch(const At& coordinates, UInt32 layer = 0) const {
    static_assert(std::is_same_v<vocabulary::Element<At>, Int32>,
                  "FetchTexture takes the numbers of a texel: int, int2 or int3, as it does on a GPU.");
    return _sampler->Fetch(coordinates, layer);
  }
  TexelCoordinates GetSize() const { return _sampler->GetSize(); }

  // `layer`, when the texture has it; else the process ends with a message. A texture that was never given has all.
  UInt32 CheckLayer(UInt32 layer, const char* name, const char* file, int line) const {
    const SamplingData& data = _sampler->_samplingData;
    const Int layerSize = Int{data._dimensions.x} * data._dimensions.y * data._dimensions.z * data._numChannels *
                          GetElementSize(data._format);
    if (data._dataSize > 0 && layerSize > 0 && Int{layer} >= data._dataSize / layerSize)
      FailTextureLayer(name, file, line, layer, data._dataSize / layerSize);
    return layer;
  }

  const Sampler& GetSampler() const { return *_sampler; }

  // The pointer that the program sets.
  const Sampler*& GetTarget() { return _sampler; }

 private:
  const Sampler* _sampler = &GetUnboundSampler<Sampler>();
};

// The names of the types in kernel files.
#define OSTRA_NAME_SAMPLER_TYPE(dimensions, channels, element, filter, ...) \
  using TextureSampler_##dimensions##D_##channels##_##element##_##filter =  \
      TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter;
OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_NAME_SAMPLER_TYPE)
#undef OSTRA_NAME_SAMPLER_TYPE
// On a GPU, 32-bit integers with a sign are called S32.
using TextureSampler_1D_R_S32_POINT = TextureSamplerObj_1D_R_I32_POINT;
using TextureSampler_2D_R_S32_POINT = TextureSamplerObj_2D_R_I32_POINT;
using TextureSampler_3D_R_S32_POINT = TextureSamplerObj_3D_R_I32_POINT;

// Reports a use of StoreImage, which kernels on the CPU do not have.
template <class Image>
struct ImageStore {
  static_assert(sizeof(Image) == 0, "Kernels on the CPU cannot write textures: write a buffer (Block) instead.");
};

}  // namespace ostra::kernel

#define SampleTexture(texture, uv) (ostraParameter_##texture.Sample(uv))
#ifdef OSTRA_CHECK_KERNEL_INDICES
#define SampleTextureLayer(texture, uv, layer) \
  (ostraParameter_##texture.Sample(uv, ostraParameter_##texture.CheckLayer(layer, #texture, __FILE__, __LINE__)))
#define FetchTextureLayer(texture, ij, layer) \
  (ostraParameter_##texture.Fetch(ij, ostraParameter_##texture.CheckLayer(layer, #texture, __FILE__, __LINE__)))
#else
#define SampleTextureLayer(texture, uv, layer) (ostraParameter_##texture.Sample(uv, layer))
#define FetchTextureLayer(texture, ij, layer) (ostraParameter_##texture.Fetch(ij, layer))
#endif
#define FetchTexture(texture, ij) (ostraParameter_##texture.Fetch(ij))
#define TextureSize(texture) (ostraParameter_##texture.GetSize())
#define StoreImage(image, ij, value) (::ostra::kernel::ImageStore<decltype(ostraParameter_##image)>())
// SampleTexture(UNIFORM(image), uv) means the same.
#define ostraParameter_UNIFORM(name) ostraParameter_##name
