// What lies on the device: buffers, textures, samplers, counters. Cache items (cache_items.h) own them and hand out
// plain pointers, valid while the item lives, also after it was made valid for another device. What recorded work names
// stays until the device has finished it, also when its item has gone. What is on another device than the context that
// it is used in is refused with an illegal state.
#pragma once

#include "ostra/core/result.h"
#include "ostra/drawport/enumerations.h"
#include "ostra/image/pixel_format.h"

namespace ostra {

class DrawportContextInterface;

// One piece of device memory with the bytes of an array.
class DrawportDeviceBuffer {
 public:
  virtual Int GetSize() const = 0;  // bytes

 protected:
  ~DrawportDeviceBuffer() = default;
};

// The buffers of one cache item.
class DrawportVertexBuffer {
 public:
  // Device memory of `bytes` bytes, zero at first. A repeated call with the same size hands out the same memory with
  // its contents; other sizes get memory of their own, and all of it lives as long as the item. `alignment` is the
  // capability SubBufferAlignment. Only in the fill callback of the item. Errors: illegal argument for a size below 1
  // or an alignment that is no power of two; out of memory.
  virtual Result<DrawportDeviceBuffer*> AllocSubBuffer(DrawportContextInterface& context, DrawportSubBufferUse use,
                                                       Int bytes, Int alignment) = 0;

 protected:
  ~DrawportVertexBuffer() = default;
};

struct DrawportOrigin {
  Int x = 0, y = 0, z = 0;  // texels
};
struct DrawportExtent {
  Int width = 1, height = 1, depth = 1;  // texels
};
struct DrawportRegion {
  DrawportOrigin origin;
  DrawportExtent extent;
};

struct DrawportTextureDescription {
  DrawportTextureType type = DrawportTextureType::Texture2D;
  PixelFormatRef format = nullptr;
  DrawportExtent extent;
  Bool isImage = false;  // kernels read and write it: needs DrawportPixelFormatAccess::ShaderReadWrite
  // Of textures that a render target hands out.
  DrawportDepthFormat depthFormat = DrawportDepthFormat::None;
  Int32 sampleCount = 1;
};

class DrawportTexture {
 public:
  virtual const DrawportTextureDescription& GetDescription() const = 0;
  // Bytes of a staging buffer for a block: pitch of a row * height * depth. The pitch depends on the width alone and is
  // at least the bytes of the row's texels. `level` and `layer` are 0.
  // Error: illegal argument for a block that is empty or not inside the texture, another level or another layer.
  virtual Result<Int> GetStagingBufferSize(const DrawportOrigin& origin, const DrawportExtent& extent, Int level,
                                           Int layer) const = 0;

 protected:
  ~DrawportTexture() = default;
};

class DrawportTextureSampler {
 protected:
  ~DrawportTextureSampler() = default;
};

// 32 bits that invocations count with. Its value is set and read through the command list.
class DrawportAtomicCounter {
 protected:
  ~DrawportAtomicCounter() = default;
};

// A sampler's key: one byte. 0x03: linear, otherwise nearest. Per axis 0 repeats, the low bit alone clamps to the edge,
// both bits give the border: x 0x08 and 0x0C, y 0x20 and 0x30, z 0x80 and 0xC0. The border is transparent black.
namespace DrawportSamplerKey {
inline constexpr UInt8 kLinear = 0x03;
inline constexpr UInt8 kClampX = 0x08, kBorderX = 0x0C;
inline constexpr UInt8 kClampY = 0x20, kBorderY = 0x30;
inline constexpr UInt8 kClampZ = 0x80, kBorderZ = 0xC0;
}  // namespace DrawportSamplerKey

}  // namespace ostra
