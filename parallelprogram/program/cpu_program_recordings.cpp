// Recordings of the CPU program: the calls that were made, with what kernels were given, to be made again.
#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"
#include "parallelprogram/program/noise_modes.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
Result<void> ParallelProgramCPUImpl::BeginRecording() {
  if (_openRecording)
    return OSTRA_ILLEGAL_STATE("Dispatches are being recorded already: end the recording before another one begins.");
  _openRecording.emplace(++_lastRecording);
  return OK;
}

Result<UInt64> ParallelProgramCPUImpl::EndRecording() {
  if (!_openRecording)
    return OSTRA_ILLEGAL_STATE("No dispatches are being recorded: a recording has to begin before it ends.");
  Recording recording = std::move(*_openRecording);
  _openRecording.reset();
  const UInt64 number = recording.number;
  OSTRA_RETURN_IF_ERROR(_recordings.Append(std::move(recording)));
  return number;
}

Result<void> ParallelProgramCPUImpl::CheckNotRecording() const {
  if (!_openRecording) return OK;
  return OSTRA_ILLEGAL_STATE("Buffers cannot be copied while dispatches are being recorded.");
}

Result<ParallelProgramCPUImpl::Recording&> ParallelProgramCPUImpl::FindRecording(UInt64 number) {
  for (Recording& recording : _recordings)
    if (recording.number == number) return recording;
  return OSTRA_ILLEGAL_STATE("The program has no recording @: it was released, or belongs to another program.", number);
}

Result<void> ParallelProgramCPUImpl::RecordUpdate() {
  const KernelEntry& active = *_activeKernel;
  Recording& recording = *_openRecording;
  RecordedStep step;
  step.kernel = recording.FindKernel(_activeKernelId);
  if (step.kernel == recording.kernels.GetCount()) {
    Owned<RecordedKernel> made = MakeOwned<RecordedKernel>();
    if (!made) return OSTRA_OUT_OF_MEMORY();
    made->id = _activeKernelId;
    OSTRA_RETURN_IF_ERROR(CreateKernelObject(made->entry, active.kernel->GetClass()));
    OSTRA_RETURN_IF_ERROR(recording.kernels.Append(std::move(made)));
  }
  step.bufferLinks = active.bufferLinks;
  step.uniforms = active.uniforms;
  step.atomicLinks = active.atomicLinks;
  step.textureLinks = active.textureLinks;
  OSTRA_RETURN_IF_ERROR(recording.resources.NoteBuffers(step.bufferLinks, _buffers));
  OSTRA_RETURN_IF_ERROR(recording.resources.NoteTextures(step.textureLinks, _textures));
  OSTRA_RETURN_IF_ERROR(recording.steps.Append(std::move(step)));
  return OK;
}

Result<Int> ParallelProgramCPUImpl::FindRecordedKernel() const {
  const Int index = _openRecording->FindKernel(_activeKernelId);
  if (index < _openRecording->kernels.GetCount()) return index;
  return OSTRA_ILLEGAL_STATE("The uniforms of the kernel \"@\" have not been updated since the recording began.",
                             _activeKernelId);
}

Result<void> ParallelProgramCPUImpl::RecordDispatch(const Vec3<UInt32>& invocations) {
  OSTRA_ASSIGN_OR_RETURN(const KernelEntry& entry, GetRunnableKernel());
  RecordedStep step;
  step.kind = RecordedStep::Kind::Dispatch;
  OSTRA_ASSIGN_OR_RETURN(step.kernel, FindRecordedKernel());
  OSTRA_RETURN_IF_ERROR(CheckIsSet(entry));
  step.invocations = invocations;
  OSTRA_RETURN_IF_ERROR(_openRecording->steps.Append(std::move(step)));
  return OK;
}

