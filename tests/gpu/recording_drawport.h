// A GPU layer that computes nothing: it keeps bytes, and writes down what it is asked for, one line per call.
//
//   RecordingDevice device;
//   DrawportContextRef context = device.MakeContext();
//   ... program->Init(Url(), &context, 0, false) ...
//   EXPECT_THAT(device.TakeCalls(), ElementsAre("staging 64 use 0", "map 8 at 0 of 64", "unmap 1", "release"));
//
// The device must outlive what is made from it. Not synchronised but for the list of calls.
#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"
#include "ostra/drawport/program_factory.h"
#include "ostra/render/gradient.h"

namespace ostra::test {

struct RecordingBuffer final : DrawportDeviceBuffer {
  Int GetSize() const override { return static_cast<Int>(bytes.size()); }
  std::vector<Byte> bytes;
};

class RecordingDevice;

struct RecordingTexture final : DrawportTexture {
  const DrawportTextureDescription& GetDescription() const override { return description; }
  Result<Int> GetStagingBufferSize(const DrawportOrigin&, const DrawportExtent& extent, Int, Int) const override {
    return GetPitch(extent.width) * extent.height * extent.depth;
  }
  Int GetPitch(Int width) const {
    const Int bytes = width * description.format->GetBytesPerPixel();
    return (bytes + rowAlignment - 1) / rowAlignment * rowAlignment;
  }
  // The first byte of a texel.
  Byte* At(Int x, Int y, Int z) {
    const DrawportExtent& extent = description.extent;
    return bytes.data() + ((z * extent.height + y) * extent.width + x) * description.format->GetBytesPerPixel();
  }
  DrawportTextureDescription description;
  std::vector<Byte> bytes;
  Int rowAlignment = 1;
};
struct RecordingSampler final : DrawportTextureSampler {};
struct RecordingCounter final : DrawportAtomicCounter {
  UInt32 value = 0;
};
struct RecordingValues final : DrawportParameterValueSet {};

struct RecordingStaging final : DrawportStagingBuffer {
  Int GetSize() const override { return static_cast<Int>(bytes.size()); }
  std::vector<Byte> bytes;
  DrawportMapMode mode = DrawportMapMode::Read;
  RecordingBuffer* buffer = nullptr;
  RecordingTexture* texture = nullptr;
  Int offset = 0, size = 0;
  DrawportRegion region;
};

class RecordingDevice {
 public:
  Int capacity = 65536;  // of every kind of staging buffer, bytes
  Int rowAlignment = 1;  // of rows of texels in staging buffers, bytes
  Id language = kShadingLanguageGlsl;
  std::string failing;  // calls that begin with this fail
  // Graphics: programs of one key are one, and what only they are asked is written down as well, with the number of the
  // stage in front of the names of parameters.
  Bool drawsGraphics = false;
  Bool hasFactories = true;                          // otherwise items are valid without a factory
  std::vector<std::pair<UInt64, UInt64>> valueSets;  // that were asked for: owner and program hash
  VideoMemoryBudget budget{1 << 30, 1 << 30};
  Bool countsTextures = false;  // textures then take from the budget, and give back when trash is freed
  Int trash = 0;                // bytes

  DrawportContextRef MakeContext();

  // The calls since the last time.
  std::vector<std::string> TakeCalls() {
    const std::scoped_lock lock(_mutex);
    return std::move(_calls);
  }

  template <class... Arguments>
  Result<void> Call(std::string_view pattern, const Arguments&... arguments) {
    const auto text = Format(pattern, arguments...);
    if (!text) return Error::MakeOutOfMemory("recording", 6);
    const std::scoped_lock lock(_mutex);
    _calls.emplace_back(text->GetView());
    if (!failing.empty() && _calls.back().starts_with(failing))
      return Error::Make(kIllegalStateError, "made-up failure", "recording", 1);
    return OK;
  }

