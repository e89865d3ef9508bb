// Buffers, textures, samplers and counters of a recording GPU layer.
#pragma once

#include "tests/gpu/recording_device.h"

namespace ostra::test {

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
  // Items by key, as long as they are referenced.
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

}  // namespace ostra::test
