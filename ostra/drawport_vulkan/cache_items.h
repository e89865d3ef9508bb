// The cache items of the backend. The cache finds them by key as long as they are referenced; the last release destroys
// them, and the device memory goes when the device is done with it.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/drawport_vulkan/context.h"
#include "ostra/drawport_vulkan/item_table.h"
#include "ostra/drawport_vulkan/per_device.h"
#include "ostra/drawport_vulkan/program_factory.h"

namespace ostra::vulkan {

class Cache;
using CacheRef = StrongRef<Cache>;

class VertexBufferItem final : public DrawportCounted<VertexBufferItem, DrawportVertexBufferItemInterface>,
                               public DrawportVertexBuffer {
 public:
  VertexBufferItem(CacheRef cache, const DrawportResourceKey& key) : _cache(std::move(cache)), _key(key) {}
  ~VertexBufferItem();

  Result<DrawportVertexBuffer*> MakeValid(DrawportContextInterface& context,
                                          const DrawportVertexBufferFill& fill) override;
  DrawportVertexBufferSpecification GetSpecification() const override;
  Result<void> SetDebugLabel(std::string_view label) override;
  Result<DrawportDeviceBuffer*> AllocSubBuffer(DrawportContextInterface& context, DrawportSubBufferUse use, Int bytes,
                                               Int alignment) override;

 private:
  CacheRef _cache;
  DrawportResourceKey _key;
  CString _label;
  BaseArray<BufferRef> _buffers;
};

class TextureItem final : public DrawportCounted<TextureItem, DrawportTextureItemInterface> {
 public:
  TextureItem(CacheRef cache, const DrawportResourceKey& key) : _cache(std::move(cache)), _key(key) {}
  ~TextureItem();
  // Before anybody else sees the item.
  void Describe(const DrawportTextureDescribe& describe) { describe(_description); }

  Result<DrawportTexture*> MakeValid(DrawportContextInterface& context, const DrawportTextureFill& fill) override;

 private:
  CacheRef _cache;
  DrawportResourceKey _key;
  DrawportTextureDescription _description;
  PerDevice<ImageResource> _images;
};

class SamplerItem final : public DrawportCounted<SamplerItem, DrawportTextureSamplerItemInterface> {
 public:
  SamplerItem(CacheRef cache, UInt8 key) : _cache(std::move(cache)), _key(key) {}
  ~SamplerItem();

  Result<DrawportTextureSampler*> MakeValid(DrawportContextInterface& context) override;

 private:
  CacheRef _cache;
  UInt8 _key;
  PerDevice<SamplerResource> _samplers;  // programs share samplers
};

class CounterItem final : public DrawportCounted<CounterItem, DrawportAtomicCounterItemInterface> {
 public:
  CounterItem(CacheRef cache, const DrawportCounterKey& key) : _cache(std::move(cache)), _key(key) {}
  ~CounterItem();

  Result<DrawportAtomicCounter*> MakeValid(DrawportContextInterface& context) override;

 private:
  CacheRef _cache;
  DrawportCounterKey _key;
  PerDevice<CounterResource> _counters;
};

class ProgramItem final : public DrawportCounted<ProgramItem, DrawportProgramFactoryItemInterface> {
 public:
  ProgramItem(CacheRef cache, const DrawportCacheKey& key) : _cache(std::move(cache)), _key(key) {}
  ~ProgramItem();
  // Lets the builder fill the description.
  Result<void> Build(const DrawportProgramBuilder& builder) { return builder(_description); }

  Result<DrawportProgramFactory*> MakeValid(DrawportContextInterface& context,
                                            const DrawportVertexAttributeSet* attributes = nullptr,
                                            const DrawportFramebufferTargetSet* targets = nullptr) override;
  const DrawportProgramDescription& GetSpecification() const override { return _description; }

 private:
  Result<ProgramFactory*> BuildFor(Context& context);

