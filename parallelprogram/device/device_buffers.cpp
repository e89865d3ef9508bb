#include "parallelprogram/device/device_buffers.h"

#include "parallelprogram/device/buffer_transfer.h"
#include "parallelprogram/device/buffer_values.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// The names of a buffer's links: a table must not change while it is walked through.
Result<BaseArray<InternedId>> FindBufferLinks(const DataDictionary& table, const InternedId& attr,
                                              const DataBufferEntry& entry) {
  BaseArray<InternedId> names;
  for (const auto& [name, value] : table) {
    const auto* linked = value.GetIf<DataBufferEntry>();
    if (!linked || linked->_deviceBuffer != entry._deviceBuffer) continue;
    if (entry._deviceBuffer || (name == attr && *linked == entry)) OSTRA_RETURN_IF_ERROR(names.Append(name));
  }
  return names;
}

}  // namespace

Int GetElementSize(const DataBufferEntry& entry) {
  return entry._elementType.IsPopulated() ? entry._elementType.GetSize() : 0;
}

const DataBufferEntry* FindBufferEntry(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  return data ? data->GetIf<DataBufferEntry>() : nullptr;
}

// Storing the same bytes under the same name finds the same memory again, and so does creating a buffer of the same
// size: what lay there before is overwritten with zeros then.
Result<DrawportVertexBuffer*> AllocateBuffer(const DeviceOwner& owner, const InternedId& attr, Int count,
                                             const Byte* bytes, DataBufferEntry& entry,
                                             const DrawportDeviceBuffer* keep) {
  const GpuContextData& data = owner.data;
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  const Int elementSize = GetElementSize(entry);
  if (elementSize < 1) return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  Int byteCount = 0;
  if (__builtin_mul_overflow(count, elementSize, &byteCount)) return OSTRA_OUT_OF_MEMORY();
  UInt64 content = 0;
  if (bytes) {
    OSTRA_ASSIGN_OR_RETURN(content, FoldBytes(bytes, byteCount));
  }
  const DrawportResourceKey key{{MakeNameKey(attr.GetHashCode(), owner.identity), static_cast<UInt64>(count), content}};
  OSTRA_ASSIGN_OR_RETURN(DrawportVertexBufferItemRef item, data.cache->GetVertexbuffer(key));
  OSTRA_RETURN_IF_ERROR(item->SetDebugLabel(attr.GetView()));
  const Bool isUsed = item->GetSpecification().subBufferCount > 0;

  DrawportDeviceBuffer* deviceBuffer = nullptr;
  OSTRA_ASSIGN_OR_RETURN(const DrawportVertexBufferFill fill,
                         DrawportVertexBufferFill::Create([&](DrawportVertexBuffer& buffer) -> Result<void> {
                           OSTRA_ASSIGN_OR_RETURN(
                               deviceBuffer,
                               buffer.AllocSubBuffer(*data.context, DrawportSubBufferUse::General, byteCount,
                                                     data.GetCapability(DrawportCapability::SubBufferAlignment)));
                           if (!bytes && (!isUsed || deviceBuffer == keep)) return OK;
                           return UploadBytes(data, deviceBuffer, 0, bytes, byteCount, elementSize);
                         }));
  OSTRA_ASSIGN_OR_RETURN(DrawportVertexBuffer * vertexBuffer, item->MakeValid(*data.context, fill));
  entry._data = nullptr;
  entry._item = std::move(item);
  entry._deviceBuffer = deviceBuffer;
  entry._capacity = entry._count = count;
  entry._bufferId = attr;
  return vertexBuffer;
}

