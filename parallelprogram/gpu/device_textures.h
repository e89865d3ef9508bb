// Textures on the device, in tables of them: entries by name, and links to them. Programs and shader loaders keep their
// textures this way.
#pragma once

#include "parallelprogram/gpu/device_buffers.h"
#include "parallelprogram/gpu/texture_storage.h"

namespace ostra {

// Null when there is no entry of this name.
const TextureSamplerEntry* FindTextureEntry(const DataDictionary& table, const InternedId& attr);

// Extents below 1 become 1.
void RaiseDimensions(TextureBindData& bindData);

// The entry of a texture as `bindData`, whose extents are at least 1, describes it: on the device and filled. Textures
// that are still held are found again by `key`, see MakeTextureKey. What fails while it is filled is written as a
// diagnostic. Errors: those of FindTextureFormat and of the cache; out of memory.
Result<TextureSamplerEntry> MakeTextureEntry(const GpuContextData& data, const InternedId& attr,
                                             const TextureBindData& bindData, const NarrowTexels& narrow,
                                             DrawportResourceKey key);

// Replaces the texels of a texture in `table`. Errors: illegal argument "texture for update could not be found", and
// for another size or format.
Result<void> UpdateTexture(const GpuContextData& data, DataDictionary& table, const InternedId& attr,
                           const TextureBindData& texBindData, const NarrowTexels& narrow);

// Takes a texture out of all links to it, which keep its description and name. Returns whether there were any.
// Error: out of memory.
Result<Bool> EmptyTextureLinks(DataDictionary& links, const DrawportTexture* texture, const InternedId& textureId);

}  // namespace ostra
