// Buffers of the GPU program: creating, resizing, storing, updating, copying and reading.
#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/gpu/buffer_transfer.h"
#include "parallelprogram/gpu/cache_keys.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int kWordSize = 4;

Int GetByteSize(const DataBufferEntry& entry) {
  return entry._elementType.IsPopulated() ? entry._count * entry._elementType.GetSize() : 0;
}

// Elements of another size count the same bytes.
void ChangeElementType(DataBufferEntry& entry, const DataType& type) {
  if (entry._elementType.IsPopulated() && entry._elementType.GetSize() != type.GetSize()) {
    entry._capacity = entry._capacity * entry._elementType.GetSize() / type.GetSize();
    entry._count = entry._count * entry._elementType.GetSize() / type.GetSize();
  }
  entry._elementType = type;
}

}  // namespace

const DataBufferEntry* FindBufferEntry(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  return data ? data->GetIf<DataBufferEntry>() : nullptr;
}

// Storing the same bytes under the same name finds the same memory again, and so does creating a buffer of the same
// size: what lay there before is overwritten with zeros then.
Result<void> ParallelProgramGPUImpl::AllocateBuffer(const InternedId& attr, Int count, const Byte* bytes,
                                                    DataBufferEntry& entry, const DrawportDeviceBuffer* keep) const {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_current));
  const Int elementSize = entry._elementType.GetSize();
  Int byteCount = 0;
  if (__builtin_mul_overflow(count, elementSize, &byteCount)) return OSTRA_OUT_OF_MEMORY();
  UInt64 content = 0;
  if (bytes) {
    OSTRA_ASSIGN_OR_RETURN(content, FoldBytes(bytes, byteCount));
  }
  const DrawportResourceKey key{{MakeNameKey(attr.GetHashCode(), GetIdentity()), static_cast<UInt64>(count), content}};
  OSTRA_ASSIGN_OR_RETURN(DrawportVertexBufferItemRef item, _current.cache->GetVertexbuffer(key));
  OSTRA_RETURN_IF_ERROR(item->SetDebugLabel(attr.GetView()));
  const Bool isUsed = item->GetSpecification().subBufferCount > 0;

  DrawportDeviceBuffer* deviceBuffer = nullptr;
  OSTRA_ASSIGN_OR_RETURN(const DrawportVertexBufferFill fill,
                         DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
                           OSTRA_ASSIGN_OR_RETURN(
                               deviceBuffer,
                               buffer.AllocSubBuffer(*_current.context, DrawportSubBufferUse::General, byteCount,
                                                     _current.GetCapability(DrawportCapability::SubBufferAlignment)));
                           if (!bytes && (!isUsed || deviceBuffer == keep)) return OK;
                           return UploadBytes(_current, deviceBuffer, 0, bytes, byteCount, elementSize);
                         }));
  OSTRA_RETURN_IF_ERROR(item->MakeValid(*_current.context, fill));
  entry._item = std::move(item);
  entry._deviceBuffer = deviceBuffer;
  entry._capacity = entry._count = count;
  entry._bufferId = attr;
  return OK;
}

Result<void> ParallelProgramGPUImpl::CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) {
  if (count < 1) return OSTRA_ILLEGAL_ARGUMENT("Empty buffers are not allowed to be added.");
  if (!dataType.IsPopulated() || dataType.GetSize() < 1)
    return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  OSTRA_RETURN_IF_ERROR(CheckDeviceType(dataType));
  const DataBufferEntry* known = FindBufferEntry(_buffers, attr);
  DataBufferEntry entry = known ? *known : DataBufferEntry();
  entry._elementType = dataType;
  OSTRA_RETURN_IF_ERROR(AllocateBuffer(attr, count, nullptr, entry));
  return _buffers.Set(attr, std::move(entry));
}

