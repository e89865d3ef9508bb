// The command list of a recording GPU layer.
#pragma once

#include "tests/gpu/recording_device.h"

namespace ostra::test {

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

}  // namespace ostra::test
