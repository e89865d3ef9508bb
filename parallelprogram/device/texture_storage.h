// How textures are stored on the device: the pixel format, the sampler's key, and texels that are made wider or
// narrower because the device stores another width than the client gives.
//
// Nothing here touches a device. Thread-safe.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/image/pixel_format.h"
#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

// Which narrow texels kernels can read and write. Without, textures are stored in 32 bits per channel.
struct NarrowTexels {
  Bool with16bit = true;
  Bool with8bit = true;
};

// Filter and wrap modes as DrawportCacheInterface::GetTextureSampler takes them. Wrap modes that are none repeat.
UInt8 MakeSamplerKey(const TextureBindData& bindData);

// Bytes per channel as keys count them. Not always those of the pixel format: formats U16 and I16 follow the support
// for 16 bits here and that for 8 bits there, and old keys stay valid.
Int GetBytesPerChannel(TextureFormat format, const NarrowTexels& narrow);

// Error: illegal argument "wrong combination of _numChannels and _format to determine the PixelFormat".
Result<PixelFormatRef> FindTextureFormat(const TextureBindData& bindData, const NarrowTexels& narrow);

// What a texture that kernels declare with `declared` is stored as; null for no format.
PixelFormatRef FindStoredFormat(PixelFormatRef declared, const NarrowTexels& narrow);

// `nameKey`: see MakeNameKey. The dimensions are at least 1. Only the leading bytes of the texels count.
// Error: out of memory.
Result<DrawportResourceKey> MakeTextureKey(UInt64 nameKey, const TextureBindData& bindData, const NarrowTexels& narrow);

// A texture with more than one slice has three dimensions, one with more than one row two.
DrawportTextureType GetTextureType(const TextureBindData& bindData);

// Texels in the form in which they are stored.
struct StoredTexels {
  const Byte* data = nullptr;  // the caller's, or those of `converted`; null when there are none
  Int size = 0;                // bytes
  BaseArray<Byte> converted;
};

// The texels of `bindData` as `format` stores them. Floats are rounded to halves, halves and integers are widened by
// value; texels whose width is right already are not touched, whatever their format. Where there are fewer bytes than
// texels, only those that are there. Error: out of memory.
Result<StoredTexels> MakeStoredTexels(const TextureBindData& bindData, const PixelFormat& format);

// Whether there are more texels than the extents have place for: those of further layers. As many bytes as the texels
// have in storage are one layer, however wide its elements are by their format.
Bool HasFurtherLayers(const TextureBindData& bindData, const PixelFormat& format);

// The description that leads to the same texture and sampler.
TextureBindData MakeBindData(const SamplingData& data);

}  // namespace ostra