 private:
  std::mutex _mutex;
  std::vector<std::string> _calls;
};

// Puts a new object into an empty `slot`. Error: out of memory.
template <class T, class... Arguments>
Result<void> FillSlot(StrongRef<T>& slot, Arguments&&... arguments) {
  if (slot) return OK;
  T* made = NewObj<T>(std::forward<Arguments>(arguments)...);
  if (!made) return Error::MakeOutOfMemory("recording", 7);
  slot = StrongRef<T>::Adopt(made);
  return OK;
}

class RecordingVertexBuffer final : public DrawportVertexBuffer {
 public:
  explicit RecordingVertexBuffer(RecordingDevice& device) : _device(device) {}
  Result<DrawportDeviceBuffer*> AllocSubBuffer(DrawportContextInterface&, DrawportSubBufferUse use, Int bytes,
                                               Int alignment) override {
    OSTRA_RETURN_IF_ERROR(_device.Call("sub-buffer @ use @ alignment @", bytes, static_cast<Int32>(use), alignment));
    for (const auto& known : buffers)
      if (known->GetSize() == bytes) return known.get();
    buffers.push_back(std::make_unique<RecordingBuffer>());
    buffers.back()->bytes.resize(static_cast<std::size_t>(bytes));
    return buffers.back().get();
  }
  std::vector<std::unique_ptr<RecordingBuffer>> buffers;

 private:
  RecordingDevice& _device;
};

class RecordingBufferItem final : public DrawportCounted<RecordingBufferItem, DrawportVertexBufferItemInterface> {
 public:
  explicit RecordingBufferItem(RecordingDevice& device) : _device(device), _buffer(device) {}
  Result<DrawportVertexBuffer*> MakeValid(DrawportContextInterface&, const DrawportVertexBufferFill& fill) override {
    OSTRA_RETURN_IF_ERROR(_device.Call("valid buffer"));
    if (fill) OSTRA_RETURN_IF_ERROR(fill(_buffer));
    return &_buffer;
  }
  DrawportVertexBufferSpecification GetSpecification() const override {
    DrawportVertexBufferSpecification result;
    for (const auto& buffer : _buffer.buffers) result.size += buffer->GetSize(), ++result.subBufferCount;
    return result;
  }
  Result<void> SetDebugLabel(std::string_view label) override { return _device.Call("label @", label); }

 private:
  RecordingDevice& _device;
  RecordingVertexBuffer _buffer;
};

class RecordingTextureItem final : public DrawportCounted<RecordingTextureItem, DrawportTextureItemInterface> {
 public:
  // Items by key, as long as somebody holds them.
  using Table = std::shared_ptr<std::map<UInt64, RecordingTextureItem*>>;
  RecordingTextureItem(RecordingDevice& device, Table table, UInt64 key)
      : _device(device), _table(std::move(table)), _key(key) {
    texture.rowAlignment = device.rowAlignment;
    (*_table)[_key] = this;
  }
  ~RecordingTextureItem() {
    _table->erase(_key);
    if (_device.countsTextures) _device.trash += static_cast<Int>(texture.bytes.size());
  }
  Result<DrawportTexture*> MakeValid(DrawportContextInterface&, const DrawportTextureFill& fill) override {
    OSTRA_RETURN_IF_ERROR(_device.Call("valid texture"));
    const DrawportExtent& extent = texture.description.extent;
    const Int size = extent.width * extent.height * extent.depth * texture.description.format->GetBytesPerPixel();
    if (_device.countsTextures) _device.budget.available -= size - static_cast<Int>(texture.bytes.size());
    texture.bytes.resize(static_cast<std::size_t>(size));
    if (fill) fill(texture);
    return &texture;
  }
  RecordingTexture texture;

 private:
  RecordingDevice& _device;
  Table _table;
  UInt64 _key;
};

class RecordingSamplerItem final : public DrawportCounted<RecordingSamplerItem, DrawportTextureSamplerItemInterface> {
 public:
  explicit RecordingSamplerItem(RecordingDevice& device) : _device(device) {}
  Result<DrawportTextureSampler*> MakeValid(DrawportContextInterface&) override {
    OSTRA_RETURN_IF_ERROR(_device.Call("valid sampler"));
    return &_sampler;
  }

 private:
  RecordingDevice& _device;
  RecordingSampler _sampler;
};

class RecordingCounterItem final : public DrawportCounted<RecordingCounterItem, DrawportAtomicCounterItemInterface> {
 public:
  Result<DrawportAtomicCounter*> MakeValid(DrawportContextInterface&) override { return &_counter; }