Result<void> ParallelProgramGPUImpl::ResizeUniformBuffer(const InternedId& attr, Int count, Bool forceResize) {
  const DataBufferEntry* known = FindBufferEntry(_buffers, attr);
  if (!known) return OSTRA_ILLEGAL_ARGUMENT("buffer for resize could not be found");
  if (count == 0 || (count <= known->_capacity && !forceResize)) return OK;
  if (count < 0) return OSTRA_ILLEGAL_ARGUMENT("Empty buffers are not allowed to be added.");
  const DataBufferEntry old = *known;
  DataBufferEntry entry = old;
  OSTRA_RETURN_IF_ERROR(AllocateBuffer(attr, count, nullptr, entry, old._deviceBuffer));
  if (entry._deviceBuffer != old._deviceBuffer) {
    DeviceCopy::Range range;
    range.count = std::min(old._count, count);
    range.wordsPerElement = static_cast<Float32>(old._elementType.GetSize()) / static_cast<Float32>(kWordSize);
    OSTRA_RETURN_IF_ERROR(CopyWords(old, entry, range));
  }
  return _buffers.Set(attr, std::move(entry));
}

Result<void> ParallelProgramGPUImpl::Upload(const InternedId& attr, const UploadSource& source, DataBufferEntry& entry,
                                            Bool newBuffer, Int offset) const {
  ChangeElementType(entry, source.elementType);
  Int end = 0;
  const Bool isBeyond = offset < 0 || __builtin_add_overflow(offset, source.count, &end) || end > entry._capacity;
  if (newBuffer || (isBeyond && offset == 0)) return AllocateBuffer(attr, source.count, source.bytes, entry);
  if (isBeyond) return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  const Int elementSize = source.elementType.GetSize();
  if (entry._deviceBuffer && end * elementSize > entry._deviceBuffer->GetSize())
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  entry._count = std::max(entry._count, end);
  return UploadBytes(_current, entry._deviceBuffer, offset * elementSize, source.bytes, source.GetByteCount(),
                     elementSize);
}

Result<void> ParallelProgramGPUImpl::Store(const InternedId& attr, const UploadSource& source) {
  const DataBufferEntry* known = FindBufferEntry(_buffers, attr);
  DataBufferEntry entry = known ? *known : DataBufferEntry();
  OSTRA_RETURN_IF_ERROR(Upload(attr, source, entry, true, 0));
  return _buffers.Set(attr, std::move(entry));
}

Result<void> ParallelProgramGPUImpl::StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromValue(data));
  return Store(attr, source);
}

Result<void> ParallelProgramGPUImpl::StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                                            GenericBaseArray&& data) {
  const GenericBaseArray elements = std::move(data);
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromBytes(dataType, elements));
  return Store(attr, source);
}

// Data that is longer than the buffer replaces it; data that would end behind it does not fit.
Result<void> ParallelProgramGPUImpl::UpdateUniformBufferData(const InternedId& attr, Int offset,
                                                             ForwardingDataPtr&& data) {
  const DataBufferEntry* known = FindBufferEntry(_buffers, attr);
  if (!known) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromValue(data));
  DataBufferEntry entry = *known;
  OSTRA_RETURN_IF_ERROR(Upload(attr, source, entry, false, offset));
  return entry == *known ? Result<void>(OK) : _buffers.Set(attr, std::move(entry));
}

Result<void> ParallelProgramGPUImpl::CopyWords(const DataBufferEntry& source, const DataBufferEntry& target,
                                               const DeviceCopy::Range& range) {
  if (!source._deviceBuffer || !target._deviceBuffer)
    return OSTRA_ILLEGAL_STATE("no device buffer found to copy data into");
  return _copyKernel.Run(_current, *source._deviceBuffer, *target._deviceBuffer, range);
}

