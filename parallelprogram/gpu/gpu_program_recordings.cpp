// Recordings of the GPU program: dispatches that are recorded once and replayed.
#include "ostra/core/format.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/gpu/running_call.h"
#include "parallelprogram/program/recording_errors.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

namespace {

// Gives the recorded dispatches of a program another value of a uniform.
Result<void> Update(DrawportCommandList& list, UInt64 work, const GpuRecording::Program& used, const InternedId& attr,
                    const Data& value) {
  const GpuComputeProgram& program = used.program;
  const DrawportParameterHandle handle = program.factory->GetParameterHandle(attr);
  if (!handle) return recording_errors::MakeNoUniform(used.kernel->id, attr);
  const Block<const DrawportParameter> parameters = program.item->GetSpecification().GetParameters().GetBlock();
  OSTRA_RETURN_IF_ERROR(
      SetParameterValue({*program.factory, *program.values}, handle, attr, value, FindWideType(parameters, attr)));
  return list.UpdateRecordedParameter(work, *program.factory, *program.values, handle);
}

// The same for the table `attr` of a noise, with its seed.
Result<void> UpdateNoise(DrawportCommandList& list, UInt64 work, const GpuRecording::Program& used,
                         const InternedId& attr, const Data& seed) {
  const GpuComputeProgram& program = used.program;
  const DrawportParameterHandle handle = program.factory->GetParameterHandle(attr);
  if (!handle) return OK;
  OSTRA_RETURN_IF_ERROR(BindNoiseTable({*program.factory, *program.values}, handle, &seed));
  return list.UpdateRecordedParameter(work, *program.factory, *program.values, handle);
}

}  // namespace

Result<void> ParallelProgramGPUImpl::BeginRecording() {
  OSTRA_RETURN_IF_ERROR(_recordings.Begin(_contexts.current, _contexts.number));
  _textures.SetAllWritable(true);
  return OK;
}

Result<UInt64> ParallelProgramGPUImpl::EndRecording() {
  Result<UInt64> number = _recordings.End(_contexts.current);
  _textures.SetAllWritable(_recordings.IsOpen());
  return number;
}

Result<void> ParallelProgramGPUImpl::ReleaseRecording(UInt64 number) {
  return _recordings.Release(_contexts.current, number);
}

Result<void> ParallelProgramGPUImpl::Replay(UInt64 number, Int times) {
  const RunningCall call;
  OSTRA_ASSIGN_OR_RETURN(const GpuRecording& recording, _recordings.Find(number));
  OSTRA_RETURN_IF_ERROR(recording_errors::CheckReplay(times, _recordings.IsOpen()));
  if (recording.contextNumber != _contexts.number)
    return OSTRA_ILLEGAL_STATE(
        "The context was replaced since the dispatches were recorded: they have to be recorded again.");
  OSTRA_RETURN_IF_ERROR(recording.CheckUnchanged(_buffers.GetNames(), _textures.GetNames()));
  for (Int i = 0; i < times; ++i) OSTRA_RETURN_IF_ERROR(_contexts.current.GetCommandList().ReplayWork(recording.work));
  return OK;
}

Result<void> ParallelProgramGPUImpl::SetRecordedUniform(UInt64 number, const InternedId& kernelId,
                                                        const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(const GpuRecording& recording, _recordings.Find(number));
  if (data.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  OSTRA_ASSIGN_OR_RETURN(const Data value, std::move(data).Take());
  if (_noises.IsMode(attr)) return recording_errors::MakeNoiseMode(attr);
  DrawportCommandList& list = _contexts.current.GetCommandList();
  const InternedId* table = _noises.FindTableOfSeed(attr);
  Bool isKnown = false;
  for (const GpuRecording::Program& used : recording.programs) {
    if (used.kernel->id != kernelId) continue;
    isKnown = true;
    OSTRA_RETURN_IF_ERROR(Update(list, recording.work, used, attr, value));
    if (table) OSTRA_RETURN_IF_ERROR(UpdateNoise(list, recording.work, used, *table, value));
  }
  if (isKnown) return OK;
  return recording_errors::MakeNotDispatched(kernelId);
}

}  // namespace ostra
