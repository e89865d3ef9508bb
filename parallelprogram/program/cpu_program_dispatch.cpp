// Dispatches of the CPU program, recorded ones too, and what is told of them.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_hand_over.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

Result<void> ParallelProgramCPUImpl::UpdateUniforms() {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, _kernels.GetRunnable());
  OSTRA_RETURN_IF_ERROR(CpuHandOver(kernel, _kernels.GetActiveId()).Update(_noises));
  return _recordings.IsOpen() ? _recordings.RecordUpdate(_kernels.FindActive()) : Result<void>(OK);
}

Result<void> ParallelProgramCPUImpl::DispatchKernel(UInt32 countX, UInt32 countY, UInt32 countZ, Bool) {
  if (_recordings.IsOpen()) [[unlikely]]
    return _recordings.RecordDispatch(_kernels.FindActive(), {countX, countY, countZ});
  return _dispatcher.Run(_kernels.FindActive(), {countX, countY, countZ});
}

Result<void> ParallelProgramCPUImpl::DispatchIndirectKernel(const InternedId& buffer, UInt32 offset, Bool) {
  const ActiveKernel active = _kernels.FindActive();
  if (_recordings.IsOpen()) return _recordings.RecordIndirect(active, buffer, offset);
  OSTRA_ASSIGN_OR_RETURN(const Vec3<UInt32> invocations,
                         CpuDispatcher::ReadInvocations(active, _buffers.Find(buffer), offset));
  return _dispatcher.Run(active, invocations);
}

Result<void> ParallelProgramCPUImpl::AddMemoryBarrier() { return OK; }
Result<void> ParallelProgramCPUImpl::AddTextureMemoryBarrier() { return OK; }

void ParallelProgramCPUImpl::RequestStop() { _dispatcher.RequestStop(); }
void ParallelProgramCPUImpl::ForgetStop() { _dispatcher.ForgetStop(); }

Result<void> ParallelProgramCPUImpl::BeginRecording() { return _recordings.Begin(); }
Result<UInt64> ParallelProgramCPUImpl::EndRecording() { return _recordings.End(); }

Result<void> ParallelProgramCPUImpl::SetRecordedUniform(UInt64 number, const InternedId& kernelId,
                                                        const InternedId& attr, ForwardingDataPtr&& data) {
  return _recordings.SetUniform(number, kernelId, attr, std::move(data));
}

Result<void> ParallelProgramCPUImpl::Replay(UInt64 number, Int times) { return _recordings.Replay(number, times); }
Result<void> ParallelProgramCPUImpl::ReleaseRecording(UInt64 number) { return _recordings.Release(number); }

Result<void> ParallelProgramCPUImpl::MeasureDispatches(Bool isOn) {
  _dispatcher.SetMeasured(isOn);
  return OK;
}

Result<BaseArray<DispatchTime>> ParallelProgramCPUImpl::TakeDispatchTimes() { return _dispatcher.TakeTimes(); }

Result<void> ParallelProgramCPUImpl::SetReportOptions(const KernelReportOptions& options) {
  if (options == KernelReportOptions()) return OK;
  return MakeError(kNotImplementedError, kOstraUnit, __LINE__,
                   "Kernels of the CPU program report what they were built with.");
}

Result<void> ParallelProgramCPUImpl::SetPrintRoom(Int bytes) { return GetPrints().SetRoom(bytes); }
Result<KernelPrints> ParallelProgramCPUImpl::TakePrints() { return GetPrints().Take(); }

}  // namespace ostra
