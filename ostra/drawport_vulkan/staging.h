// Staging buffers of a command list, and the host-visible memory that transfers go through.
#pragma once

#include "ostra/drawport/command_list.h"
#include "ostra/drawport_vulkan/buffer.h"
#include "ostra/drawport_vulkan/image.h"

namespace ostra::vulkan {

// A transfer of this many bytes is worth a submission of its own, and too long for the host to wait for.
inline constexpr Int kLargeTransfer = Int(1) << 20;

// Memory for one transfer. Free again when batch `busyUntil` is done.
struct StagingMemory {
  BufferRef buffer;
  Int size = 0;  // bytes
  MemoryUse use = MemoryUse::Upload;
  UInt64 busyUntil = 0;
  Bool isMapped = false;
};

// What a client holds between AllocStagingBuffer and ReleaseStagingBuffer.
class StagingBuffer final : public DrawportStagingBuffer {
 public:
  enum class State : Int32 { Released, Idle, Buffer, Texture };

  Int GetSize() const override { return size; }

  // Whether so many bytes can be mapped in this mode now. Errors: illegal argument, illegal state.
  Result<void> CheckMapping(DrawportMapMode mode, Int mappedBytes) const;

  State state = State::Released;
  Int size = 0;
  DrawportStagingUse use = DrawportStagingUse::BufferUpload;

  // While mapped.
  DrawportMapMode mode = DrawportMapMode::Read;
  StagingMemory* memory = nullptr;  // null when the host sees the buffer itself
  BufferRef buffer;
  Int byteOffset = 0;
  Int bytes = 0;
  ImageRef image;
  DrawportRegion region;
  // What the client sees of a texture that the device has in another form: memory that is shared with the device may be
  // slow to read. Kept when the staging buffer is released.
  BaseArray<Byte> texels;
};

}  // namespace ostra::vulkan