 private:
  RecordingCounter _counter;
};

// Finds parameters in the description and writes down what they are set to.
class RecordingProgram final : public DrawportProgramFactory {
 public:
  RecordingProgram(RecordingDevice& device, const DrawportProgramDescription& description)
      : _device(device), _description(description) {}
  DrawportParameterHandle GetParameterHandle(InternedId name) const override {
    const auto& parameters = _description.GetParameters();
    for (Int i = 0; i < parameters.GetCount(); ++i)
      if (parameters[i].name == name) return {static_cast<Int32>(i)};
    return {};
  }
  DrawportParameterHandle GetBufferParameterHandle(InternedId name) const override { return GetParameterHandle(name); }
  DrawportParameterHandle GetImageParameterHandle(InternedId name) const override { return GetParameterHandle(name); }
  DrawportParameterHandle GetStageParameterHandle(DrawportStage stage, InternedId name) const override {
    const auto& parameters = _description.GetParameters();
    for (Int i = 0; i < parameters.GetCount(); ++i)
      if (parameters[i].stage == stage && parameters[i].name == name) return {static_cast<Int32>(i)};
    return {};
  }
  Result<DrawportParameterValueSet*> GetParameterValueSet(DrawportContextInterface&, UInt64 owner,
                                                          UInt64 hash) override {
    OSTRA_RETURN_IF_ERROR(CallGraphics("value set"));
    _device.valueSets.emplace_back(owner, hash);
    return &_values[{owner, hash}];
  }
  void ReleaseParameterValueSet(DrawportParameterValueSet& values) override {
    std::erase_if(_values, [&](const auto& known) { return &known.second == &values; });
  }
  Int GetValueSetCount() const { return static_cast<Int>(_values.size()); }
  Result<void> StartSetParameters(DrawportContextInterface&, DrawportParameterValueSet&) override {
    return CallGraphics("start");
  }
  Result<void> EndSetParameters(DrawportContextInterface&, DrawportParameterValueSet&) override {
    return CallGraphics("end");
  }
  using Values = DrawportParameterValueSet;
  using Handle = DrawportParameterHandle;
  Result<void> SetParameterFloat(Values&, Handle handle, Float32 value) override {
    return Set("float", handle, static_cast<Float64>(value));
  }
  Result<void> SetParameterFloat2(Values&, Handle handle, const Vector2d32& v) override {
    return Set("float2", handle, v.x);
  }
  Result<void> SetParameterVector(Values&, Handle handle, const Vector32& v) override {
    return Set("float3", handle, v.x);
  }
  Result<void> SetParameterVector(Values&, Handle handle, const Vector4d32& v) override {
    return Set("float4", handle, v.x);
  }
  Result<void> SetParameterUInt(Values&, Handle handle, UInt32 value) override { return Set("uint", handle, value); }
  Result<void> SetParameterUInt3(Values&, Handle handle, const Vec3<UInt32>& v) override {
    return Set("uint3", handle, v.x);
  }
  Result<void> SetParameterUInt4(Values&, Handle handle, const Vec4<UInt32>& v) override {
    return Set("uint4", handle, v.x);
  }
  Result<void> SetParameterInt(Values&, Handle handle, Int32 value) override { return Set("int", handle, value); }
  Result<void> SetParameterInt3(Values&, Handle handle, const Vec3<Int32>& v) override {
    return Set("int3", handle, v.x);
  }
  Result<void> SetParameterInt4(Values&, Handle handle, const Vec4<Int32>& v) override {
    return Set("int4", handle, v.x);
  }
  Result<void> SetParameterMatrix(Values&, Handle handle, const SquareMatrix32& m) override {
    return Set("mat3", handle, m.v0.x);
  }
  Result<void> SetParameterMatrix(Values&, Handle handle, const SquareMatrix4d32& m) override {
    return Set("mat4", handle, m.v0.x);
  }
  Result<void> SetParameterBuffer(Values&, Handle handle, DrawportDeviceBuffer* buffer) override {
    return Set("buffer", handle, buffer ? buffer->GetSize() : -1);
  }
  Result<void> SetParameterTexture(Values&, Handle handle, DrawportTexture* texture, DrawportTextureSampler*) override {
    return Set("texture", handle, texture ? texture->GetDescription().extent.width : -1);
  }
  Result<void> SetParameterImage(Values&, Handle handle, DrawportTexture* texture) override {
    return Set("image", handle, texture ? texture->GetDescription().extent.width : -1);
  }
  Result<void> SetParameterAtomicCounter(Values&, Handle handle, DrawportAtomicCounter*) override {
    return Set("counter", handle, 0);
  }
  Result<void> SetParameterNoise(Values&, Handle handle, Int32 seed, Int32 depth) override {
    OSTRA_RETURN_IF_ERROR(Set("noise", handle, seed));
    return depth == 10 ? Result<void>(OK) : Result<void>(Error::MakeOutOfMemory("recording", 2));
  }
  // Written down is the red of the middle.
  Result<void> SetParameterGradient(Values&, Handle handle, const GradientRenderData& gradient) override {
    return Set("gradient", handle, gradient.Sample(0.5f).x);
  }

