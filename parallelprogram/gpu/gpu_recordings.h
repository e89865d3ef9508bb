// GpuRecordings: dispatches of a GPU program that are recorded once and replayed: the recordings, and the one that has
// begun. The methods of RecordedDispatchesInterface, without the program around them.
#pragma once

#include <optional>

#include "parallelprogram/gpu/gpu_recording.h"

namespace ostra {

class GpuRecordings {
 public:
  GpuRecordings() = default;
  GpuRecordings(const GpuRecordings&) = delete;

  // In the context of this number; see RecordedDispatchesInterface.
  Result<void> Begin(const GpuContextData& data, Int contextNumber);
  Result<UInt64> End(const GpuContextData& data);
  Result<GpuRecording&> Find(UInt64 number);
  Result<void> Release(const GpuContextData& data, UInt64 number);
  // Ends the recording that has begun, if any, and keeps nothing of it.
  void Abandon(const GpuContextData& data);
  void ReleaseAll(const GpuContextData& data, Int contextNumber);

  Bool IsOpen() const { return _open.has_value(); }
  // For the recording that has begun, if any: after a kernel was updated, and before it is dispatched. Errors: illegal
  // state for a kernel that was not updated since the recording began; not implemented for one that reports something.
  Result<void> NoteUpdate(const GpuKernelRef& kernel, const DataDictionary& allBuffers,
                          const DataDictionary& allTextures);
  Result<void> NoteBuffer(const DataBufferEntry& entry, const DataDictionary& allBuffers);
  Result<void> CheckDispatch(const GpuKernel& kernel) const;

 private:
  std::optional<GpuRecording> _open;
  BaseArray<GpuRecording> _recordings;
  UInt64 _last = 0;
};

}  // namespace ostra
