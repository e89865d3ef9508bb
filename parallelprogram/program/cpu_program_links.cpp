// Buffer links of the CPU program: which array a name of the program or of a kernel stands for.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// Stores the buffer address held by `data`, after checking that it is one. What it points to is looked at by those who
// use the link: a place that holds no array is no buffer to them.
Result<void> SetLink(DataDictionary& table, const InternedId& attr, const Data& data) {
  OSTRA_RETURN_IF_ERROR(data.Get<BufferSlot*>());
  return table.SetData(attr, data);
}

Result<Data> GetLink(const DataDictionary& table, const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, table.GetData(attr));
  OSTRA_RETURN_IF_ERROR(data.Get<BufferSlot*>());
  return data;
}

}  // namespace

Result<void> ParallelProgramCPUImpl::SetGlobalBufferLink(const InternedId& attr, const Data& data) {
  return SetLink(_buffers, attr, data);
}

Result<Data> ParallelProgramCPUImpl::GetGlobalBufferLink(const InternedId& attr) const {
  return GetLink(_buffers, attr);
}

Result<void> ParallelProgramCPUImpl::SetKernelBufferLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  return SetLink(entry.bufferLinks, attr, data);
}

Result<Data> ParallelProgramCPUImpl::GetKernelBufferLink(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  return GetLink(entry.bufferLinks, attr);
}

// The buffer is looked up before the active kernel, so an unknown name is the first thing reported.
Result<void> ParallelProgramCPUImpl::SetBufferToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, _buffers.GetData(attr));
  return SetKernelBufferLink(attrKernel, data);
}

Result<void> ParallelProgramCPUImpl::SetBufferToActiveKernelSameId(const InternedId& attr) {
  return SetBufferToActiveKernel(attr, attr);
}

Result<void> ParallelProgramCPUImpl::SwapBuffers(const InternedId& bufferOne, const InternedId& bufferTwo) {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  auto one = GetLink(entry.bufferLinks, bufferOne);
  if (!one) return OSTRA_ILLEGAL_ARGUMENT("buffer one could not be found");
  auto two = GetLink(entry.bufferLinks, bufferTwo);
  if (!two) return OSTRA_ILLEGAL_ARGUMENT("buffer two could not be found");
  // Both names exist, so once the first is set the second cannot fail and leave the links half exchanged.
  OSTRA_RETURN_IF_ERROR(entry.bufferLinks.SetData(bufferOne, *two));
  return entry.bufferLinks.SetData(bufferTwo, *one);
}

}  // namespace ostra