 private:
  template <class T>
  Result<void> Set(std::string_view kind, Handle handle, T value) {
    std::string name;
    if (handle) {
      const DrawportParameter& parameter = _description.GetParameters()[handle.index];
      if (_device.drawsGraphics) name = std::to_string(static_cast<int>(parameter.stage)) + ".";
      name += parameter.name.GetView();
    }
    if constexpr (std::is_floating_point_v<T>)
      return _device.Call("@ @ = @", kind, name, static_cast<Float64>(value));
    else
      return _device.Call("@ @ = @", kind, name, value);
  }
  Result<void> CallGraphics(std::string_view text) {
    return _device.drawsGraphics ? _device.Call(text) : Result<void>(OK);
  }
  RecordingDevice& _device;
  const DrawportProgramDescription& _description;
  std::map<std::pair<UInt64, UInt64>, RecordingValues> _values;
};

class RecordingProgramItem final : public DrawportCounted<RecordingProgramItem, DrawportProgramFactoryItemInterface> {
 public:
  explicit RecordingProgramItem(RecordingDevice& device) : program(device, description), _device(device) {}
  Result<DrawportProgramFactory*> MakeValid(DrawportContextInterface&, const DrawportVertexAttributeSet* attributes,
                                            const DrawportFramebufferTargetSet* targets) override {
    if (_device.drawsGraphics)
      OSTRA_RETURN_IF_ERROR(
          _device.Call("valid program for@@", attributes ? " attributes" : "", targets ? " targets" : ""));
    return _device.hasFactories ? &program : nullptr;
  }
  const DrawportProgramDescription& GetSpecification() const override { return description; }
  DrawportProgramDescription description;
  RecordingProgram program;

