// Buffers and counters of the CPU program, and links of its kernels to them.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_hand_over.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

Result<void> ParallelProgramCPUImpl::CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) {
  return _buffers.Create(attr, dataType, count);
}

Result<void> ParallelProgramCPUImpl::ResizeUniformBuffer(const InternedId& attr, Int count, Bool) {
  OSTRA_ASSIGN_OR_RETURN(const BufferSlot& slot, _buffers.Resize(attr, count));
  for (auto& [id, kernel] : _kernels.GetAll()) CpuHandOver(kernel, id).UpdateMoved(slot);
  return OK;
}

Result<void> ParallelProgramCPUImpl::StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) {
  return _buffers.Store(attr, std::move(data));
}

Result<void> ParallelProgramCPUImpl::StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                                            GenericBaseArray&& data) {
  return _buffers.Store(attr, dataType, std::move(data));
}

Result<void> ParallelProgramCPUImpl::UpdateUniformBufferData(const InternedId& attr, Int offset,
                                                             ForwardingDataPtr&& data) {
  return _buffers.Update(attr, offset, std::move(data));
}

Result<void> ParallelProgramCPUImpl::CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                    Int count, Int sourceOffset, Int targetOffset) {
  OSTRA_RETURN_IF_ERROR(_recordings.CheckNotOpen());
  return _buffers.Copy(sourceAttr, targetAttr, count, sourceOffset, targetOffset);
}

Result<void> ParallelProgramCPUImpl::CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                         Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  OSTRA_RETURN_IF_ERROR(_recordings.CheckNotOpen());
  return _buffers.CopyBytes(sourceAttr, targetAttr, bytesCount, sourceBytesOffset, targetBytesOffset);
}

Result<void> ParallelProgramCPUImpl::DeleteUniformBuffer(const InternedId& bufferId) {
  return _buffers.EraseName(bufferId);
}

Result<Data> ParallelProgramCPUImpl::GetGlobalBufferData(const InternedId& attr) const {
  return GetGlobalBufferData(attr, 0, -1);
}

Result<Data> ParallelProgramCPUImpl::GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const {
  const BufferSlot* slot = _buffers.Find(attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return ReadElements(*slot, offset, count);
}

Result<Data> ParallelProgramCPUImpl::GetKernelBufferData(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const CpuKernel& kernel, _kernels.GetActive());
  const BufferSlot* slot = CpuBuffers::Find(kernel.bufferLinks, attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return ReadElements(*slot, 0, -1);
}

Result<void> ParallelProgramCPUImpl::SetGlobalBufferLink(const InternedId& attr, const Data& data) {
  return CpuBuffers::SetLink(_buffers.GetNames(), attr, data);
}

Result<Data> ParallelProgramCPUImpl::GetGlobalBufferLink(const InternedId& attr) const {
  return CpuBuffers::GetLink(_buffers.GetNames(), attr);
}

Result<void> ParallelProgramCPUImpl::SetKernelBufferLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, _kernels.GetActive());
  return CpuBuffers::SetLink(kernel.bufferLinks, attr, data);
}

Result<Data> ParallelProgramCPUImpl::GetKernelBufferLink(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const CpuKernel& kernel, _kernels.GetActive());
  return CpuBuffers::GetLink(kernel.bufferLinks, attr);
}

// The buffer is looked up before the active kernel, so an unknown name is the first thing reported.
Result<void> ParallelProgramCPUImpl::SetBufferToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, _buffers.GetNames().GetData(attr));
  return SetKernelBufferLink(attrKernel, data);
}

Result<void> ParallelProgramCPUImpl::SetBufferToActiveKernelSameId(const InternedId& attr) {
  return SetBufferToActiveKernel(attr, attr);
}

Result<void> ParallelProgramCPUImpl::SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, _kernels.GetActive());
  return CpuBuffers::SwapLinks(kernel.bufferLinks, bufferOne, bufferTwo);
}

Result<void> ParallelProgramCPUImpl::AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&&) {
  return _counters.Add(attr);
}

Result<void> ParallelProgramCPUImpl::SetAtomicCounterToActiveKernel(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, _counters.GetLink(attr));
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, _kernels.GetActive());
  OSTRA_RETURN_IF_ERROR(data.Get<AtomicUInt32*>());
  return kernel.atomicLinks.SetData(attr, data);
}

Result<void> ParallelProgramCPUImpl::SetAtomicCounter(const InternedId& attr, UInt32 value) {
  OSTRA_ASSIGN_OR_RETURN(AtomicUInt32 & counter, _counters.Get(attr));
  if (_recordings.IsOpen()) return _recordings.RecordCounter(counter, value);
  counter.Exchange(value);
  return OK;
}

Result<UInt32> ParallelProgramCPUImpl::GetAtomicCounter(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const AtomicUInt32& counter, _counters.Get(attr));
  return counter.LoadRelaxed();
}

}  // namespace ostra
