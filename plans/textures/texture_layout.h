// What the texture parameters of kernels take: one layout for each type that a kernel file can declare.
//
//   (const TextureSampler_2D_RGBA_F32_LINEAR) image, \        2 dimensions, 4 channels of float32, LINEAR
#pragma once

#include <string_view>

#include "ostra/core/data_type.h"
#include "parallelprogram/shaderparser/shader_records.h"
#include "parallelprogram/textures/texture_bind_data.h"

namespace ostra::plans {

struct TextureLayout {
  DataType sampler;       // the declared type
  std::string_view name;  // "2D RGBA F32 LINEAR"
  Int dimensions = 2;     // 1 to 3
  Int channels = 4;       // 1 to 4
  TextureFormat format = TextureFormat::F32;
  TextureFilter filter = TextureFilter::LINEAR;

  // What files hold: float32 or uchar, or a vector of them.
  DataType GetTexelType() const;
};

// Null when `type` is no texture that programs make: there are none of 16- and 32-bit integers. Thread-safe.
const TextureLayout* FindTextureLayout(DataType type);
// The same for what a stage file or a kernel declares to a GPU. Halves are given as floats.
const TextureLayout* FindTextureLayout(Int dimensions, Int channels, TextureFormat format, TextureFilter filter);
const TextureLayout* FindTextureLayout(const ShaderTextureEntry& entry);

}  // namespace ostra::plans
