// DrawportCacheInterface: the factory and the directory of what is on a device. Any thread may call any operation.
#pragma once

#include "ostra/core/delegate.h"
#include "ostra/drawport/cache_items.h"
#include "ostra/drawport/command_list.h"
#include "ostra/drawport/draw_pass.h"
#include "ostra/drawport/state_object_item.h"
#include "ostra/drawport/vertex_attributes.h"
#include "ostra/object/interface.h"

namespace ostra {

// Three numbers by which buffers and textures are found. Programs mix their own identity into the first.
struct DrawportResourceKey {
  UInt64 values[3] = {0, 0, 0};
  UInt64 GetHashCode() const { return CombineHash(CombineHash(values[0], values[1]), values[2]); }
  friend Bool operator==(const DrawportResourceKey& a, const DrawportResourceKey& b) {
    return a.values[0] == b.values[0] && a.values[1] == b.values[1] && a.values[2] == b.values[2];
  }
};

struct DrawportCounterKey {
  InternedId id;
  UInt64 program = 0;  // identity of the program that the counter belongs to
  UInt64 GetHashCode() const { return CombineHash(id.GetHashCode(), program); }
  friend Bool operator==(const DrawportCounterKey& a, const DrawportCounterKey& b) {
    return a.id == b.id && a.program == b.program;
  }
};

// The key of a program or state object. Start with MakeDrawportCacheKey, then append what tells yours from others.
class DrawportCacheKey {
 public:
  constexpr void Append(UInt64 value) {
    _low = CombineHash(_low, value);
    _high = CombineHash(_high ^ 0x9E3779B97F4A7C15ULL, value);
  }
  UInt64 GetHashCode() const { return _low; }
  friend Bool operator==(const DrawportCacheKey& a, const DrawportCacheKey& b) {
    return a._low == b._low && a._high == b._high;
  }

 private:
  UInt64 _low = 0, _high = 0;
};

// Keys of different drawports and kinds never meet.
inline DrawportCacheKey MakeDrawportCacheKey(const DrawportRef& drawport, DrawportCacheKeyKind kind) {
  DrawportCacheKey key;
  key.Append(reinterpret_cast<UInt64>(drawport.GetPointer()));
  key.Append(static_cast<UInt64>(kind));
  return key;
}

// The same for what is made for the targets of a draw pass (null, or a pass without targets: for any): their formats
// and sample count are part of the key.
OSTRA_API DrawportCacheKey MakeDrawportCacheKey(const DrawportRef& drawport, DrawportCacheKeyKind kind,
                                                const DrawportDrawPass* pass);

struct DrawportStagingOptions {
  Int bytes = 0;  // at most the capability for `use`
  DrawportStagingUse use = DrawportStagingUse::BufferUpload;
};

// Describes a texture that is made.
using DrawportTextureDescribe = Delegate<void(DrawportTextureDescription& description)>;
// Fills a program's description; its first error ends the build.
using DrawportProgramBuilder = Delegate<Result<void>(DrawportProgramDescription& description)>;

class DrawportCacheInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawport.interface.drawportcache"_id;

  // "Vulkan" and so on; empty without a GPU.
  virtual const Id& GetCacheType() const = 0;
  // The drawport of the device that suits best. Errors: illegal argument for another type or subtype; illegal state
  // when no device starts; not implemented without a backend.
  virtual Result<DrawportRef> AllocDrawport(const Id& type, const Id& subtype) = 0;

  // The items of a key: the one that is still referenced, or a new one. Error: out of memory.
  virtual Result<DrawportVertexBufferItemRef> GetVertexbuffer(const DrawportResourceKey& key) = 0;
  // `describe` is called for a new item only.
  virtual Result<DrawportTextureItemRef> GetTexture(const DrawportResourceKey& key,
                                                    const DrawportTextureDescribe& describe) = 0;
  // `key`: see DrawportSamplerKey.
  virtual Result<DrawportTextureSamplerItemRef> GetTextureSampler(UInt8 key) = 0;
  // A new counter starts at 0.
  virtual Result<DrawportAtomicCounterItemRef> GetAtomicCounter(const DrawportCounterKey& key) = 0;
  // Puts the program of `key` into `slot`; only a new one is built. What was in the slot goes when the new one is
  // there; on error the slot is as before.
  virtual Result<void> GetProgramFactory(const DrawportCacheKey& key, const DrawportProgramBuilder& builder,
                                         DrawportProgramFactoryItemRef& slot, DrawportContextInterface& context) = 0;

  // How vertices are read, as `describe` says; equal layouts may be one object. Errors: those of the callback; out of
  // memory.
  virtual Result<DrawportVertexAttributeLayoutItemRef> GetVertexAttributeLayout(
      const DrawportVertexAttributeLayoutDescribe& describe) = 0;
  // Puts a new set of a layout's attributes into `slot`; `describe` is kept and run by its MakeValid. On error the slot
  // is as before. Errors: illegal argument without a layout; out of memory.
  virtual Result<void> GetVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef& layout,
                                             const DrawportVertexAttributeSetDescribe& describe,
                                             DrawportVertexAttributeSetItemRef& slot,
                                             DrawportContextInterface& context) = 0;
  // Puts the state object of `key` into `slot` and returns it; `describe` is called for a new one only. On error the
  // slot is as before.
  virtual Result<DrawportStateObject*> GetStateObject(const DrawportCacheKey& key,
                                                      const DrawportStateDescribe& describe,
                                                      DrawportStateObjectItemRef& slot) = 0;
  // Targets of their own for each caller. Errors: illegal argument for a size, format or sample count that the device
  // cannot do; illegal state for a device that cannot draw; out of memory.
  virtual Result<DrawportRenderTargetRef> CreateRenderTarget(DrawportContextInterface& context,
                                                             const DrawportRenderTargetDescription& description) = 0;

  // A buffer of the host for transfers. Give it back with DrawportCommandList::ReleaseStagingBuffer.
  // Errors: illegal argument for a size below 1 or above the capability; out of memory.
  virtual Result<DrawportStagingBuffer*> AllocStagingBuffer(DrawportContextInterface& context,
                                                            const DrawportStagingOptions& options) = 0;
  // Frees the device memory of items without references; waits for the device where it must.
  virtual Result<void> FreeTrashCaches(DrawportContextInterface& context) = 0;
};
using DrawportCacheRef = StrongRef<DrawportCacheInterface>;

// The best backend that is loaded: classes `net.ostra.drawport.selectortestclass.NAME`, in the order directx, metal,
// vulkan, opengl, whose IsSupported answers true. Without any it is the null backend, whose type is empty.
// Error: out of memory.
OSTRA_API Result<DrawportCacheRef> GetDefaultDrawportCache();

}  // namespace ostra
