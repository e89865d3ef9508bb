#include "parallelprogram/program/cpu_recordings.h"

#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_hand_over.h"
#include "parallelprogram/program/recording_errors.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

Int CpuRecordings::Recording::FindKernel(const InternedId& id) const {
  Int index = 0;
  while (index < kernels.GetCount() && kernels[index]->id != id) ++index;
  return index;
}

Result<void> CpuRecordings::Begin() {
  if (_open)
    return OSTRA_ILLEGAL_STATE("Dispatches are being recorded already: end the recording before another one begins.");
  _open.emplace(++_last);
  return OK;
}

Result<UInt64> CpuRecordings::End() {
  if (!_open) return recording_errors::MakeNotBegun();
  Recording recording = std::move(*_open);
  _open.reset();
  const UInt64 number = recording.number;
  OSTRA_RETURN_IF_ERROR(_recordings.Append(std::move(recording)));
  return number;
}

Result<void> CpuRecordings::CheckNotOpen() const { return _open ? recording_errors::MakeNoCopies() : Result<void>(OK); }

Result<CpuRecordings::Recording&> CpuRecordings::Find(UInt64 number) {
  for (Recording& recording : _recordings)
    if (recording.number == number) return recording;
  return recording_errors::MakeNotFound(number);
}

Result<void> CpuRecordings::RecordUpdate(const ActiveKernel& active) {
  const CpuKernel& kernel = *active.kernel;
  Step step;
  step.kernel = _open->FindKernel(active.id);
  if (step.kernel == _open->kernels.GetCount()) {
    Owned<RecordedKernel> made = MakeOwned<RecordedKernel>();
    if (!made) return OSTRA_OUT_OF_MEMORY();
    made->id = active.id;
    OSTRA_RETURN_IF_ERROR(made->kernel.CreateObject(kernel.kernel->GetClass()));
    OSTRA_RETURN_IF_ERROR(_open->kernels.Append(std::move(made)));
  }
  step.bufferLinks = kernel.bufferLinks;
  step.uniforms = kernel.uniforms;
  step.atomicLinks = kernel.atomicLinks;
  step.textureLinks = kernel.textureLinks;
  OSTRA_RETURN_IF_ERROR(_open->resources.NoteBuffers(step.bufferLinks, _program.buffers.GetNames()));
  OSTRA_RETURN_IF_ERROR(_open->resources.NoteTextures(step.textureLinks, _program.textures.GetNames()));
  OSTRA_RETURN_IF_ERROR(_open->steps.Append(std::move(step)));
  return OK;
}

Result<CpuRecordings::Step> CpuRecordings::MakeDispatch(const ActiveKernel& active) const {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, active.GetRunnable());
  Step step;
  step.kernel = _open->FindKernel(active.id);
  if (step.kernel == _open->kernels.GetCount()) return recording_errors::MakeNotUpdated(active.id);
  OSTRA_RETURN_IF_ERROR(CpuHandOver(kernel, active.id).CheckIsSet());
  return step;
}

Result<void> CpuRecordings::RecordDispatch(const ActiveKernel& active, const Vec3<UInt32>& invocations) {
  OSTRA_ASSIGN_OR_RETURN(Step step, MakeDispatch(active));
  step.kind = Step::Kind::Dispatch;
  step.invocations = invocations;
  OSTRA_RETURN_IF_ERROR(_open->steps.Append(std::move(step)));
  return OK;
}

Result<void> CpuRecordings::RecordIndirect(const ActiveKernel& active, const InternedId& buffer, UInt32 offset) {
  OSTRA_ASSIGN_OR_RETURN(Step step, MakeDispatch(active));
  const BufferSlot* const slot = _program.buffers.Find(buffer);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  OSTRA_RETURN_IF_ERROR(_open->resources.NoteBuffer(slot, _program.buffers.GetNames()));
  step.kind = Step::Kind::DispatchIndirect;
  step.buffer = buffer;
  step.offset = offset;
  OSTRA_RETURN_IF_ERROR(_open->steps.Append(std::move(step)));
  return OK;
}

Result<void> CpuRecordings::RecordCounter(AtomicUInt32& counter, UInt32 value) {
  Step step;
  step.kind = Step::Kind::SetCounter;
  step.counter = &counter;
  step.value = value;
  OSTRA_RETURN_IF_ERROR(_open->steps.Append(std::move(step)));
  return OK;
}

Result<void> CpuRecordings::Replay(UInt64 number, Int times) {
  OSTRA_ASSIGN_OR_RETURN(Recording & recording, Find(number));
  OSTRA_RETURN_IF_ERROR(recording_errors::CheckReplay(times, IsOpen()));
  OSTRA_RETURN_IF_ERROR(recording.resources.CheckUnchanged(_program.buffers.GetNames(), _program.textures.GetNames()));
  for (Int i = 0; i < times; ++i)
    for (const Step& step : recording.steps) OSTRA_RETURN_IF_ERROR(RunStep(recording, step));
  return OK;
}

Result<void> CpuRecordings::RunStep(Recording& recording, const Step& step) {
  if (step.kind == Step::Kind::SetCounter) {
    step.counter->Exchange(step.value);
    return OK;
  }
  RecordedKernel& recorded = *recording.kernels[step.kernel];
  CpuKernel& kernel = recorded.kernel;
  const ActiveKernel active{&kernel, recorded.id};
  if (step.kind == Step::Kind::Dispatch) return _program.dispatcher.RunUnmeasured(active, step.invocations);
  if (step.kind == Step::Kind::DispatchIndirect) {
    OSTRA_ASSIGN_OR_RETURN(const Vec3<UInt32> invocations,
                           CpuDispatcher::ReadInvocations(active, _program.buffers.Find(step.buffer), step.offset));
    return _program.dispatcher.RunUnmeasured(active, invocations);
  }
  kernel.bufferLinks = step.bufferLinks;
  kernel.uniforms = step.uniforms;
  kernel.atomicLinks = step.atomicLinks;
  kernel.textureLinks = step.textureLinks;
  return CpuHandOver(kernel, recorded.id).Update(_program.noises);
}

Result<void> CpuRecordings::SetUniform(UInt64 number, const InternedId& kernelId, const InternedId& attr,
                                       ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(Recording & recording, Find(number));
  if (data.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  OSTRA_ASSIGN_OR_RETURN(const Data value, data.Take());
  if (_program.noises.IsMode(attr)) return recording_errors::MakeNoiseMode(attr);
  const Int index = recording.FindKernel(kernelId);
  if (index == recording.kernels.GetCount()) return recording_errors::MakeNotDispatched(kernelId);
  const CpuKernel& kernel = recording.kernels[index]->kernel;
  const ParameterChecks checks(kernel.GetDeclarations(), kernelId);
  const KernelDeclaration* const declaration = checks.Find(attr);
  if (!declaration && kernel.declarations) return recording_errors::MakeNoUniform(kernelId, attr);
  OSTRA_RETURN_IF_ERROR(checks.CheckValue(declaration, value.GetType()));
  for (Step& step : recording.steps)
    if (step.kind == Step::Kind::Update && step.kernel == index)
      OSTRA_RETURN_IF_ERROR(step.uniforms.SetData(attr, Data(value)));
  return OK;
}

Result<void> CpuRecordings::Release(UInt64 number) {
  OSTRA_ASSIGN_OR_RETURN(const Recording& recording, Find(number));
  _recordings.RemoveUnordered(&recording - _recordings.GetFirst());
  return OK;
}

void CpuRecordings::Reset() {
  _open.reset();
  _recordings.Clear();
}

}  // namespace ostra
