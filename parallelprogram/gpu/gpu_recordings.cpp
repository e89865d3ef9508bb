#include "parallelprogram/gpu/gpu_recordings.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/program/recording_errors.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<void> GpuRecordings::Begin(const GpuContextData& data, Int contextNumber) {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  OSTRA_RETURN_IF_ERROR(data.GetCommandList().BeginRecordedWork());
  _open.emplace();
  _open->number = ++_last;
  _open->contextNumber = contextNumber;
  return OK;
}

Result<UInt64> GpuRecordings::End(const GpuContextData& data) {
  if (!_open) return recording_errors::MakeNotBegun();
  GpuRecording recording = std::move(*_open);
  _open.reset();
  DrawportCommandList& list = data.GetCommandList();
  OSTRA_ASSIGN_OR_RETURN(recording.work, list.EndRecordedWork());
  const UInt64 number = recording.number;
  const UInt64 work = recording.work;
  auto added = _recordings.Append(std::move(recording));
  if (added) return number;
  list.ReleaseRecordedWork(work);
  return added.TakeError();
}

Result<GpuRecording&> GpuRecordings::Find(UInt64 number) {
  GpuRecording* const found = std::find_if(_recordings.begin(), _recordings.end(),
                                           [number](const GpuRecording& known) { return known.number == number; });
  if (found == _recordings.end()) return recording_errors::MakeNotFound(number);
  return *found;
}

Result<void> GpuRecordings::Release(const GpuContextData& data, UInt64 number) {
  OSTRA_ASSIGN_OR_RETURN(const GpuRecording& recording, Find(number));
  data.GetCommandList().ReleaseRecordedWork(recording.work);
  _recordings.RemoveUnordered(&recording - _recordings.GetFirst());
  return OK;
}

void GpuRecordings::Abandon(const GpuContextData& data) {
  if (!_open) return;
  _open.reset();
  DrawportCommandList& list = data.GetCommandList();
  if (const auto work = list.EndRecordedWork()) list.ReleaseRecordedWork(*work);
}

// The work of a context that was replaced goes with that.
void GpuRecordings::ReleaseAll(const GpuContextData& data, Int contextNumber) {
  Abandon(data);
  for (const GpuRecording& recording : _recordings)
    if (recording.contextNumber == contextNumber) data.GetCommandList().ReleaseRecordedWork(recording.work);
  _recordings.Clear();
}

Result<void> GpuRecordings::NoteUpdate(const GpuKernelRef& kernel, const DataDictionary& allBuffers,
                                       const DataDictionary& allTextures) {
  return _open ? _open->AddKernel(kernel, allBuffers, allTextures) : Result<void>(OK);
}

Result<void> GpuRecordings::NoteBuffer(const DataBufferEntry& entry, const DataDictionary& allBuffers) {
  return _open ? _open->AddBuffer(entry, allBuffers) : Result<void>(OK);
}

Result<void> GpuRecordings::CheckDispatch(const GpuKernel& kernel) const {
  if (!_open) return OK;
  if (kernel.reports)
    return OSTRA_NOT_IMPLEMENTED("The kernel \"@\" reports something: its dispatches cannot be recorded.", kernel.id);
  if (_open->HasKernel(kernel)) return OK;
  return recording_errors::MakeNotUpdated(kernel.id);
}

}  // namespace ostra
