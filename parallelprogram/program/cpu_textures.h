// CpuTextures: the textures of a CPU program by name: sampler objects with a copy of the texels.
#pragma once

#include "parallelprogram/textures/texture_factory.h"

namespace ostra {

class CpuTextures {
 public:
  // Creates or replaces a texture; links to one that is replaced keep working. Errors: those of StoreTexture.
  Result<void> Store(const InternedId& attr, const TextureBindData& bindData) {
    return StoreTexture(_storage, _names, attr, bindData);
  }
  // Errors: illegal argument "texture sampler identifier not found", or for another size than the texture's.
  Result<void> Update(const InternedId& attr, const TextureBindData& bindData);
  // Errors: illegal argument "buffer one (two) could not be found".
  Result<void> Swap(const InternedId& textureOne, const InternedId& textureTwo);
  // Forgets the name. Error: out of memory.
  Result<void> EraseName(const InternedId& attr) { return _names.EraseData(attr); }
  // Frees a texture, to which nothing links any more.
  void Free(const TextureSamplerDataHelper* sampler);
  void Reset();

  // Null when there is none.
  TextureSamplerDataHelper* Find(const InternedId& attr) const;
  // The sampler's address (TextureSamplerDataHelper*). Error: that of a name that there is not.
  Result<const Data&> GetLink(const InternedId& attr) const { return _names.GetData(attr); }
  const DataDictionary& GetNames() const { return _names; }
  // A copy of the texels and of what describes them (SamplingData). Errors: illegal argument "texture sampler
  // identifier not found"; out of memory.
  Result<Data> Read(const InternedId& attr) const;
  // All bytes when `bytesCount` is negative. Errors: illegal argument for an unknown name, for a range outside of a
  // texture, and for textures of different sizes.
  Result<void> CopyBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                         Int sourceBytesOffset, Int targetBytesOffset);

 private:
  IntrusiveList<SamplerNode> _storage;  // freed by Reset; a single one by Free
  DataDictionary _names;                // name -> TextureSamplerDataHelper*
};

}  // namespace ostra
