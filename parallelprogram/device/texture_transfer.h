// Texels between the host and textures, in blocks that fit a staging buffer.
#pragma once

#include "parallelprogram/device/gpu_context.h"
#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

// The size of the blocks that a texture is moved in: whole slices where they fit, otherwise whole rows, otherwise parts
// of a row.
struct TextureBlocks {
  Int width = 0, height = 0, depth = 0;  // texels; 0 when not even one fits
};

// `texelSize`, `pitch` (of a row of the returned width in staging memory) and `capacity` are bytes.
Int GetBlockWidth(Int width, Int texelSize, Int capacity);
TextureBlocks GetBlocks(const DrawportExtent& extent, Int blockWidth, Int pitch, Int capacity);

// Tightly packed texels of a texture in its storage format.
struct TexelBytes {
  const Byte* data = nullptr;
  Int size = 0;  // bytes
};

// Writes the block of a texture from the origin to `extent`. Blocks that `texels` does not reach to the end of are left
// as they are. Recorded, not executed. Errors: illegal state for a texture whose rows do not fit a staging buffer;
// those of staging and mapping.
Result<void> FillTexture(const GpuContextData& data, DrawportTexture& texture, const DrawportExtent& extent,
                         const TexelBytes& texels);

// Reads the block from the origin to `extent`, packed, into `target` of `size` bytes. Errors: illegal state when
// mapping fails, with the cause as a diagnostic, or when there are more texels than bytes to read them into; those of
// staging.
Result<void> ReadTexture(const GpuContextData& data, DrawportTexture& texture, const DrawportExtent& extent,
                         Byte* target, Int size);

// What reading back says when there is no room for what comes: illegal state.
Error MakeTexelOverrunError();

}  // namespace ostra