  CacheRef _cache;
  DrawportCacheKey _key;
  DrawportProgramDescription _description;
  std::mutex _mutex;
  OwnedArray<ProgramFactory> _factories;  // one for each device, as in PerDevice
};

// The same for every device: what it describes becomes part of a pipeline when something is drawn.
class StateObjectItem final : public DrawportCounted<StateObjectItem, DrawportStateObjectItemInterface>,
                              public DrawportStateObject {
 public:
  StateObjectItem(CacheRef cache, const DrawportCacheKey& key) : _cache(std::move(cache)), _key(key) {}
  ~StateObjectItem();
  // Before anybody else sees the item.
  Result<void> Describe(const DrawportStateDescribe& describe) { return describe(_description); }

  DrawportStateObject& GetStateObject() override { return *this; }
  const DrawportStateDescription& GetDescription() const override { return _description; }

 private:
  CacheRef _cache;
  DrawportCacheKey _key;
  DrawportStateDescription _description;
};

// The cache: class net.ostra.drawport.cache.vulkan.
class Cache final : public Component<Cache, DrawportCacheInterface> {
 public:
  static constexpr const char* kComponentName = "VulkanCache";

  const Id& GetCacheType() const override { return kDrawportTypeVulkan; }
  Result<DrawportRef> AllocDrawport(const Id& type, const Id& subtype) override;
  Result<DrawportVertexBufferItemRef> GetVertexbuffer(const DrawportResourceKey& key) override;
  Result<DrawportTextureItemRef> GetTexture(const DrawportResourceKey& key,
                                            const DrawportTextureDescribe& describe) override;
  Result<DrawportTextureSamplerItemRef> GetTextureSampler(UInt8 key) override;
  Result<DrawportAtomicCounterItemRef> GetAtomicCounter(const DrawportCounterKey& key) override;
  Result<void> GetProgramFactory(const DrawportCacheKey& key, const DrawportProgramBuilder& builder,
                                 DrawportProgramFactoryItemRef& slot, DrawportContextInterface& context) override;
  Result<DrawportVertexAttributeLayoutItemRef> GetVertexAttributeLayout(
      const DrawportVertexAttributeLayoutDescribe& describe) override;
  Result<void> GetVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef& layout,
                                     const DrawportVertexAttributeSetDescribe& describe,
                                     DrawportVertexAttributeSetItemRef& slot,
                                     DrawportContextInterface& context) override;
  Result<DrawportStateObject*> GetStateObject(const DrawportCacheKey& key, const DrawportStateDescribe& describe,
                                              DrawportStateObjectItemRef& slot) override;
  Result<DrawportRenderTargetRef> CreateRenderTarget(DrawportContextInterface& context,
                                                     const DrawportRenderTargetDescription& description) override;
  Result<DrawportStagingBuffer*> AllocStagingBuffer(DrawportContextInterface& context,
                                                    const DrawportStagingOptions& options) override;
  Result<void> FreeTrashCaches(DrawportContextInterface& context) override;

  // The drawport of place `index` in the plan of devices, which exists, for the settings that are in force: a drawport
  // is the same for all contexts of a device, as keys of items hold it. See Drawport::Serves for `device`. Thread-safe.
  Result<DrawportRef> GetDrawport(Int index, const DeviceRef& device);
  // Called by a drawport that goes.
  void Forget(const Drawport& drawport);

  ItemTable<DrawportResourceKey, VertexBufferItem> vertexBuffers;
  ItemTable<DrawportResourceKey, TextureItem> textures;
  ItemTable<UInt8, SamplerItem> samplers;
  ItemTable<DrawportCounterKey, CounterItem> counters;
  ItemTable<DrawportCacheKey, ProgramItem> programs;
  ItemTable<DrawportCacheKey, StateObjectItem> stateObjects;

 private:
  std::mutex _drawportMutex;
  BaseArray<Drawport*> _drawports;  // not counted
};

}  // namespace ostra::vulkan