Result<void> CreateBuffer(const DeviceOwner& owner, DataDictionary& table, const InternedId& attr,
                          const DataType& dataType, Int count) {
  if (count < 1) return OSTRA_ILLEGAL_ARGUMENT("Empty buffers are not allowed to be added.");
  if (!dataType.IsPopulated() || dataType.GetSize() < 1)
    return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  OSTRA_RETURN_IF_ERROR(CheckDeviceType(dataType));
  const DataBufferEntry* known = FindBufferEntry(table, attr);
  DataBufferEntry entry = known ? *known : DataBufferEntry();
  entry._elementType = dataType;
  OSTRA_RETURN_IF_ERROR(AllocateBuffer(owner, attr, count, nullptr, entry));
  return table.Set(attr, std::move(entry));
}

void ChangeElementType(DataBufferEntry& entry, const DataType& type) {
  if (entry._elementType.IsPopulated() && entry._elementType.GetSize() != type.GetSize()) {
    entry._capacity = entry._capacity * entry._elementType.GetSize() / type.GetSize();
    entry._count = entry._count * entry._elementType.GetSize() / type.GetSize();
  }
  entry._elementType = type;
}

Result<Data> DownloadBuffer(const GpuContextData& data, const DataBufferEntry& entry, Int offset, Int count,
                            BufferReader reader) {
  if (entry._count == 0) return Data();
  if (count == -1) {
    offset = 0;
    count = entry._count;
  }
  if (count < 0 || !IsWithin(entry._count, offset, count))
    return OSTRA_ILLEGAL_ARGUMENT("Requested data range is out of bounds");
  const DataType type = entry._elementType;
  if (GetElementSize(entry) < 1) return OSTRA_ILLEGAL_ARGUMENT("DataType not specified or 0 size");
  OSTRA_ASSIGN_OR_RETURN(const DataType arrayType, DataType::MakeArray(type));
  OSTRA_ASSIGN_OR_RETURN(Array<Generic> array, NewBaseArray(type));
  OSTRA_RETURN_IF_ERROR(array.Resize(count, ResizeFlags::Exact));
  if (count > 0) {
    OSTRA_RETURN_IF_ERROR(DownloadBytes(data, reader, entry._deviceBuffer, offset * type.GetSize(),
                                        reinterpret_cast<Byte*>(array.GetFirstBlock().GetFirst()),
                                        count * type.GetSize(), type.GetSize()));
  }
  return Data::CreateMoved(arrayType, &array);
}

Result<void> SetBufferLink(DataDictionary& table, const InternedId& attr, const Data& data) {
  OSTRA_RETURN_IF_ERROR(data.Get<DataBufferEntry>());
  return table.SetData(attr, data);
}

Result<Data> GetBufferLink(const DataDictionary& table, const InternedId& attr) {
  if (!FindBufferEntry(table, attr)) return OSTRA_ILLEGAL_ARGUMENT("buffer identifier not found");
  return *table.FindData(attr);
}

Result<void> SwapBufferLinks(DataDictionary& table, const InternedId& one, const InternedId& two) {
  if (!FindBufferEntry(table, one)) return OSTRA_ILLEGAL_ARGUMENT("buffer one could not be found");
  if (!FindBufferEntry(table, two)) return OSTRA_ILLEGAL_ARGUMENT("buffer two could not be found");
  const Data first = *table.FindData(one);
  const Data second = *table.FindData(two);
  // Both names exist, so once the first is set the second cannot fail and leave the links half exchanged.
  OSTRA_RETURN_IF_ERROR(table.SetData(one, second));
  return table.SetData(two, first);
}

Result<void> EraseBufferLinks(DataDictionary& table, const InternedId& attr, const DataBufferEntry& entry) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<InternedId> names, FindBufferLinks(table, attr, entry));
  for (const InternedId& name : names) OSTRA_RETURN_IF_ERROR(table.EraseData(name));
  return OK;
}

Result<void> ClearBufferLinks(DataDictionary& table, const InternedId& attr, const DataBufferEntry& entry) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<InternedId> names, FindBufferLinks(table, attr, entry));
  for (const InternedId& name : names) OSTRA_RETURN_IF_ERROR(table.Set(name, DataBufferEntry()));
  return OK;
}

}  // namespace ostra