 private:
  RecordingDevice& _device;
};

class RecordingStateItem final : public DrawportCounted<RecordingStateItem, DrawportStateObjectItemInterface>,
                                 public DrawportStateObject {
 public:
  DrawportStateObject& GetStateObject() override { return *this; }
  const DrawportStateDescription& GetDescription() const override { return description; }
  DrawportStateDescription description;
};

// A draw pass of a renderer: only says what it draws into.
class RecordingDrawPass final : public DrawportDrawPass, public DrawportFramebufferTargetSet {
 public:
  const DrawportFramebufferTargetSet* GetDefaultFramebufferTargetSet() const override { return this; }
  Int GetColorCount() const override { return static_cast<Int>(formats.size()); }
  PixelFormatRef GetColorFormat(Int index) const override { return formats[static_cast<std::size_t>(index)]; }
  DrawportDepthFormat GetDepthFormat() const override { return depthFormat; }
  Int32 GetSampleCount() const override { return sampleCount; }
  std::vector<PixelFormatRef> formats;
  DrawportDepthFormat depthFormat = DrawportDepthFormat::None;
  Int32 sampleCount = 1;
};

class RecordingList final : public DrawportCommandList {
 public:
  explicit RecordingList(RecordingDevice& device) : _device(device) {}
  Result<void> AddMemoryBarrier(DrawportBarrierBits bits) override {
    return _device.Call("barrier @", static_cast<UInt32>(bits));
  }
  Result<void> Execute(Bool wait) override { return _device.Call("execute @", wait ? 1 : 0); }
  Result<Byte*> PrivateMapBuffer(DrawportStagingBuffer& staging, DrawportMapMode mode, DrawportDeviceBuffer& buffer,
                                 Int, Int offset, Int bytes) override {
    OSTRA_RETURN_IF_ERROR(_device.Call("map @ at @ of @", static_cast<Int32>(mode), offset, bytes));
    auto& own = static_cast<RecordingStaging&>(staging);
    own.mode = mode;
    own.buffer = &static_cast<RecordingBuffer&>(buffer);
    own.offset = offset;
    own.size = bytes;
    if (mode == DrawportMapMode::Read) MemCopy(own.bytes.data(), own.buffer->bytes.data() + offset, bytes);
    return own.bytes.data();
  }
  Result<void> UnmapBuffer(DrawportStagingBuffer& staging, DrawportUnmapMode mode) override {
    auto& own = static_cast<RecordingStaging&>(staging);
    if (own.mode == DrawportMapMode::WriteDiscard)
      MemCopy(own.buffer->bytes.data() + own.offset, own.bytes.data(), own.size);
    return _device.Call("unmap @", static_cast<Int32>(mode));
  }
  Result<Byte*> PrivateMapTexture(DrawportStagingBuffer& staging, DrawportMapMode mode, DrawportTexture& texture,
                                  const DrawportRegion& region, Int, Int, Int, Int) override {
    const DrawportOrigin& o = region.origin;
    const DrawportExtent& e = region.extent;
    OSTRA_RETURN_IF_ERROR(_device.Call("map texture @ at @,@,@ of @x@x@", static_cast<Int32>(mode), o.x, o.y, o.z,
                                       e.width, e.height, e.depth));
    auto& own = static_cast<RecordingStaging&>(staging);
    own.mode = mode;
    own.texture = &static_cast<RecordingTexture&>(texture);
    own.region = region;
    if (mode == DrawportMapMode::Read)
      MoveRows(own, [](Byte* mapped, Byte* texel, Int n) { MemCopy(mapped, texel, n); });
    return own.bytes.data();
  }
  Result<void> UnmapTexture(DrawportStagingBuffer& staging) override {
    auto& own = static_cast<RecordingStaging&>(staging);
    if (own.mode == DrawportMapMode::WriteDiscard)
      MoveRows(own, [](Byte* mapped, Byte* texel, Int n) { MemCopy(texel, mapped, n); });
    return OK;
  }
  void ReleaseStagingBuffer(DrawportStagingBuffer* staging) override {
    static_cast<void>(_device.Call("release").IsOk());
    delete static_cast<RecordingStaging*>(staging);
  }
  Result<void> SetAtomicCounterValue(DrawportAtomicCounter& counter, UInt32 value) override {
    static_cast<RecordingCounter&>(counter).value = value;
    return _device.Call("counter @", value);
  }
  Result<UInt32> GetAtomicCounterValue(DrawportAtomicCounter& counter) override {
    return static_cast<RecordingCounter&>(counter).value;
  }
  Result<void> Dispatch(DrawportProgramFactory&, DrawportParameterValueSet&, UInt32 x, UInt32 y, UInt32 z) override {
    return _device.Call("dispatch @ @ @", x, y, z);
  }
  Result<void> DispatchIndirect(DrawportProgramFactory&, DrawportParameterValueSet&, DrawportDeviceBuffer&,
                                Int byteOffset) override {
    return _device.Call("dispatch indirect @", byteOffset);
  }
  Result<void> BeginDrawPass(DrawportRenderTarget&, const DrawportClearValues&) override {
    return _device.Call("begin pass");
  }
  Result<void> Draw(const DrawportDrawCall& call) override { return _device.Call("draw @", call.count); }
  Result<void> EndDrawPass() override { return _device.Call("end pass"); }

 private:
  template <class Move>
  static void MoveRows(RecordingStaging& staging, Move&& move) {
    RecordingTexture& texture = *staging.texture;
    const DrawportOrigin& o = staging.region.origin;
    const DrawportExtent& e = staging.region.extent;
    const Int pitch = texture.GetPitch(e.width);
    for (Int row = 0; row < e.height * e.depth; ++row)
      move(staging.bytes.data() + row * pitch, texture.At(o.x, o.y + row % e.height, o.z + row / e.height),
           e.width * texture.description.format->GetBytesPerPixel());
  }
  RecordingDevice& _device;
};

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
    StrongRef<RecordingProgramItem> item;
    OSTRA_RETURN_IF_ERROR(FillSlot(item, *device));
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
      : _device(device), _drawport(std::move(drawport)), _list(device) {}
  DrawportRef GetDrawport() const override { return _drawport; }
  Bool IsFeatureSupported(DrawportFeature) const override { return true; }
  DrawportPixelFormatAccess GetPixelFormatAccessFlags(PixelFormatRef, Bool) const override {
    return DrawportPixelFormatAccess::ShaderReadWrite;
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
