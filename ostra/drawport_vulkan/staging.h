// Staging buffers of a command list, and the host-visible memory that transfers go through.
#pragma once

#include "ostra/drawport/command_list.h"
#include "ostra/drawport_vulkan/buffer.h"
#include "ostra/drawport_vulkan/image.h"

namespace ostra::vulkan {

// Memory for one transfer. Free again when batch `busyUntil` is done.
struct StagingMemory {
  BufferRef buffer;
  MemoryUse use = MemoryUse::Upload;
  UInt64 busyUntil = 0;
  Bool isMapped = false;
};

// What a client holds between AllocStagingBuffer and ReleaseStagingBuffer.
class StagingBuffer final : public DrawportStagingBuffer {
 public:
  enum class State : Int32 { Released, Idle, Buffer, Texture };

  Int GetSize() const override { return size; }

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
  Int deviceOffset = 0;  // in `memory`: where the texels of a widened texture lie as the device has them
};

}  // namespace ostra::vulkan
