#include "parallelprogram/program/shader_data_entries.h"

#include "ostra/core/format.h"

OSTRA_UNIT("shader_data_entries");

namespace ostra {
namespace {

UInt64 ToWord(const void* pointer) { return reinterpret_cast<UInt64>(pointer); }

}  // namespace

void DataBufferEntry::WriteUniqueHash(UniqueHashStream& stream) const {
  stream.Write(ToWord(_data));
  stream.Write(MixHash(ToWord(_item.GetPointer())));
  stream.Write(ToWord(_deviceBuffer));
  stream.Write(static_cast<UInt64>(_capacity));
  stream.Write(static_cast<UInt64>(_count));
  if (_elementType.IsPopulated())
    stream.Write(_elementType);
  else
    stream.Write(UInt64{0});
  const InternedId::UniqueHash id = _bufferId.GetUniqueHash();
  stream.Write(id.low);
  stream.Write(id.high);
}

UInt64 DataBufferEntry::GetHashCode() const {
  UniqueHashStream stream;
  WriteUniqueHash(stream);
  return stream.GetValue().low;
}

Result<String> DataBufferEntry::ToText() const {
  const std::string_view type = _elementType.IsPopulated() ? _elementType.GetView() : "nullptr";
  return Format("(@,@,@,@,@,@,@)", static_cast<Generic*>(_data), _item.GetPointer(), _deviceBuffer, _capacity, _count,
                type, _bufferId);
}

DataType DataTypeOf<DataBufferEntry>::Make() {
  DataTypeDescription description = DescribeType<DataBufferEntry>(
      "net.ostra.datatype.shaderdataentries.databufferentry"_id, "ostra::DataBufferEntry"_s);
  description.operations.uniqueHash = [](const void* value, UniqueHashStream& stream) {
    static_cast<const DataBufferEntry*>(value)->WriteUniqueHash(stream);
  };
  description.operations.toText = [](const void* value) {
    return static_cast<const DataBufferEntry*>(value)->ToText();
  };
  return DataType::FindOrRegister(description);
}

}  // namespace ostra
