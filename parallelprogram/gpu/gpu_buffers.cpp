#include "parallelprogram/gpu/gpu_buffers.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "parallelprogram/device/buffer_transfer.h"
#include "parallelprogram/program/range_check.h"
#include "parallelprogram/program/recording_errors.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int kWordSize = 4;

Int GetByteSize(const DataBufferEntry& entry) { return entry._count * GetElementSize(entry); }

Float32 GetWordsPerElement(const DataBufferEntry& entry) {
  return static_cast<Float32>(GetElementSize(entry)) / static_cast<Float32>(kWordSize);
}

// Gives the entry another type of elements. Their number stays, as far as the device memory has room for them.
void TakeElementType(DataBufferEntry& entry, const DataType& type) {
  entry._elementType = type;
  if (!entry._deviceBuffer) return;
  const Int room = entry._deviceBuffer->GetSize() / type.GetSize();
  entry._capacity = std::min(entry._capacity, room);
  entry._count = std::min(entry._count, room);
}

}  // namespace

Result<void> GpuBuffers::Create(const DeviceOwner& owner, const InternedId& attr, const DataType& dataType, Int count) {
  OSTRA_RETURN_IF_ERROR(CreateBuffer(owner, _names, attr, dataType, count));
  _storedTypes.Erase(Find(attr)->_deviceBuffer);  // memory of an earlier buffer
  return OK;
}

Result<void> GpuBuffers::Resize(const DeviceOwner& owner, const InternedId& attr, Int count, Bool isForced) {
  const DataBufferEntry* known = Find(attr);
  if (!known) return OSTRA_ILLEGAL_ARGUMENT("buffer for resize could not be found");
  if (count == 0 || (count <= known->_capacity && !isForced)) return OK;
  if (count < 0) return OSTRA_ILLEGAL_ARGUMENT("Empty buffers are not allowed to be added.");
  const DataBufferEntry old = *known;
  DataBufferEntry entry = old;
  OSTRA_RETURN_IF_ERROR(AllocateBuffer(owner, attr, count, nullptr, entry, old._deviceBuffer));
  if (entry._deviceBuffer != old._deviceBuffer) {
    DeviceCopy::Range range;
    range.count = std::min(old._count, count);
    range.wordsPerElement = GetWordsPerElement(old);
    OSTRA_RETURN_IF_ERROR(CopyWords(owner.data, {old, entry}, range));
  }
  OSTRA_RETURN_IF_ERROR(KeepStoredType(old, entry));
  return _names.Set(attr, std::move(entry));
}

// Capacity and count are numbers of elements, whatever their type is from now on.
Result<void> GpuBuffers::Upload(const DeviceOwner& owner, const InternedId& attr, const UploadSource& source,
                                DataBufferEntry& entry, Bool newBuffer, Int offset) const {
  const Int capacity = entry._capacity;
  TakeElementType(entry, source.elementType);
  Int end = 0;
  const Bool isBeyond = offset < 0 || __builtin_add_overflow(offset, source.count, &end) || end > capacity;
  if (newBuffer || (isBeyond && offset == 0)) {
    OSTRA_RETURN_IF_ERROR(AllocateBuffer(owner, attr, source.count, source.bytes, entry));
    return OK;
  }
  if (isBeyond) return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  const Int elementSize = source.elementType.GetSize();
  if (entry._deviceBuffer && end * elementSize > entry._deviceBuffer->GetSize())
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  entry._count = std::max(entry._count, end);
  return UploadBytes(owner.data, entry._deviceBuffer, offset * elementSize, source.bytes, source.GetByteCount(),
                     elementSize);
}

Result<void> GpuBuffers::Store(const DeviceOwner& owner, const InternedId& attr, const UploadSource& source) {
  const DataBufferEntry* known = Find(attr);
  DataBufferEntry entry = known ? *known : DataBufferEntry();
  OSTRA_RETURN_IF_ERROR(Upload(owner, attr, source, entry, true, 0));
  _storedTypes.Erase(entry._deviceBuffer);  // memory of an earlier buffer
  return _names.Set(attr, std::move(entry));
}

