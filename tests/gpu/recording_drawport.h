// A GPU layer that computes nothing: it keeps bytes, and writes down what it is asked for, one line per call.
//
//   RecordingDevice device;
//   DrawportContextRef context = device.MakeContext();
//   ... program->Init(Url(), &context, 0, false) ...
//   EXPECT_THAT(device.TakeCalls(), ElementsAre("staging 64 use 0", "map 8 at 0 of 64", "unmap 1", "release"));
//
// The device must outlive what is made from it. Not synchronised but for the list of calls.
#pragma once

#include <functional>

#include "tests/gpu/recording_items.h"
#include "tests/gpu/recording_list.h"
#include "tests/gpu/recording_program.h"

namespace ostra::test {

class RecordingCache final : public Component<RecordingCache, DrawportCacheInterface> {
 public:
  static constexpr const char* kComponentName = "RecordingCache";
  inline static RecordingDevice* installed = nullptr;  // of caches that a class makes
  RecordingDevice* device = installed;

  const Id& GetCacheType() const override { return kDrawportTypeVulkan; }
  Result<DrawportRef> AllocDrawport(const Id&, const Id&) override;
  Result<DrawportVertexBufferItemRef> GetVertexbuffer(const DrawportResourceKey& key) override {
    OSTRA_RETURN_IF_ERROR(device->Call("get buffer @", key.values[1]));
    bufferKeys.push_back(key);
    auto& item = _buffers[key.GetHashCode()];
    OSTRA_RETURN_IF_ERROR(FillSlot(item, *device));
    return DrawportVertexBufferItemRef(item);
  }
  Result<DrawportTextureItemRef> GetTexture(const DrawportResourceKey& key,
                                            const DrawportTextureDescribe& describe) override {
    OSTRA_RETURN_IF_ERROR(device->Call("get texture @", key.values[1]));
    textureKeys.push_back(key);
    const auto known = _textures->find(key.GetHashCode());
    if (known != _textures->end()) return DrawportTextureItemRef(StrongRef<RecordingTextureItem>(known->second));
    StrongRef<RecordingTextureItem> item;
    OSTRA_RETURN_IF_ERROR(FillSlot(item, *device, _textures, key.GetHashCode()));
    describe(item->texture.description);
    return DrawportTextureItemRef(item);
  }
  Result<DrawportTextureSamplerItemRef> GetTextureSampler(UInt8 key) override {
    OSTRA_RETURN_IF_ERROR(device->Call("get sampler @", Int32{key}));
    StrongRef<RecordingSamplerItem> item;
    OSTRA_RETURN_IF_ERROR(FillSlot(item, *device));
    return DrawportTextureSamplerItemRef(item);
  }
  Result<DrawportAtomicCounterItemRef> GetAtomicCounter(const DrawportCounterKey& key) override {
    auto& item = _counters[key.GetHashCode()];
    OSTRA_RETURN_IF_ERROR(FillSlot(item));
    return DrawportAtomicCounterItemRef(item);
  }
  Result<void> GetProgramFactory(const DrawportCacheKey& key, const DrawportProgramBuilder& builder,
                                 DrawportProgramFactoryItemRef& slot, DrawportContextInterface&) override {
    if (device->drawsGraphics) {
      OSTRA_RETURN_IF_ERROR(device->Call("get program"));
      programKeys.push_back(key);
      if (const auto known = _programs.find(key.GetHashCode()); known != _programs.end()) {
        slot = known->second;
        return OK;
      }
    }
    if (found) {
      slot = found;
      return device->Call("program found");
    }
    StrongRef<RecordingProgramItem> item;
    OSTRA_RETURN_IF_ERROR(FillSlot(item, *device));
    if (prepare) prepare(item->description);
    lastBuilder = builder;
    OSTRA_RETURN_IF_ERROR(builder(item->description));
    OSTRA_RETURN_IF_ERROR(device->Call("program @", item->description.GetDebugLabel()));
    programs[std::string(item->description.GetDebugLabel().GetView())] = item;
    if (device->drawsGraphics) _programs[key.GetHashCode()] = item;
    slot = item;
    return OK;
  }
  Result<DrawportVertexAttributeLayoutItemRef> GetVertexAttributeLayout(
      const DrawportVertexAttributeLayoutDescribe& describe) override {
    OSTRA_RETURN_IF_ERROR(device->Call("vertex layout"));
    return MakeVertexAttributeLayout(describe);
  }
  Result<void> GetVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef& layout,
                                     const DrawportVertexAttributeSetDescribe& describe,
                                     DrawportVertexAttributeSetItemRef& slot, DrawportContextInterface&) override {
    OSTRA_RETURN_IF_ERROR(device->Call("vertex set"));
    OSTRA_ASSIGN_OR_RETURN(slot, MakeVertexAttributeSet(layout, describe));
    return OK;
  }
  Result<DrawportStateObject*> GetStateObject(const DrawportCacheKey& key, const DrawportStateDescribe& describe,
                                              DrawportStateObjectItemRef& slot) override {
    OSTRA_RETURN_IF_ERROR(device->Call("state object"));
    stateKeys.push_back(key);
    auto& item = _states[key.GetHashCode()];
    if (!item) {
      StrongRef<RecordingStateItem> made;
      OSTRA_RETURN_IF_ERROR(FillSlot(made));
      OSTRA_RETURN_IF_ERROR(describe(made->description));
      item = made;
    }
    slot = DrawportStateObjectItemRef(item);
    return static_cast<DrawportStateObject*>(item.GetPointer());
  }
  Result<DrawportRenderTargetRef> CreateRenderTarget(DrawportContextInterface&,
                                                     const DrawportRenderTargetDescription&) override {
    return Error::MakeOutOfMemory("recording", 5);
  }
  Result<DrawportStagingBuffer*> AllocStagingBuffer(DrawportContextInterface&,
                                                    const DrawportStagingOptions& options) override {
    OSTRA_RETURN_IF_ERROR(device->Call("staging @ use @", options.bytes, static_cast<Int32>(options.use)));
    auto* staging = new RecordingStaging;
    staging->bytes.resize(static_cast<std::size_t>(options.bytes), 0xEE);
    return staging;
  }
  Result<void> FreeTrashCaches(DrawportContextInterface&) override {
    device->budget.available += std::exchange(device->trash, 0);
    return device->Call("free trash");
  }

