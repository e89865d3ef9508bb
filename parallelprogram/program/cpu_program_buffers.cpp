// Buffers of the CPU program: every buffer is one contiguous array in the program's storage.
#include <algorithm>
#include <functional>

#include "ostra/core/format.h"
#include "parallelprogram/program/buffer_source.h"
#include "parallelprogram/program/cpu_program_impl.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// The elements of a buffer that methods and kernels reach: those in its first piece of memory. The program's own arrays
// have no other. One that a client links may be in pieces or have gaps; what lies behind them is out of range.
struct Elements {
  explicit Elements(const BufferSlot& slot) : type(slot.GetElementType()) {
    const Block<Generic> block = slot.GetFirstBlock();
    first = reinterpret_cast<Byte*>(block.GetFirst());
    count = block.GetStride() == type.GetSize() ? block.GetCount() : std::min(block.GetCount(), Int{1});
  }
  Byte* At(Int index) const { return first + index * type.GetSize(); }
  Int GetByteSize() const { return count * type.GetSize(); }

  DataType type;
  Byte* first = nullptr;
  Int count = 0;
};

// Whether a byte of `elements`, which are `elementSize` bytes each, is one of the `byteCount` bytes at `place`.
Bool DoOverlap(const Block<const Generic>& elements, Int elementSize, const Byte* place, Int byteCount) {
  const auto* first = reinterpret_cast<const Byte*>(elements.GetFirst());
  const auto* last = first + (elements.GetCount() - 1) * elements.GetStride();
  const std::less<> isBefore;
  return isBefore(std::min(first, last, isBefore), place + byteCount) &&
         isBefore(place, std::max(first, last, isBefore) + elementSize);
}

// Writes plain bytes, whatever the target's type is. Values that own something must have the target's type; they are
// copied before the first is assigned, so that a copy that fails changes nothing. The source may be part of the target.
Result<void> WriteElements(const Elements& target, Int offset, const BufferSource& source) {
  const DataType type = source.elementType;
  const Int size = type.GetSize();
  const Int count = source.elements.GetCount();
  if (type != target.type && !(type.IsPlain() && target.type.IsPlain()))
    return OSTRA_ILLEGAL_ARGUMENT("Values of type \"@\" cannot be written into a buffer of \"@\".", type, target.type);
  Byte* place = target.first + offset * size;
  const Bool isMemoryMove = source.elements.GetStride() == size;
  if (type.IsPlain() && (isMemoryMove || !DoOverlap(source.elements, size, place, count * size)))
    return type.Copy(place, size, source.elements.GetFirst(), source.elements.GetStride(), count);
  OSTRA_ASSIGN_OR_RETURN(GenericBaseArray copies, GenericBaseArray::CreateCopy(type, source.elements));
  if (type.IsPlain()) return type.Copy(place, copies.GetFirst(), count);
  type.Move(place, copies.GetFirst(), count);
  return OK;
}

Result<Data> ReadRange(const BufferSlot& slot, Int offset, Int count) {
  const Elements elements(slot);
  OSTRA_ASSIGN_OR_RETURN(DataType arrayType, DataType::MakeArray(elements.type));
  if (count == -1) return Data::CreateCopy(arrayType, &slot);
  if (count < 0 || !IsWithin(elements.count, offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Requested data range is out of bounds");
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> part, NewBaseArray(elements.type));
  OSTRA_RETURN_IF_ERROR(part.Resize(count));
  if (count > 0) OSTRA_RETURN_IF_ERROR(elements.type.Copy(Elements(part).first, elements.At(offset), count));
  return Data::CreateMoved(arrayType, &part);
}

// A shared array stays where it is until its resized copy is there: on error the buffer shares what it shared, and
// blocks that kernels hold stay valid.
Result<void> ResizeArray(BufferSlot& slot, Int count) {
  if (slot.GetReference()->IsUnique()) return slot.Resize(count, ResizeFlags::Exact);
  OSTRA_ASSIGN_OR_RETURN(StrongRef<ArrayInterface> copy, slot.GetReference()->Clone());
  OSTRA_RETURN_IF_ERROR(copy->Resize(count, ResizeFlags::Exact));
  slot = BufferSlot(std::move(copy));
  return OK;
}

}  // namespace

BufferSlot* ParallelProgramCPUImpl::FindBuffer(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  BufferSlot* const* slot = data ? data->GetIf<BufferSlot*>() : nullptr;
  return slot && *slot && (*slot)->IsPopulated() ? *slot : nullptr;
}

Result<void> ParallelProgramCPUImpl::AddBuffer(const InternedId& attr, Array<Generic> array) {
  BufferNode* node = NewObj<BufferNode>();
  if (!node) return OSTRA_OUT_OF_MEMORY();
  node->slot = std::move(array);
  _bufferStorage.Append(node);
  if (auto set = _buffers.Set(attr, &node->slot); !set) {
    _bufferStorage.Free(node);
    return set;
  }
  return OK;
}

Result<void> ParallelProgramCPUImpl::CreateUniformBuffer(const InternedId& attr, const DataType& dataType, Int count) {
  if (!dataType.IsPopulated() || dataType.GetSize() < 1)
    return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(dataType));
  OSTRA_RETURN_IF_ERROR(array.Resize(count, ResizeFlags::Exact));
  return AddBuffer(attr, std::move(array));
}