Result<void> GpuBuffers::Update(const DeviceOwner& owner, const InternedId& attr, Int offset,
                                const ForwardingDataPtr& data) {
  const DataBufferEntry* known = Find(attr);
  if (!known) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  OSTRA_ASSIGN_OR_RETURN(const UploadSource source, UploadSource::FromValue(data));
  DataBufferEntry entry = *known;
  OSTRA_RETURN_IF_ERROR(Upload(owner, attr, source, entry, false, offset));
  if (entry == *known) return OK;
  OSTRA_RETURN_IF_ERROR(KeepStoredType(*known, entry));
  return _names.Set(attr, std::move(entry));
}

DataType GpuBuffers::GetStoredType(const DataBufferEntry& entry) const {
  const DataType* stored = _storedTypes.Find(entry._deviceBuffer);
  return stored ? *stored : entry._elementType;
}

Result<void> GpuBuffers::KeepStoredType(const DataBufferEntry& before, const DataBufferEntry& after) {
  const DataType type = GetStoredType(before);
  _storedTypes.Erase(after._deviceBuffer);
  if (type == after._elementType) return OK;
  OSTRA_ASSIGN_OR_RETURN(const auto kept, _storedTypes.Insert(after._deviceBuffer));
  *kept.value = type;
  return OK;
}

Result<GpuBuffers::Pair> GpuBuffers::FindPair(const InternedId& sourceAttr, const InternedId& targetAttr) const {
  const DataBufferEntry* source = Find(sourceAttr);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const DataBufferEntry* target = Find(targetAttr);
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  return Pair{*source, *target};
}

Result<void> GpuBuffers::CopyWords(const GpuContextData& data, const Pair& pair, const DeviceCopy::Range& range) {
  if (DeviceCopy::GetWordCount(range) == 0) return OK;
  if (!pair.source._deviceBuffer || !pair.target._deviceBuffer)
    return OSTRA_ILLEGAL_STATE("no device buffer found to copy data into");
  if (_recordings.IsOpen()) return recording_errors::MakeNoCopies();
  return _copyKernel.Run(data, *pair.source._deviceBuffer, *pair.target._deviceBuffer, range);
}

Result<void> GpuBuffers::Copy(const GpuContextData& data, const InternedId& sourceAttr, const InternedId& targetAttr,
                              Int count, Int sourceOffset, Int targetOffset) {
  OSTRA_ASSIGN_OR_RETURN(const Pair pair, FindPair(sourceAttr, targetAttr));
  const auto& [source, target] = pair;
  if (source._elementType != target._elementType) return OSTRA_ILLEGAL_ARGUMENT("Buffers have mismatching data types");
  if (!IsWithin(source._count, sourceOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(target._count, targetOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (count < 1) return OK;
  DeviceCopy::Range range{count, sourceOffset, targetOffset, 1};
  range.wordsPerElement = GetWordsPerElement(source);
  return CopyWords(data, pair, range);
}

Result<void> GpuBuffers::CopyBytes(const GpuContextData& data, const InternedId& sourceAttr,
                                   const InternedId& targetAttr, Int bytesCount, Int sourceBytesOffset,
                                   Int targetBytesOffset) {
  OSTRA_ASSIGN_OR_RETURN(const Pair pair, FindPair(sourceAttr, targetAttr));
  const auto& [source, target] = pair;
  if (!IsWithin(GetByteSize(source), sourceBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(GetByteSize(target), targetBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (GetElementSize(source) % 2 != 0)
    return OSTRA_ILLEGAL_ARGUMENT("source buffer datatype's size must be a multiple of 16 bits");
  if (GetElementSize(target) % 2 != 0)
    return OSTRA_ILLEGAL_ARGUMENT("target buffer datatype's size must be a multiple of 16 bits");
  if (bytesCount < kWordSize) return OK;
  return CopyWords(data, pair,
                   {bytesCount / kWordSize, sourceBytesOffset / kWordSize, targetBytesOffset / kWordSize, 1});
}

Result<void> GpuBuffers::Erase(const InternedId& attr) {
  if (const DataBufferEntry* entry = Find(attr)) _storedTypes.Erase(entry->_deviceBuffer);
  return _names.EraseData(attr);
}

void GpuBuffers::Reset() {
  _copyKernel.Reset();
  _names.Reset();
  _storedTypes.Reset();
}

}  // namespace ostra