Result<void> ParallelProgramGPUImpl::CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                    Int count, Int sourceOffset, Int targetOffset) {
  const DataBufferEntry* source = FindBufferEntry(_buffers, sourceAttr);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const DataBufferEntry* target = FindBufferEntry(_buffers, targetAttr);
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  if (source->_elementType != target->_elementType)
    return OSTRA_ILLEGAL_ARGUMENT("Buffers have mismatching data types");
  if (!IsWithin(source->_count, sourceOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(target->_count, targetOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (count < 1) return OK;
  DeviceCopy::Range range{count, sourceOffset, targetOffset, 1};
  range.wordsPerElement = static_cast<Float32>(source->_elementType.GetSize()) / static_cast<Float32>(kWordSize);
  return CopyWords(*source, *target, range);
}

// Whole words are copied: up to three bytes at the end, and of each offset, are left out.
Result<void> ParallelProgramGPUImpl::CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                         Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  const DataBufferEntry* source = FindBufferEntry(_buffers, sourceAttr);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const DataBufferEntry* target = FindBufferEntry(_buffers, targetAttr);
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  if (!IsWithin(GetByteSize(*source), sourceBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(GetByteSize(*target), targetBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (source->_elementType.GetSize() % 2 != 0)
    return OSTRA_ILLEGAL_ARGUMENT("source buffer datatype's size must be a multiple of 16 bits");
  if (target->_elementType.GetSize() % 2 != 0)
    return OSTRA_ILLEGAL_ARGUMENT("target buffer datatype's size must be a multiple of 16 bits");
  if (bytesCount < kWordSize) return OK;
  return CopyWords(*source, *target,
                   {bytesCount / kWordSize, sourceBytesOffset / kWordSize, targetBytesOffset / kWordSize, 1});
}

Result<void> ParallelProgramGPUImpl::DeleteUniformBuffer(const InternedId& bufferId) {
  const DataBufferEntry* entry = FindBufferEntry(_buffers, bufferId);
  if (!entry) return OK;
  const DrawportDeviceBuffer* deviceBuffer = entry->_deviceBuffer;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, GetKernels());
  for (const GpuKernelRef& kernel : kernels) {
    BaseArray<InternedId> names;
    for (const auto& [name, value] : kernel->buffers) {
      const auto* linked = value.GetIf<DataBufferEntry>();
      if (linked && linked->_deviceBuffer == deviceBuffer) OSTRA_RETURN_IF_ERROR(names.Append(name));
    }
    for (const InternedId& name : names) OSTRA_RETURN_IF_ERROR(kernel->buffers.EraseData(name));
  }
  return _buffers.EraseData(bufferId);
}

Result<Data> ParallelProgramGPUImpl::Download(const DataBufferEntry& entry, Int offset, Int count) const {
  if (entry._count == 0) return Data();
  if (count == -1) {
    offset = 0;
    count = entry._count;
  }
  if (count < 0 || !IsWithin(entry._count, offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Requested data range is out of bounds");
  const DataType type = entry._elementType;
  OSTRA_ASSIGN_OR_RETURN(const DataType arrayType, DataType::MakeArray(type));
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(type));
  OSTRA_RETURN_IF_ERROR(array.Resize(count, ResizeFlags::Exact));
  if (count > 0) {
    OSTRA_RETURN_IF_ERROR(DownloadBytes(_current, entry._deviceBuffer, offset * type.GetSize(),
                                        reinterpret_cast<Byte*>(array.GetFirstBlock().GetFirst()),
                                        count * type.GetSize(), type.GetSize()));
  }
  return Data::CreateMoved(arrayType, &array);
}

Result<Data> ParallelProgramGPUImpl::GetGlobalBufferData(const InternedId& attr) const {
  return GetGlobalBufferData(attr, 0, -1);
}

Result<Data> ParallelProgramGPUImpl::GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const {
  const DataBufferEntry* entry = FindBufferEntry(_buffers, attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return Download(*entry, offset, count);
}

Result<Data> ParallelProgramGPUImpl::GetKernelBufferData(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(const GpuKernel& kernel, GetActiveKernel());
  const DataBufferEntry* entry = FindBufferEntry(kernel.buffers, attr);
  if (!entry) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return Download(*entry, 0, -1);
}

}  // namespace ostra
