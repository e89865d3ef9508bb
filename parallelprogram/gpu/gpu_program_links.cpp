// Buffer links and counters of the GPU program: which buffer or counter a name of the program or of a kernel stands
// for.
#include "ostra/core/format.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
Result<void> ParallelProgramGPUImpl::SetGlobalBufferLink(const InternedId& attr, const Data& data) {
  return SetBufferLink(_buffers.GetNames(), attr, data);
}

Result<Data> ParallelProgramGPUImpl::GetGlobalBufferLink(const InternedId& attr) const {
  return GetBufferLink(_buffers.GetNames(), attr);
}

Result<void> ParallelProgramGPUImpl::SetKernelBufferLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetActive());
  return SetBufferLink(kernel.buffers, attr, data);
}

Result<Data> ParallelProgramGPUImpl::GetKernelBufferLink(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernel& kernel, _kernels.GetActive());
  return GetBufferLink(kernel.buffers, attr);
}

Result<void> ParallelProgramGPUImpl::SetBufferToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetActive());
  OSTRA_ASSIGN_OR_RETURN(const Data entry, GetGlobalBufferLink(attr));
  return SetBufferLink(kernel.buffers, attrKernel, entry);
}

Result<void> ParallelProgramGPUImpl::SetBufferToActiveKernelSameId(const InternedId& attr) {
  return SetBufferToActiveKernel(attr, attr);
}

Result<void> ParallelProgramGPUImpl::SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetActive());
  return SwapBufferLinks(kernel.buffers, bufferOne, bufferTwo);
}

Result<void> ParallelProgramGPUImpl::AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&&) {
  return AddCounter(_contexts.GetOwner(), _counters, attr);
}

Result<void> ParallelProgramGPUImpl::SetAtomicCounterToActiveKernel(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetActive());
  return LinkCounter(_counters, attr, kernel.counters);
}

Result<void> ParallelProgramGPUImpl::SetAtomicCounter(const InternedId& attr, UInt32 value) {
  return SetCounterValue(_contexts.current, _counters, attr, value);
}

Result<UInt32> ParallelProgramGPUImpl::GetAtomicCounter(const InternedId& attr) const {
  return GetCounterValue(_contexts.current, _counters, attr);
}

Result<UInt64> ParallelProgramGPUImpl::RecordCounterRead(const InternedId& attr) {
  return ostra::RecordCounterRead(_contexts.current, _counters, attr);
}

Result<UInt32> ParallelProgramGPUImpl::TakeCounterRead(UInt64 number) {
  return _contexts.current.GetCommandList().TakeCounterRead(number);
}

}  // namespace ostra