  std::vector<DrawportResourceKey> bufferKeys;
  std::vector<DrawportResourceKey> textureKeys;
  std::vector<DrawportCacheKey> programKeys;
  std::vector<DrawportCacheKey> stateKeys;
  std::map<std::string, StrongRef<RecordingProgramItem>> programs;  // by label
  StrongRef<RecordingProgramItem> found;  // the answer to every question for a program: none is built
  std::function<void(DrawportProgramDescription&)> prepare;  // called in front of builders
  DrawportProgramBuilder lastBuilder;

 private:
  std::map<UInt64, StrongRef<RecordingBufferItem>> _buffers;
  RecordingTextureItem::Table _textures = std::make_shared<std::map<UInt64, RecordingTextureItem*>>();
  std::map<UInt64, StrongRef<RecordingCounterItem>> _counters;
  std::map<UInt64, StrongRef<RecordingStateItem>> _states;
  std::map<UInt64, StrongRef<RecordingProgramItem>> _programs;
};

class RecordingDrawport final : public DrawportCounted<RecordingDrawport, DrawportInterface> {
 public:
  RecordingDrawport(RecordingDevice& device, DrawportCacheRef cache)
      : _device(device),
        _language(device.language),
        _cache(std::move(cache)),
        _capabilities({{DrawportCapability::BufferTransferChunk, device.capacity},
                       {DrawportCapability::TextureStagingCapacity, device.capacity},
                       {DrawportCapability::ReadBackStagingCapacity, device.capacity},
                       {DrawportCapability::SubBufferAlignment, 256}}) {}
  DrawportCacheRef GetDrawportCache() const override { return _cache; }
  Result<DrawportContextRef> CreateOffscreenRenderContext(Bool sharesWithCaller, Int32 deviceIndex) override;
  const Id& GetShadingLanguage() const override { return _language; }
  const DrawportCapabilities& GetCapabilities() const override { return _capabilities; }

 private:
  RecordingDevice& _device;
  Id _language;
  DrawportCacheRef _cache;
  DrawportCapabilities _capabilities;
};

inline Result<DrawportRef> RecordingCache::AllocDrawport(const Id&, const Id&) {
  return DrawportRef::Adopt(NewObj<RecordingDrawport>(*device, DrawportCacheRef(this)));
}

class RecordingContext final : public DrawportCounted<RecordingContext, DrawportContextInterface> {
 public:
  RecordingContext(RecordingDevice& device, DrawportRef drawport)
      : _device(device), _drawport(std::move(drawport)), _list(device) {
    ++_device.liveContexts;
  }
  ~RecordingContext() { --_device.liveContexts; }
  DrawportRef GetDrawport() const override { return _drawport; }
  Bool IsFeatureSupported(DrawportFeature) const override { return true; }
  DrawportPixelFormatAccess GetPixelFormatAccessFlags(PixelFormatRef format, Bool) const override {
    const auto known = _device.access.find(std::string(format->id.GetView()));
    return known == _device.access.end() ? DrawportPixelFormatAccess::ShaderReadWrite : known->second;
  }
  DrawportCommandList& GetCommandList() override { return _list; }
  VideoMemoryBudget GetAvailableAndTotalVRAMBudget() const override { return _device.budget; }

 private:
  RecordingDevice& _device;
  DrawportRef _drawport;
  RecordingList _list;
};

inline Result<DrawportContextRef> RecordingDrawport::CreateOffscreenRenderContext(Bool sharesWithCaller,
                                                                                  Int32 deviceIndex) {
  OSTRA_RETURN_IF_ERROR(_device.Call("context @ @", sharesWithCaller ? 1 : 0, deviceIndex));
  return DrawportContextRef::Adopt(NewObj<RecordingContext>(_device, DrawportRef(this)));
}

inline DrawportContextRef RecordingDevice::MakeContext() {
  auto* cache = NewObj<RecordingCache>();
  cache->device = this;
  const auto drawport =
      DrawportRef::Adopt(NewObj<RecordingDrawport>(*this, DrawportCacheRef(StrongRef<RecordingCache>::Adopt(cache))));
  return DrawportContextRef::Adopt(NewObj<RecordingContext>(*this, drawport));
}

}  // namespace ostra::test
