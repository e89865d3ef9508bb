#include "parallelprogram/program/cpu_buffers.h"

#include "ostra/core/format.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

BufferSlot* CpuBuffers::Find(const DataDictionary& links, const InternedId& attr) {
  const Data* data = links.FindData(attr);
  BufferSlot* const* slot = data ? data->GetIf<BufferSlot*>() : nullptr;
  return slot && *slot && (*slot)->IsPopulated() ? *slot : nullptr;
}

Result<void> CpuBuffers::SetLink(DataDictionary& links, const InternedId& attr, const Data& data) {
  OSTRA_RETURN_IF_ERROR(data.Get<BufferSlot*>());
  return links.SetData(attr, data);
}

Result<Data> CpuBuffers::GetLink(const DataDictionary& links, const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, links.GetData(attr));
  OSTRA_RETURN_IF_ERROR(data.Get<BufferSlot*>());
  return data;
}

Result<void> CpuBuffers::SwapLinks(DataDictionary& links, const InternedId& one, const InternedId& two) {
  auto first = GetLink(links, one);
  if (!first) return OSTRA_ILLEGAL_ARGUMENT("buffer one could not be found");
  auto second = GetLink(links, two);
  if (!second) return OSTRA_ILLEGAL_ARGUMENT("buffer two could not be found");
  // Both names exist, so once the first is set the second cannot fail and leave the links half exchanged.
  OSTRA_RETURN_IF_ERROR(links.SetData(one, *second));
  return links.SetData(two, *first);
}

Result<void> CpuBuffers::Add(const InternedId& attr, Array<Generic> array) {
  Node* node = NewObj<Node>();
  if (!node) return OSTRA_OUT_OF_MEMORY();
  node->slot = std::move(array);
  _storage.Append(node);
  if (auto set = _names.Set(attr, &node->slot); !set) {
    _storage.Free(node);
    return set;
  }
  return OK;
}

Result<void> CpuBuffers::Create(const InternedId& attr, const DataType& dataType, Int count) {
  if (!dataType.IsPopulated() || dataType.GetSize() < 1)
    return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(dataType));
  OSTRA_RETURN_IF_ERROR(array.Resize(count, ResizeFlags::Exact));
  return Add(attr, std::move(array));
}

Result<BufferSlot&> CpuBuffers::Resize(const InternedId& attr, Int count) {
  BufferSlot* slot = Find(attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for resize could not be found");
  if (count < 1) return OSTRA_ILLEGAL_ARGUMENT("Buffer cannot be resized to 0 size.");
  OSTRA_RETURN_IF_ERROR(ResizeArray(*slot, count));
  return *slot;
}

Result<void> CpuBuffers::Store(const InternedId& attr, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, MakeBufferArray(std::move(data)));
  return Add(attr, std::move(array));
}

Result<void> CpuBuffers::Store(const InternedId& attr, const DataType& dataType, GenericBaseArray&& data) {
  GenericBaseArray elements = std::move(data);
  OSTRA_RETURN_IF_ERROR(CheckNotEmpty(elements.GetCount()));
  const DataType own = elements.GetElementType();
  if (dataType == own) {
    OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(std::move(elements)));
    return Add(attr, std::move(array));
  }
  // The caller names another type for the same bytes.
  const Bool isSameLayout =
      dataType.IsPopulated() && dataType.GetSize() == own.GetSize() && dataType.IsPlain() && own.IsPlain();
  if (!isSameLayout) return OSTRA_ILLEGAL_ARGUMENT("Values of type \"@\" cannot be stored as \"@\".", own, dataType);
  const Block<Generic> block = elements.GetBlock();
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> copy,
                         NewBaseArray(dataType, {block.GetFirst(), block.GetCount(), block.GetStride()}));
  return Add(attr, std::move(copy));
}

Result<void> CpuBuffers::Update(const InternedId& attr, Int offset, ForwardingDataPtr&& data) {
  OSTRA_ASSIGN_OR_RETURN(BufferSource source, BufferSource::FromValue(data));
  BufferSlot* slot = Find(attr);
  if (!slot) return OSTRA_ILLEGAL_ARGUMENT("buffer for update could not be found");
  const Int count = source.elements.GetCount();
  OSTRA_RETURN_IF_ERROR(CheckNotEmpty(count));
  const BufferElements target(*slot);
  if (!IsWithin(target.count, offset, count) ||
      !IsWithin(target.GetByteSize() / source.elementType.GetSize(), offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Data update does not fit into existing buffer");
  return WriteElements(target, offset, source);
}

Result<CpuBuffers::Pair> CpuBuffers::FindPair(const InternedId& sourceAttr, const InternedId& targetAttr) const {
  const BufferSlot* source = Find(sourceAttr);
  if (!source) return OSTRA_ILLEGAL_ARGUMENT("source buffer could not be found");
  const BufferSlot* target = Find(targetAttr);
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("target buffer could not be found");
  return Pair{BufferElements(*source), BufferElements(*target)};
}

Result<void> CpuBuffers::Copy(const InternedId& sourceAttr, const InternedId& targetAttr, Int count, Int sourceOffset,
                              Int targetOffset) {
  OSTRA_ASSIGN_OR_RETURN(const Pair pair, FindPair(sourceAttr, targetAttr));
  const auto& [source, target] = pair;
  if (!IsWithin(source.count, sourceOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for source buffer");
  if (!IsWithin(target.count, targetOffset, count))
    return OSTRA_ILLEGAL_ARGUMENT("count and offset out of range for target buffer");
  if (source.type != target.type) return OSTRA_ILLEGAL_ARGUMENT("Buffers have mismatching data types");
  if (count < 1) return OK;
  const auto* first = reinterpret_cast<const Generic*>(source.At(sourceOffset));
  return WriteElements(target, targetOffset, {source.type, {first, count, source.type.GetSize()}});
}

Result<void> CpuBuffers::CopyBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                   Int sourceBytesOffset, Int targetBytesOffset) {
  OSTRA_ASSIGN_OR_RETURN(const Pair pair, FindPair(sourceAttr, targetAttr));
  const auto& [source, target] = pair;
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

Result<void> CpuBuffers::EraseName(const InternedId& attr) {
  return _names.Contains(attr) ? _names.EraseData(attr) : Result<void>(OK);
}

void CpuBuffers::Reset() {
  _storage.FreeAll();
  _names.Reset();
}

}  // namespace ostra
