// Buffers of the CPU program: every buffer is one contiguous array in the program's storage.
#include "ostra/core/format.h"
#include "parallelprogram/program/buffer_source.h"
#include "parallelprogram/program/cpu_program_impl.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

Int GetByteSize(const BufferSlot& slot) { return slot.GetCount() * slot.GetElementType().GetSize(); }

Byte* GetBytes(const BufferSlot& slot) { return reinterpret_cast<Byte*>(slot.GetFirstBlock().GetFirst()); }

// Writes plain bytes, whatever the target's type is; values that own something are assigned one by one and must have
// the target's type.
Result<void> WriteElements(const BufferSlot& target, Int offset, const BufferSource& source) {
  const DataType type = source.elementType;
  if (type != target.GetElementType() && !(type.IsPlain() && target.GetElementType().IsPlain()))
    return OSTRA_ILLEGAL_ARGUMENT("Values of type \"@\" cannot be written into a buffer of \"@\".", type,
                                  target.GetElementType());
  return type.Copy(GetBytes(target) + offset * type.GetSize(), type.GetSize(), source.elements.GetFirst(),
                   source.elements.GetStride(), source.elements.GetCount());
}

Result<Data> ReadRange(const BufferSlot& slot, Int offset, Int count) {
  const DataType elementType = slot.GetElementType();
  OSTRA_ASSIGN_OR_RETURN(DataType arrayType, DataType::MakeArray(elementType));
  if (count == -1) return Data::CreateCopy(arrayType, &slot);
  if (count < 0 || !IsWithin(slot.GetCount(), offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Requested data range is out of bounds");
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> part, NewBaseArray(elementType));
  OSTRA_RETURN_IF_ERROR(part.Resize(count));
  if (count > 0) {
    OSTRA_RETURN_IF_ERROR(elementType.Copy(GetBytes(part), GetBytes(slot) + offset * elementType.GetSize(), count));
  }
  return Data::CreateMoved(arrayType, &part);
}

}  // namespace

BufferSlot* ParallelProgramCPUImpl::FindBuffer(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  BufferSlot* const* slot = data ? data->GetIf<BufferSlot*>() : nullptr;
  return slot && *slot ? *slot : nullptr;
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
  return slot->Resize(count, ResizeFlags::Exact);
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
// the buffer.
Result<void> ParallelProgramCPUImpl::UpdateUniformBufferData(const InternedId& attr, Int offset,
                                                             ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(BufferSource source, BufferSource::FromValue(data));
  BufferSlot* slot = FindBuffer(_buffers, attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  const Int count = source.elements.GetCount();
  OSTRA_RETURN_IF_ERROR(CheckNotEmpty(count));
  if (!IsWithin(slot->GetCount(), offset, count) ||
      !IsWithin(GetByteSize(*slot) / source.elementType.GetSize(), offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  return WriteElements(*slot, offset, source);
}

Result<void> ParallelProgramCPUImpl::CopyBufferData(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                    Int count, Int sourceOffset, Int targetOffset) {
  const BufferSlot* source = FindBuffer(_buffers, sourceAttr);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const BufferSlot* target = FindBuffer(_buffers, targetAttr);
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  if (!IsWithin(source->GetCount(), sourceOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(target->GetCount(), targetOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  const DataType type = source->GetElementType();
  if (type != target->GetElementType()) return OSTRA_ILLEGAL_ARGUMENT("Buffers have mismatching data types");
  if (count < 1) return OK;
  return type.Copy(GetBytes(*target) + targetOffset * type.GetSize(), GetBytes(*source) + sourceOffset * type.GetSize(),
                   count);
}

Result<void> ParallelProgramCPUImpl::CopyBufferDataBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                         Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  const BufferSlot* source = FindBuffer(_buffers, sourceAttr);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const BufferSlot* target = FindBuffer(_buffers, targetAttr);
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  if (!IsWithin(GetByteSize(*source), sourceBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(GetByteSize(*target), targetBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (!source->GetElementType().IsPlain() || !target->GetElementType().IsPlain())
    return OSTRA_ILLEGAL_ARGUMENT("Bytes of \"@\" cannot be copied into a buffer of \"@\".", source->GetElementType(),
                                  target->GetElementType());
  if (bytesCount > 0) MemMove(GetBytes(*target) + targetBytesOffset, GetBytes(*source) + sourceBytesOffset, bytesCount);
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
