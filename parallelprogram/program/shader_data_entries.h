// DataBufferEntry and TextureSamplerEntry: one buffer, and one texture with its sampler, as programs that run on the
// GPU keep them in their tables. They travel inside Data and DataDictionary.
//
//   OSTRA_ASSIGN_OR_RETURN(Data link, program->GetGlobalBufferLink("image"_iid));
//   OSTRA_ASSIGN_OR_RETURN(const DataBufferEntry& entry, link.Get<DataBufferEntry>());
//   entry._count;
//
// A copied entry is another holder of the same storage on the device. Not synchronised.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/core/format.h"
#include "ostra/drawport/handles.h"
#include "parallelprogram/textures/sampling_data.h"

namespace ostra {

struct DataBufferEntry {
  void* _data = nullptr;                          // not owned; null when no data of the host is attached
  DrawportVertexBufferItemRef _item;              // owns the storage on the device
  DrawportDeviceBuffer* _deviceBuffer = nullptr;  // what kernels bind; valid while _item is held
  Int _capacity = 0;                              // elements that there is room for
  Int _count = 0;                                 // elements
  DataType _elementType;
  InternedId _bufferId;  // the name that the buffer was made under, which a link may have another name for

  // Pointers and references are equal when they are the same.
  friend Bool operator==(const DataBufferEntry&, const DataBufferEntry&) = default;
  // Feeds the fields in their order.
  inline void WriteUniqueHash(UniqueHashStream& stream) const;
  inline UInt64 GetHashCode() const;
  // "(data,item,buffer,capacity,count,type,name)"; what is not there is "nullptr". Error: out of memory.
  inline Result<String> ToText() const;
};
static_assert(sizeof(DataBufferEntry) == 7 * 8);

struct TextureSamplerEntry {
  // Bits of _state.
  static constexpr UInt64 kWritable = 1;      // the kernel that this entry belongs to writes the texture
  static constexpr UInt64 kHasLayers = 2;     // it was given more layers than the one that the device has
  static constexpr UInt64 kIsUnfilled = 4;    // its texels could not be written, or not all of them,
  static constexpr UInt64 kLackedMemory = 8;  // because memory was exhausted

  DrawportTexture* _texture = nullptr;         // valid while _textureItem is held
  DrawportTextureSampler* _sampler = nullptr;  // valid while _samplerItem is held
  DrawportTextureItemRef _textureItem;
  DrawportTextureSamplerItemRef _samplerItem;
  SamplingData _samplingData;  // describes the texture; without texels
  UInt64 _state = 0;
  InternedId _textureId;  // the name of the texture

  TextureSamplerEntry() { _samplingData._format = TextureFormat::U8; }
  // The copy describes the same texture and has no texels, even where the source has some.
  TextureSamplerEntry(const TextureSamplerEntry& other) { *this = other; }
  TextureSamplerEntry(TextureSamplerEntry&&) noexcept = default;
  inline TextureSamplerEntry& operator=(const TextureSamplerEntry& other);
  TextureSamplerEntry& operator=(TextureSamplerEntry&&) noexcept = default;
  ~TextureSamplerEntry() = default;
};

// Here, because clients outside of the module read entries of buffers, and make entries of textures that they have from
// elsewhere.
inline void DataBufferEntry::WriteUniqueHash(UniqueHashStream& stream) const {
  const auto toWord = [](const void* pointer) { return reinterpret_cast<UInt64>(pointer); };
  stream.Write(toWord(_data));
  stream.Write(MixHash(toWord(_item.GetPointer())));
  stream.Write(toWord(_deviceBuffer));
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

inline UInt64 DataBufferEntry::GetHashCode() const {
  UniqueHashStream stream;
  WriteUniqueHash(stream);
  return stream.GetValue().low;
}

inline Result<String> DataBufferEntry::ToText() const {
  const std::string_view type = _elementType.IsPopulated() ? _elementType.GetView() : "nullptr";
  return Format("(@,@,@,@,@,@,@)", static_cast<Generic*>(_data), _item.GetPointer(), _deviceBuffer, _capacity, _count,
                type, _bufferId);
}

inline TextureSamplerEntry& TextureSamplerEntry::operator=(const TextureSamplerEntry& other) {
  if (this == &other) return *this;
  _texture = other._texture;
  _sampler = other._sampler;
  _textureItem = other._textureItem;
  _samplerItem = other._samplerItem;
  SamplingData description;
  description.CopyDescription(other._samplingData);
  _samplingData = std::move(description);
  _state = other._state;
  _textureId = other._textureId;
  return *this;
}

template <>
struct DataTypeOf<DataBufferEntry> {
  static DataType Make() {
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
};

}  // namespace ostra

OSTRA_DATATYPE(ostra::TextureSamplerEntry, "net.ostra.datatype.shaderdataentries.texturesamplerentry",
               "ostra::TextureSamplerEntry");
