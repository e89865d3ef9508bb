// The cache items of the backend. The cache finds them by key as long as somebody holds them; the last release destroys
// them, and the device memory goes when the device is done with it.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/drawport_vulkan/context.h"
#include "ostra/drawport_vulkan/item_table.h"
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
  ImageRef _image;
};

class SamplerItem final : public DrawportCounted<SamplerItem, DrawportTextureSamplerItemInterface> {
 public:
  SamplerItem(CacheRef cache, UInt8 key) : _cache(std::move(cache)), _key(key) {}
  ~SamplerItem();

  Result<DrawportTextureSampler*> MakeValid(DrawportContextInterface& context) override;

 private:
  CacheRef _cache;
  UInt8 _key;
  SamplerRef _sampler;
};

class CounterItem final : public DrawportCounted<CounterItem, DrawportAtomicCounterItemInterface> {
 public:
  CounterItem(CacheRef cache, const DrawportCounterKey& key) : _cache(std::move(cache)), _key(key) {}
  ~CounterItem();

  Result<DrawportAtomicCounter*> MakeValid(DrawportContextInterface& context) override;

 private:
  CacheRef _cache;
  DrawportCounterKey _key;
  CounterRef _counter;
};

class ProgramItem final : public DrawportCounted<ProgramItem, DrawportProgramFactoryItemInterface> {
 public:
  ProgramItem(CacheRef cache, const DrawportCacheKey& key) : _cache(std::move(cache)), _key(key) {}
  ~ProgramItem();
  // Lets the builder fill the description.
  Result<void> Build(const DrawportProgramBuilder& builder) { return builder(_description); }

  Result<DrawportProgramFactory*> MakeValid(DrawportContextInterface& context) override;
  const DrawportProgramDescription& GetSpecification() const override { return _description; }

 private:
  CacheRef _cache;
  DrawportCacheKey _key;
  DrawportProgramDescription _description;
  std::mutex _mutex;
  ProgramFactory* _factory = nullptr;  // owned
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
  Result<DrawportStagingBuffer*> AllocStagingBuffer(DrawportContextInterface& context,
                                                    const DrawportStagingOptions& options) override;
  Result<void> FreeTrashCaches(DrawportContextInterface& context) override;

  ItemTable<DrawportResourceKey, VertexBufferItem> vertexBuffers;
  ItemTable<DrawportResourceKey, TextureItem> textures;
  ItemTable<UInt8, SamplerItem> samplers;
  ItemTable<DrawportCounterKey, CounterItem> counters;
  ItemTable<DrawportCacheKey, ProgramItem> programs;
};

}  // namespace ostra::vulkan
