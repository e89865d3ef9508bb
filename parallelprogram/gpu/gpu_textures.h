// GpuTextures: the textures of a GPU program by name. When the device is full, textures make room for others: they are
// kept on the host and come back to the device when a kernel that reads them runs.
//
// What a program works on is given with each call, because its context may be replaced.
#pragma once

#include "parallelprogram/device/device_textures.h"
#include "parallelprogram/gpu/gpu_contexts.h"
#include "parallelprogram/gpu/gpu_kernel_table.h"

namespace ostra {

class GpuTextures {
 public:
  // `kernels` outlives it: a texture that leaves the device is taken out of their links.
  explicit GpuTextures(const GpuKernelTable& kernels) : _kernels(kernels) {}

  // Creates or replaces a texture whose extents are at least 1. Errors: illegal state without a context; those of
  // MakeTextureEntry.
  Result<void> Store(const GpuContexts& contexts, const InternedId& attr, const TextureBindData& bindData);
  // Errors: those of UpdateTexture.
  Result<void> Update(const GpuContextData& data, const InternedId& attr, const TextureBindData& bindData);
  // Exchanges what two names stand for. Errors: illegal argument "texture one could not be found", "texture two could
  // not be found".
  Result<void> Swap(const InternedId& one, const InternedId& two);
  // Takes a texture out of all links and, unless it is `kept`, off the host. Error: out of memory.
  Result<void> Delete(const InternedId& attr, Bool isKept);
  // SamplingData with the texels from the origin up to `end`, or all that the host keeps of an evicted one. What fails
  // is a diagnostic, too. Errors: those of the table for an unknown name; illegal state without a context and for a
  // texture that is not on the device; those of reading.
  Result<Data> Read(const GpuContextData& data, const InternedId& attr, const Vec3<Int32>& end) const;
  // Makes evicted textures of the kernel again, in the place of others where room is missing.
  Result<void> Restore(const GpuContexts& contexts, GpuKernel& kernel);

  // Textures begin as read-only ones where they are given texels. Before a kernel writes one, another that can be
  // written takes its place in all links; kernels that were linked have to be updated again. Textures of others stay.
  // Errors: those of MakeWritableEntry.
  Result<void> MakeWritable(const GpuContexts& contexts, const DrawportTexture* texture);
  // The same for a texture whose handle is given to others. Nothing happens for an unknown name.
  Result<void> MakeWritable(const GpuContexts& contexts, const InternedId& attr);
  // While it is set, all textures that kernels use are made writable: recorded work names them for good.
  void SetAllWritable(Bool isOn) { _areAllWritable = isOn; }
  Bool AreAllWritable() const { return _areAllWritable; }

  // The textures that may be evicted, first to last. Error: out of memory.
  Result<void> SetEvictionOrder(const BaseArray<InternedId>& order) { return _evictionOrder.CopyFrom(order); }
  void SetNarrow(const NarrowTexels& narrow) { _narrow = narrow; }
  const NarrowTexels& GetNarrow() const { return _narrow; }
  const TextureSamplerEntry* Find(const InternedId& attr) const { return FindTextureEntry(_names, attr); }
  const DataDictionary& GetNames() const { return _names; }
  // The order of eviction and the widths of texels stay.
  void Reset();

 private:
  // `kept`: a kernel whose textures are not evicted for this one, or null.
  Result<void> Store(const GpuContexts& contexts, const InternedId& attr, const TextureBindData& bindData,
                     const GpuKernel* kept);
  // Evicts textures until `bytes` bytes fit or nothing is left to evict; textures of `kept` stay, and those that
  // cannot be read back. Returns whether they fit.
  Result<Bool> MakeRoom(const GpuContexts& contexts, Int bytes, const GpuKernel* kept);
  // MakeWritable where the device has no room for both textures: the first one leaves it before.
  Result<void> MakeWritableByHost(const GpuContexts& contexts, const InternedId& attr);
  Bool IsEvictable(const InternedId& attr, const GpuKernel* kept) const;
  Result<void> Evict(const GpuContexts& contexts, const InternedId& attr);

  const GpuKernelTable& _kernels;
  DataDictionary _names;               // name -> TextureSamplerEntry
  HashMap<InternedId, Data> _evicted;  // SamplingData with texels
  BaseArray<InternedId> _evictionOrder;
  NarrowTexels _narrow;
  Bool _hasToldEviction = false;
  Bool _areAllWritable = false;
  HashMap<InternedId, Bool> _written;  // names whose next textures are writable from the beginning
  HashMap<const DrawportTexture*, DrawportResourceKey> _readOnlyKeys;  // that they would have if they were written
};

// Bytes that are free and bytes in all on the device of a context; 0 without one.
VideoMemoryBudget GetMemoryBudget(const GpuContextData& data);

}  // namespace ostra
