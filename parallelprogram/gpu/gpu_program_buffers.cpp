// Buffers of the GPU program: creating, resizing, storing, updating, copying and reading.
#include "ostra/core/format.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/gpu/running_call.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<void> ParallelProgramGPUImpl::CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) {
  return _buffers.Create(_contexts.GetOwner(), attr, dataType, count);
}

Result<void> ParallelProgramGPUImpl::ResizeUniformBuffer(const InternedId& attr, Int count, Bool forceResize) {
  return _buffers.Resize(_contexts.GetOwner(), attr, count, forceResize);
}

Result<void> ParallelProgramGPUImpl::StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromValue(data));
  return _buffers.Store(_contexts.GetOwner(), attr, source);
}

Result<void> ParallelProgramGPUImpl::StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                                            GenericBaseArray&& data) {
  const GenericBaseArray elements = std::move(data);
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromBytes(dataType, elements));
  return _buffers.Store(_contexts.GetOwner(), attr, source);
}

Result<void> ParallelProgramGPUImpl::UpdateUniformBufferData(const InternedId& attr, Int offset,
                                                             ForwardingDataPtr&& data) {
  return _buffers.Update(_contexts.GetOwner(), attr, offset, data);
}

Result<void> ParallelProgramGPUImpl::CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                    Int count, Int sourceOffset, Int targetOffset) {
  return _buffers.Copy(_contexts.current, sourceAttr, targetAttr, count, sourceOffset, targetOffset);
}

Result<void> ParallelProgramGPUImpl::CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                         Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  return _buffers.CopyBytes(_contexts.current, sourceAttr, targetAttr, bytesCount, sourceBytesOffset,
                            targetBytesOffset);
}

Result<void> ParallelProgramGPUImpl::DeleteUniformBuffer(const InternedId& bufferId) {
  const DataBufferEntry* known = _buffers.Find(bufferId);
  if (!known) return OK;
  const DataBufferEntry entry = *known;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, _kernels.GetAll());
  for (const GpuKernelRef& kernel : kernels) OSTRA_RETURN_IF_ERROR(ClearBufferLinks(kernel->buffers, bufferId, entry));
  return _buffers.Erase(bufferId);
}

Result<Data> ParallelProgramGPUImpl::GetGlobalBufferData(const InternedId& attr) const {
  return GetGlobalBufferData(attr, 0, -1);
}

Result<Data> ParallelProgramGPUImpl::GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const {
  const RunningCall call;
  const DataBufferEntry* entry = _buffers.Find(attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return DownloadBuffer(_contexts.current, *entry, offset, count, BufferReader::GpuProgram);
}

Result<Data> ParallelProgramGPUImpl::GetKernelBufferData(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernel& kernel, _kernels.GetActive());
  const DataBufferEntry* entry = FindBufferEntry(kernel.buffers, attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return DownloadBuffer(_contexts.current, *entry, 0, -1, BufferReader::GpuProgram);
}

}  // namespace ostra
