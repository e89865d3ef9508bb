// Dispatch of the GPU program: uniform values, work group counts, barriers, submission.
#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/gpu/running_call.h"
#include "parallelprogram/gpu/work_group_counts.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr UInt64 kMaxGroups = 65535;  // in each direction

UInt64 DivideUp(UInt64 count, UInt64 size) { return count == 0 ? 0 : (count - 1) / size + 1; }

UInt32 Clamp(UInt64 count) { return static_cast<UInt32>(std::min(count, kMaxGroups)); }

}  // namespace

WorkGroupCounts GetWorkGroupCounts(UInt32 countX, UInt32 countY, UInt32 countZ, const WorkGroupSize& size) {
  if (countY <= 1 && countZ <= 1) {
    if (countX == 0) return {};
    const UInt64 last = (countX - 1) / size.x;
    return {Clamp(last + 1), Clamp(last / kMaxGroups + 1), 1};
  }
  const UInt64 x = DivideUp(countX, size.x);
  UInt64 y = DivideUp(countY, size.y);
  if (x != 0) y *= (x - 1) / kMaxGroups + 1;
  return {Clamp(x), Clamp(y), Clamp(DivideUp(countZ, size.z))};
}

Result<void> ParallelProgramGPUImpl::SetUniform(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetActive());
  if (data.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The uniform \"@\" was given no value.", attr);
  return kernel.uniforms.SetValue(attr, std::move(data));
}

// A kernel that could not be compiled for a reason that may be over by now is compiled here.
Result<void> ParallelProgramGPUImpl::UpdateUniforms() {
  const GpuKernelRef& active = _kernels.FindActive();
  if (active && _contexts.current.context && active->IsWorthCompiling())
    static_cast<void>(_compiler.Compile(active->id, true));  // the kernel keeps the error
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetRunnable());
  kernel.texturesChanged = false;
  OSTRA_RETURN_IF_ERROR(_compiler.UpdateNoiseModes(kernel));
  OSTRA_RETURN_IF_ERROR(_reports.LinkBuffer(_contexts.GetOwner(), kernel, kernel.contextNumber == _contexts.number));
  OSTRA_RETURN_IF_ERROR(kernel.compute->UpdateUniforms(_contexts.current.context, true));
  kernel.needsUpdate = false;
  kernel.contextNumber = _contexts.number;
  return _recordings.NoteUpdate(active, _buffers.GetNames(), _textures.GetNames());
}

// What would be recorded for the context before would never be submitted.
Result<void> ParallelProgramGPUImpl::CheckContext(const GpuKernel& kernel) const {
  if (kernel.contextNumber == 0 || kernel.contextNumber == _contexts.number) return OK;
  return OSTRA_ILLEGAL_STATE("The uniforms of the kernel \"@\" have not been updated since the context was replaced.",
                             kernel.id);
}

Result<void> ParallelProgramGPUImpl::DispatchKernel(UInt32 countX, UInt32 countY, UInt32 countZ, Bool disableBarrier) {
  const RunningCall call;
  // Textures that were evicted since the last update come back with it.
  if (g_outOfCoreParallelProgram) OSTRA_RETURN_IF_ERROR(UpdateUniforms());
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetRunnable());
  OSTRA_RETURN_IF_ERROR(CheckContext(kernel));
  if (kernel.needsUpdate) OSTRA_RETURN_IF_ERROR(UpdateUniforms());
  OSTRA_RETURN_IF_ERROR(_recordings.CheckDispatch(kernel));
  if (!disableBarrier) OSTRA_RETURN_IF_ERROR(AddMemoryBarrier());
  const WorkGroupCounts counts = GetWorkGroupCounts(countX, countY, countZ, kernel.workGroupSize);
  if (counts.x == 0 || counts.y == 0 || counts.z == 0) return OK;
  return RecordReported(kernel, {countX, countY, countZ},
                        [&] { return kernel.compute->Dispatch(counts.x, counts.y, counts.z); });
}

template <class Record>
Result<void> ParallelProgramGPUImpl::RecordReported(const GpuKernel& kernel, const Vec3<UInt32>& invocations,
                                                    Record&& record) {
  if (!kernel.reports) return RecordDispatch(invocations, record);
  const Vec3<UInt32> extents =
      GetReportExtents(invocations, {kernel.workGroupSize.x, kernel.workGroupSize.y, kernel.workGroupSize.z});
  OSTRA_RETURN_IF_ERROR(_reports.Begin(_contexts.current, kernel, extents));
  OSTRA_RETURN_IF_ERROR(RecordDispatch(invocations, record));
  return _reports.End(_contexts.current, kernel, invocations, extents);
}

template <class Record>
Result<void> ParallelProgramGPUImpl::RecordDispatch(const Vec3<UInt32>& invocations, Record&& record) {
  if (!_times.IsOn() || _recordings.IsOpen()) return record();
  return _times.RecordTimed(_contexts.current.GetCommandList(), _contexts.number, _kernels.GetActiveId(), invocations,
                            record);
}

Result<void> ParallelProgramGPUImpl::MeasureDispatches(Bool isOn) {
  return _times.SetOn(_contexts.current.GetCommandList(), isOn);
}

Result<BaseArray<DispatchTime>> ParallelProgramGPUImpl::TakeDispatchTimes() {
  return _times.Take(_contexts.current.GetCommandList(), _contexts.number);
}

Result<void> ParallelProgramGPUImpl::SetReportOptions(const KernelReportOptions& options) {
  _reports.SetOptions(options);
  return OK;
}

Result<void> ParallelProgramGPUImpl::SetPrintRoom(Int bytes) { return _reports.GetPrints().SetRoom(bytes); }
Result<KernelPrints> ParallelProgramGPUImpl::TakePrints() { return _reports.GetPrints().Take(); }

Result<void> ParallelProgramGPUImpl::DispatchIndirectKernel(const InternedId& buffer, UInt32 offset,
                                                            Bool disableBarrier) {
  const RunningCall call;
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetRunnable());
  OSTRA_RETURN_IF_ERROR(CheckContext(kernel));
  if (kernel.needsUpdate) OSTRA_RETURN_IF_ERROR(UpdateUniforms());
  OSTRA_RETURN_IF_ERROR(_recordings.CheckDispatch(kernel));
  if (!disableBarrier) OSTRA_RETURN_IF_ERROR(AddMemoryBarrier());
  const DataBufferEntry* entry = _buffers.Find(buffer);
  if (!entry || !entry->_deviceBuffer) return OSTRA_ILLEGAL_STATE("trying to dispatch indirect from unknown buffer");
  OSTRA_RETURN_IF_ERROR(_recordings.NoteBuffer(*entry, _buffers.GetNames()));
  return RecordReported(kernel, {}, [&] {
    return kernel.compute->DispatchIndirect(_contexts.current.GetCommandList(), *entry->_deviceBuffer, offset);
  });
}

Result<void> ParallelProgramGPUImpl::AddMemoryBarrier() {
  return _contexts.current.GetCommandList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer);
}

Result<void> ParallelProgramGPUImpl::AddTextureMemoryBarrier() {
  return _contexts.current.GetCommandList().AddMemoryBarrier(DrawportBarrierBits::Texture);
}

Result<void> ParallelProgramGPUImpl::Execute(Bool wait) {
  const RunningCall call;
  return _contexts.current.GetCommandList().Execute(wait);
}

}  // namespace ostra