Result<void> ParallelProgramCPUImpl::RecordIndirect(const InternedId& buffer, UInt32 offset) {
  OSTRA_ASSIGN_OR_RETURN(const KernelEntry& entry, GetRunnableKernel());
  RecordedStep step;
  step.kind = RecordedStep::Kind::DispatchIndirect;
  OSTRA_ASSIGN_OR_RETURN(step.kernel, FindRecordedKernel());
  OSTRA_RETURN_IF_ERROR(CheckIsSet(entry));
  const BufferSlot* const slot = FindBuffer(_buffers, buffer);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  OSTRA_RETURN_IF_ERROR(_openRecording->resources.NoteBuffer(slot, _buffers));
  step.buffer = buffer;
  step.offset = offset;
  OSTRA_RETURN_IF_ERROR(_openRecording->steps.Append(std::move(step)));
  return OK;
}

Result<void> ParallelProgramCPUImpl::Replay(UInt64 number, Int times) {
  OSTRA_ASSIGN_OR_RETURN(Recording & recording, FindRecording(number));
  if (times < 0) return OSTRA_ILLEGAL_ARGUMENT("A recording cannot be replayed @ times.", times);
  if (_openRecording) return OSTRA_ILLEGAL_STATE("A recording cannot be replayed while dispatches are being recorded.");
  OSTRA_RETURN_IF_ERROR(recording.resources.CheckUnchanged(_buffers, _textures));
  KernelEntry* const activeKernel = _activeKernel;
  const InternedId activeKernelId = _activeKernelId;
  Result<void> done = OK;
  for (Int i = 0; i < times && done; ++i)
    for (RecordedStep& step : recording.steps)
      if (done) done = RunStep(recording, step);
  _activeKernel = activeKernel;
  _activeKernelId = activeKernelId;
  return done;
}

Result<void> ParallelProgramCPUImpl::RunStep(Recording& recording, RecordedStep& step) {
  if (step.kind == RecordedStep::Kind::SetCounter) {
    step.counter->Exchange(step.value);
    return OK;
  }
  RecordedKernel& kernel = *recording.kernels[step.kernel];
  _activeKernel = &kernel.entry;
  _activeKernelId = kernel.id;
  if (step.kind == RecordedStep::Kind::Dispatch)
    return RunDispatch(step.invocations.x, step.invocations.y, step.invocations.z);
  if (step.kind == RecordedStep::Kind::DispatchIndirect) return RunIndirect(step.buffer, step.offset);
  kernel.entry.bufferLinks = step.bufferLinks;
  kernel.entry.uniforms = step.uniforms;
  kernel.entry.atomicLinks = step.atomicLinks;
  kernel.entry.textureLinks = step.textureLinks;
  return UpdateActiveKernel();
}

Result<void> ParallelProgramCPUImpl::SetRecordedUniform(UInt64 number, const InternedId& kernelId,
                                                        const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(Recording & recording, FindRecording(number));
  if (data.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  OSTRA_ASSIGN_OR_RETURN(const Data value, data.Take());
  if (std::find(_noiseModeNames.begin(), _noiseModeNames.end(), attr) != _noiseModeNames.end())
    return OSTRA_ILLEGAL_ARGUMENT("The mode of a noise, \"@\", cannot be changed in recorded dispatches.", attr);
  const Int kernel = recording.FindKernel(kernelId);
  if (kernel == recording.kernels.GetCount())
    return OSTRA_ILLEGAL_ARGUMENT("The recording has no dispatch of a kernel \"@\".", kernelId);
  const KernelEntry& entry = recording.kernels[kernel]->entry;
  const ParameterChecks checks(entry.GetDeclarations(), kernelId);
  const KernelDeclaration* const declaration = checks.Find(attr);
  if (!declaration && entry.declarations)
    return OSTRA_ILLEGAL_ARGUMENT("The kernel \"@\" has no uniform \"@\".", kernelId, attr);
  OSTRA_RETURN_IF_ERROR(checks.CheckValue(declaration, value.GetType()));
  for (RecordedStep& step : recording.steps)
    if (step.kind == RecordedStep::Kind::Update && step.kernel == kernel)
      OSTRA_RETURN_IF_ERROR(step.uniforms.SetData(attr, Data(value)));
  return OK;
}

Result<void> ParallelProgramCPUImpl::ReleaseRecording(UInt64 number) {
  OSTRA_ASSIGN_OR_RETURN(const Recording& recording, FindRecording(number));
  _recordings.RemoveUnordered(&recording - _recordings.GetFirst());
  return OK;
}

}  // namespace ostra
