// Buffer links and counters of the GPU program: which buffer or counter a name of the program or of a kernel stands
// for.
#include "ostra/core/format.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// Stores the entry in `data`, after checking that it is one.
Result<void> SetLink(DataDictionary& table, const InternedId& attr, const Data& data) {
  OSTRA_RETURN_IF_ERROR(data.Get<DataBufferEntry>());
  return table.SetData(attr, data);
}

Result<Data> GetLink(const DataDictionary& table, const InternedId& attr) {
  if (!FindBufferEntry(table, attr)) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return *table.FindData(attr);
}

}  // namespace

Result<void> ParallelProgramGPUImpl::SetGlobalBufferLink(const InternedId& attr, const Data& data) {
  return SetLink(_buffers, attr, data);
}

Result<Data> ParallelProgramGPUImpl::GetGlobalBufferLink(const InternedId& attr) const {
  return GetLink(_buffers, attr);
}

Result<void> ParallelProgramGPUImpl::SetKernelBufferLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, GetActiveKernel());
  return SetLink(kernel.buffers, attr, data);
}

Result<Data> ParallelProgramGPUImpl::GetKernelBufferLink(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernel& kernel, GetActiveKernel());
  return GetLink(kernel.buffers, attr);
}

Result<void> ParallelProgramGPUImpl::SetBufferToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, GetActiveKernel());
  OSTRA_ASSIGN_OR_RETURN(const Data entry, GetGlobalBufferLink(attr));
  return SetLink(kernel.buffers, attrKernel, entry);
}

Result<void> ParallelProgramGPUImpl::SetBufferToActiveKernelSameId(const InternedId& attr) {
  return SetBufferToActiveKernel(attr, attr);
}

Result<void> ParallelProgramGPUImpl::SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, GetActiveKernel());
  if (!FindBufferEntry(kernel.buffers, bufferOne)) return OSTRA_ILLEGAL_ARGUMENT("buffer one could not be found");
  if (!FindBufferEntry(kernel.buffers, bufferTwo)) return OSTRA_ILLEGAL_ARGUMENT("buffer two could not be found");
  const Data one = *kernel.buffers.FindData(bufferOne);
  const Data two = *kernel.buffers.FindData(bufferTwo);
  // Both names exist, so once the first is set the second cannot fail and leave the links half exchanged.
  OSTRA_RETURN_IF_ERROR(kernel.buffers.SetData(bufferOne, two));
  return kernel.buffers.SetData(bufferTwo, one);
}

// A counter of this name that is held already is the same one; it starts at 0 again.
Result<void> ParallelProgramGPUImpl::AddAtomicCounter(const InternedId& attr, ForwardingDataPtr&&) {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_current));
  GpuCounter added;
  DrawportCounterKey key;
  key.id = attr;
  key.program = GetIdentity();
  OSTRA_ASSIGN_OR_RETURN(added.item, _current.cache->GetAtomicCounter(key));
  OSTRA_ASSIGN_OR_RETURN(added.counter, added.item->MakeValid(*_current.context));
  OSTRA_ASSIGN_OR_RETURN(const auto position, _counters.Insert(attr));
  *position.value = std::move(added);
  if (position.isNew) return OK;
  return _current.GetCommandList().SetAtomicCounterValue(*position.value->counter, 0);
}

Result<void> ParallelProgramGPUImpl::SetAtomicCounterToActiveKernel(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, GetActiveKernel());
  const GpuCounter* counter = _counters.Find(attr);
  if (!counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  OSTRA_ASSIGN_OR_RETURN(const auto position, kernel.counters.Insert(attr));
  *position.value = *counter;
  return OK;
}

Result<void> ParallelProgramGPUImpl::SetAtomicCounter(const InternedId& attr, UInt32 value) {
  const GpuCounter* counter = _counters.Find(attr);
  if (!counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  return _current.GetCommandList().SetAtomicCounterValue(*counter->counter, value);
}

Result<UInt32> ParallelProgramGPUImpl::GetAtomicCounter(const InternedId& attr) const {
  const GpuCounter* counter = _counters.Find(attr);
  if (!counter) return OSTRA_ILLEGAL_ARGUMENT("atomic identifier not found");
  return _current.GetCommandList().GetAtomicCounterValue(*counter->counter);
}

}  // namespace ostra
