// What a GPU program or a shader loader works on: a context with its drawport and cache.
#pragma once

#include "ostra/core/format.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"

namespace ostra {

struct GpuContextData {
  DrawportCacheRef cache;
  DrawportContextRef context;
  DrawportRef drawport;
  Bool ownsOffscreenContext = false;
  Bool contextReplaceable = false;  // by UpdateDrawportContext

  // The list of the context, or the default one.
  DrawportCommandList& GetCommandList() const { return context ? context->GetCommandList() : GetDefaultCommandList(); }
  Int GetCapability(DrawportCapability capability) const {
    return drawport ? drawport->GetCapabilities().GetValue(capability) : 0;
  }
};

// A number that is unique in the process: what a program or loader keeps on a device is told by it from what
// others keep. Thread-safe.
UInt64 TakeDeviceOwnerIdentity();

// Error: illegal state when there is no context.
Result<void> CheckHasContext(const GpuContextData& data);

// Submits what was recorded in the context, before another one takes its place or none does: counters, and buffers that
// others hold, outlive it. Work on a lost device is lost anyway. Error: out of memory; the work is then not done.
Result<void> SubmitRecordedWork(const GpuContextData& data);

// A staging buffer that is released with this object. `list` outlives it.
class StagingBuffer {
 public:
  // Errors: illegal state without a context; those of DrawportCacheInterface::AllocStagingBuffer.
  static Result<StagingBuffer> Create(const GpuContextData& data, Int bytes, DrawportStagingUse use);
  StagingBuffer(StagingBuffer&& other) noexcept : _list(other._list), _buffer(std::exchange(other._buffer, nullptr)) {}
  StagingBuffer(const StagingBuffer&) = delete;
  StagingBuffer& operator=(const StagingBuffer&) = delete;
  StagingBuffer& operator=(StagingBuffer&&) = delete;
  ~StagingBuffer() {
    if (_buffer) _list->ReleaseStagingBuffer(_buffer);
  }
  DrawportStagingBuffer& operator*() const { return *_buffer; }

 private:
  StagingBuffer(DrawportCommandList* list, DrawportStagingBuffer* buffer) : _list(list), _buffer(buffer) {}
  DrawportCommandList* _list;
  DrawportStagingBuffer* _buffer;
};

}  // namespace ostra