Result<void> ParallelProgramCPUImpl::ResizeUniformBuffer(const InternedId& attr, Int count, Bool) {
  BufferSlot* slot = FindBuffer(_buffers, attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for resize could not be found");
  if (count < 1) return OSTRA_ILLEGAL_ARGUMENT("Buffer cannot be resized to 0 size.");
  OSTRA_RETURN_IF_ERROR(ResizeArray(*slot, count));
  HandOverResized(*slot);
  return OK;
}

Result<void> ParallelProgramCPUImpl::StoreUniformBufferData(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, MakeBufferArray(std::move(data)));
  return AddBuffer(attr, std::move(array));
}

Result<void> ParallelProgramCPUImpl::StoreUniformBufferData(const InternedId& attr, const DataType& dataType,
                                                            GenericBaseArray&& data) {
  GenericBaseArray elements = std::move(data);
  OSTRA_RETURN_IF_ERROR(CheckNotEmpty(elements.GetCount()));
  const DataType own = elements.GetElementType();
  if (dataType == own) {
    OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(std::move(elements)));
    return AddBuffer(attr, std::move(array));
  }
  // The caller names another type for the same bytes.
  const Bool isSameLayout =
      dataType.IsPopulated() && dataType.GetSize() == own.GetSize() && dataType.IsPlain() && own.IsPlain();
  if (!isSameLayout) return OSTRA_ILLEGAL_ARGUMENT("Values of type \"@\" cannot be stored as \"@\".", own, dataType);
  const Block<Generic> block = elements.GetBlock();
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> copy,
                         NewBaseArray(dataType, {block.GetFirst(), block.GetCount(), block.GetStride()}));
  return AddBuffer(attr, std::move(copy));
}

// The data's own element size counts, not the buffer's: an update of another type writes raw bytes. It never leaves
// the buffer, and may come from it.
Result<void> ParallelProgramCPUImpl::UpdateUniformBufferData(const InternedId& attr, Int offset,
                                                             ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(BufferSource source, BufferSource::FromValue(data));
  BufferSlot* slot = FindBuffer(_buffers, attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  const Int count = source.elements.GetCount();
  OSTRA_RETURN_IF_ERROR(CheckNotEmpty(count));
  const Elements target(*slot);
  if (!IsWithin(target.count, offset, count) ||
      !IsWithin(target.GetByteSize() / source.elementType.GetSize(), offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  return WriteElements(target, offset, source);
}

Result<void> ParallelProgramCPUImpl::CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                    Int count, Int sourceOffset, Int targetOffset) {
  OSTRA_RETURN_IF_ERROR(CheckNotRecording());
  const BufferSlot* sourceSlot = FindBuffer(_buffers, sourceAttr);
  if (!sourceSlot) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const BufferSlot* targetSlot = FindBuffer(_buffers, targetAttr);
  if (!targetSlot) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  const Elements source(*sourceSlot);
  const Elements target(*targetSlot);
  if (!IsWithin(source.count, sourceOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(target.count, targetOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (source.type != target.type) return OSTRA_ILLEGAL_ARGUMENT("Buffers have mismatching data types");
  if (count < 1) return OK;
  const auto* first = reinterpret_cast<const Generic*>(source.At(sourceOffset));
  return WriteElements(target, targetOffset, {source.type, {first, count, source.type.GetSize()}});
}

Result<void> ParallelProgramCPUImpl::CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                         Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  OSTRA_RETURN_IF_ERROR(CheckNotRecording());
  const BufferSlot* sourceSlot = FindBuffer(_buffers, sourceAttr);
  if (!sourceSlot) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const BufferSlot* targetSlot = FindBuffer(_buffers, targetAttr);
  if (!targetSlot) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  const Elements source(*sourceSlot);
  const Elements target(*targetSlot);
  if (!IsWithin(source.GetByteSize(), sourceBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(target.GetByteSize(), targetBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (bytesCount < 1) return OK;
  if (!source.type.IsPlain() || !target.type.IsPlain())
    return OSTRA_ILLEGAL_ARGUMENT("Bytes of \"@\" cannot be copied into a buffer of \"@\".", source.type, target.type);
  MemMove(target.first + targetBytesOffset, source.first + sourceBytesOffset, bytesCount);
  return OK;
}

Result<void> ParallelProgramCPUImpl::DeleteUniformBuffer(const InternedId& bufferId) {
  return _buffers.Contains(bufferId) ? _buffers.EraseData(bufferId) : Result<void>(OK);
}

Result<Data> ParallelProgramCPUImpl::GetGlobalBufferData(const InternedId& attr) const {
  return GetGlobalBufferData(attr, 0, -1);
}

Result<Data> ParallelProgramCPUImpl::GetGlobalBufferData(const InternedId& attr, Int offset, Int count) const {
  const BufferSlot* slot = FindBuffer(_buffers, attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return ReadRange(*slot, offset, count);
}

Result<Data> ParallelProgramCPUImpl::GetKernelBufferData(const InternedId& attr) const {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  const BufferSlot* slot = FindBuffer(entry.bufferLinks, attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return ReadRange(*slot, 0, -1);
}

}  // namespace ostra
