// Textures on the device, in tables of them: entries by name, and links to them. Programs and shader loaders keep their
// textures this way.
#pragma once

#include "parallelprogram/device/device_buffers.h"
#include "parallelprogram/device/texture_storage.h"

namespace ostra {

// kIsUnfilled and kLackedMemory of the texture of `entry`, which may be a link. `table` has the textures themselves: a
// link does not notice that its texture is filled again.
UInt64 GetFillState(const TextureSamplerEntry& entry, const DataDictionary& table);

// Null when there is no entry of this name.
const TextureSamplerEntry* FindTextureEntry(const DataDictionary& table, const InternedId& attr);

// Extents below 1 become 1.
void RaiseDimensions(TextureBindData& bindData);

// Makes room for a new texture before it gets its memory.
using MakeTextureRoom = Delegate<Result<void>()>;

// The entry of `table` for a texture as `bindData`, whose extents are at least 1, describes it: on the device and
// filled. A texture that is still held is found again by `key`, see MakeTextureKey, unless it is of another kind or has
// another name by now. What fails while it is filled is written as a diagnostic, and the entry notes it
// (kIsUnfilled): such a texture is not bound. It has one layer: texels of further
// ones are left out, which the entry notes (kHasLayers). Errors: those of FindTextureFormat, of `makeRoom` and of the
// cache; out of memory.
// `use`: devices keep textures that are only read in a form that is faster to read.
enum class TextureUse { ReadOnly, Written };
Result<TextureSamplerEntry> MakeTextureEntry(const GpuContextData& data, const DataDictionary& table,
                                             const InternedId& attr, const TextureBindData& bindData,
                                             const NarrowTexels& narrow, const DrawportResourceKey& key,
                                             const MakeTextureRoom& makeRoom = {},
                                             TextureUse use = TextureUse::Written);

// Whether programs may write the texture, or could not even if it were made for that.
Bool IsWritableEntry(const GpuContextData& data, const TextureSamplerEntry& entry);
// A texture with the texels of a read-only one, for programs that write. `key` is that of the texture `attr`. Errors:
// those of reading and filling; out of memory.
Result<TextureSamplerEntry> MakeWritableEntry(const GpuContextData& data, const DataDictionary& table,
                                              const InternedId& attr, const TextureSamplerEntry& entry,
                                              const DrawportResourceKey& key);
// Lets all entries of `table` for the texture of `from` lead to that of `to`. Returns whether there were any. Error:
// out of memory.
Result<Bool> ReplaceTexture(DataDictionary& table, const DrawportTexture* from, const TextureSamplerEntry& to);

// Writes other texels into a texture of `table`, as far as they reach, and describes it by `texBindData` from now on.
// Texels of another format are taken as bytes. What fails while it is filled is written as a diagnostic and noted, and
// so is that there are further layers, which are left out, when there were none before. Error: illegal argument
// "texture for update could not be found".
Result<void> UpdateTexture(const GpuContextData& data, DataDictionary& table, const InternedId& attr,
                           const TextureBindData& texBindData, const NarrowTexels& narrow);

// Takes a texture out of all links to it, which keep its description and name. Returns whether there were any.
// Error: out of memory.
Result<Bool> EmptyTextureLinks(DataDictionary& links, const DrawportTexture* texture, const InternedId& textureId);

}  // namespace ostra
