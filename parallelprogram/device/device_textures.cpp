#include "parallelprogram/device/device_textures.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/texture_transfer.h"
#include "parallelprogram/textures/texture_records.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

Bool IsSame(const DrawportTextureDescription& a, const DrawportTextureDescription& b) {
  return a.type == b.type && a.format == b.format && a.isImage == b.isImage && a.extent.width == b.extent.width &&
         a.extent.height == b.extent.height && a.extent.depth == b.extent.depth;
}

Bool CanBeWritten(PixelFormatRef format, DrawportContextInterface& context) {
  const Bool isFloatingPoint = format->valueClass == PixelValueClass::FloatingPoint;
  return HasAccess(context.GetPixelFormatAccessFlags(format, isFloatingPoint),
                   DrawportPixelFormatAccess::ShaderReadWrite);
}

DrawportTextureDescription DescribeTexture(const TextureBindData& bindData, PixelFormatRef format,
                                           DrawportContextInterface& context, TextureUse use) {
  DrawportTextureDescription description;
  description.type = GetTextureType(bindData);
  description.format = format;
  const Vec3<UInt32>& size = bindData._dimensions;
  description.extent = {size.x, size.y, size.z};
  description.isImage = use == TextureUse::Written && CanBeWritten(format, context);
  return description;
}

Int GetByteSize(const DrawportTextureDescription& description) {
  const DrawportExtent& extent = description.extent;
  return extent.width * extent.height * extent.depth * description.format->GetBytesPerPixel();
}

constexpr UInt64 kFillStates = TextureSamplerEntry::kIsUnfilled | TextureSamplerEntry::kLackedMemory;

// Fills the texture of `entry`. A failed transfer is no error of the call: it is written as a diagnostic and noted in
// the entry's _state.
Result<void> MakeFilled(const GpuContextData& data, const DrawportExtent& extent, const TexelBytes& texels,
                        const InternedId& attr, TextureSamplerEntry& entry) {
  entry._state &= ~kFillStates;
  OSTRA_ASSIGN_OR_RETURN(const DrawportTextureFill fill, DrawportTextureFill::Create([&](DrawportTexture& texture) {
                           auto filled = FillTexture(data, texture, extent, texels);
                           if (filled) return;
                           const Bool isMemory = filled.GetError().GetKind() == kOutOfMemoryError;
                           entry._state |=
                               TextureSamplerEntry::kIsUnfilled | (isMemory ? TextureSamplerEntry::kLackedMemory : 0);
                           CriticalOutput("@, at attribute @", filled.GetError(), attr);
                         }));
  OSTRA_ASSIGN_OR_RETURN(entry._texture, entry._textureItem->MakeValid(*data.context, fill));
  return OK;
}

// A texture keeps its key when it gets another name: to store something under the first name again is to make another.
Bool HasOtherName(const DataDictionary& table, const InternedId& attr, const DrawportTextureItemRef& item) {
  for (const auto& [name, value] : table) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_textureItem == item && !(name == attr)) return true;
  }
  return false;
}

// The key of a texture that is no other one with its key, the `number`-th of them.
DrawportResourceKey MakeOtherKey(DrawportResourceKey key, const DrawportTextureDescription& wanted, UInt64 number) {
  key.values[1] |= static_cast<UInt64>(wanted.format - GetPixelFormats().GetFirst() + 1) << 32;
  const DrawportExtent& extent = wanted.extent;
  key.values[2] =
      AppendToKey(key.values[2], static_cast<UInt64>(extent.width) << 32 | static_cast<UInt64>(extent.height));
  key.values[2] = AppendToKey(key.values[2], static_cast<UInt64>(extent.depth));
  key.values[2] = AppendToKey(key.values[2], number);
  return key;
}

// Channels and formats are no part of the key: a texture that is still held may be of another kind.
Result<DrawportTextureItemRef> FindTextureItem(const GpuContextData& data, const DataDictionary& table,
                                               const InternedId& attr, const DrawportTextureDescription& wanted,
                                               const DrawportResourceKey& key, Bool& isNew) {
  OSTRA_ASSIGN_OR_RETURN(const DrawportTextureDescribe describe,
                         DrawportTextureDescribe::Create([&](DrawportTextureDescription& description) {
                           description = wanted;
                           isNew = true;
                         }));
  DrawportResourceKey tried = key;
  for (UInt64 number = 1;; ++number) {
    OSTRA_ASSIGN_OR_RETURN(DrawportTextureItemRef item, data.cache->GetTexture(tried, describe));
    if (isNew) return item;
    OSTRA_ASSIGN_OR_RETURN(const DrawportTexture* texture, item->MakeValid(*data.context, DrawportTextureFill()));
    if (IsSame(texture->GetDescription(), wanted) && !HasOtherName(table, attr, item)) return item;
    tried = MakeOtherKey(key, wanted, number);
  }
}

}  // namespace

const TextureSamplerEntry* FindTextureEntry(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  return data ? data->GetIf<TextureSamplerEntry>() : nullptr;
}

UInt64 GetFillState(const TextureSamplerEntry& entry, const DataDictionary& table) {
  for (const auto& [name, value] : table) {
    const auto* known = value.GetIf<TextureSamplerEntry>();
    if (known && known->_texture == entry._texture) return known->_state & kFillStates;
  }
  return entry._state & kFillStates;
}

void RaiseDimensions(TextureBindData& bindData) {
  for (UInt32* extent : {&bindData._dimensions.x, &bindData._dimensions.y, &bindData._dimensions.z})
    *extent = std::max<UInt32>(*extent, 1);
}

Result<TextureSamplerEntry> MakeTextureEntry(const GpuContextData& data, const DataDictionary& table,
                                             const InternedId& attr, const TextureBindData& bindData,
                                             const NarrowTexels& narrow, const DrawportResourceKey& key,
                                             const MakeTextureRoom& makeRoom, TextureUse use) {
  TextureSamplerEntry entry;
  OSTRA_ASSIGN_OR_RETURN(entry._samplerItem, data.cache->GetTextureSampler(MakeSamplerKey(bindData)));
  OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format, FindTextureFormat(bindData, narrow));
  OSTRA_ASSIGN_OR_RETURN(const StoredTexels stored, MakeStoredTexels(bindData, *format));
  const DrawportTextureDescription wanted = DescribeTexture(bindData, format, *data.context, use);

  Bool isNew = false;
  OSTRA_ASSIGN_OR_RETURN(entry._textureItem, FindTextureItem(data, table, attr, wanted, key, isNew));
  if (isNew && makeRoom) OSTRA_RETURN_IF_ERROR(makeRoom());
  TexelBytes texels{stored.data, stored.size};
  BaseArray<Byte> zeros;  // what a new texture has already
  if (!texels.data && !isNew) {
    OSTRA_RETURN_IF_ERROR(zeros.Resize(GetByteSize(wanted)));
    texels = {zeros.GetFirst(), zeros.GetCount()};
  }
  OSTRA_RETURN_IF_ERROR(MakeFilled(data, wanted.extent, texels, attr, entry));
  OSTRA_ASSIGN_OR_RETURN(entry._sampler, entry._samplerItem->MakeValid(*data.context));
  OSTRA_ASSIGN_OR_RETURN(entry._samplingData, BuildSamplingData(bindData, false));
  entry._samplingData._dataSize = stored.size;
  if (HasFurtherLayers(bindData, *format)) entry._state |= TextureSamplerEntry::kHasLayers;
  entry._textureId = attr;
  return entry;
}

Result<void> UpdateTexture(const GpuContextData& data, DataDictionary& table, const InternedId& attr,
                           const TextureBindData& texBindData, const NarrowTexels& narrow) {
  const TextureSamplerEntry* known = FindTextureEntry(table, attr);
  if (!known || !known->_texture || !known->_textureItem)
    return OSTRA_ILLEGAL_ARGUMENT("texture for update could not be found");
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  TextureBindData bindData = texBindData;
  RaiseDimensions(bindData);
  StoredTexels stored;
  stored.data = bindData._data;
  stored.size = std::max<Int>(bindData._dataSize, 0);
  const auto format = FindTextureFormat(bindData, narrow);
  if (format && (*format)->bitsPerChannel == known->_texture->GetDescription().format->bitsPerChannel) {
    OSTRA_ASSIGN_OR_RETURN(stored, MakeStoredTexels(bindData, **format));
  }
  TextureSamplerEntry entry = *known;
  // Links that were made before do not know of them, so that kernels are not told.
  if (format && HasFurtherLayers(bindData, **format) && (entry._state & TextureSamplerEntry::kHasLayers) == 0) {
    CriticalOutput("Textures on the GPU have one layer; further ones are left out, at attribute @", attr);
    entry._state |= TextureSamplerEntry::kHasLayers;
  }
  OSTRA_ASSIGN_OR_RETURN(entry._samplerItem, data.cache->GetTextureSampler(MakeSamplerKey(bindData)));
  OSTRA_ASSIGN_OR_RETURN(entry._sampler, entry._samplerItem->MakeValid(*data.context));
  const DrawportExtent extent{bindData._dimensions.x, bindData._dimensions.y, bindData._dimensions.z};
  OSTRA_RETURN_IF_ERROR(MakeFilled(data, extent, {stored.data, stored.size}, attr, entry));
  OSTRA_ASSIGN_OR_RETURN(entry._samplingData, BuildSamplingData(bindData, false));
  entry._samplingData._dataSize = stored.size;
  return table.Set(attr, std::move(entry));
}

Bool IsWritableEntry(const GpuContextData& data, const TextureSamplerEntry& entry) {
  const DrawportTextureDescription& description = entry._texture->GetDescription();
  return description.isImage || !CanBeWritten(description.format, *data.context);
}

Result<TextureSamplerEntry> MakeWritableEntry(const GpuContextData& data, const DataDictionary& table,
                                              const InternedId& attr, const TextureSamplerEntry& entry,
                                              const DrawportResourceKey& key) {
  DrawportTextureDescription wanted = entry._texture->GetDescription();
  wanted.isImage = true;
  BaseArray<Byte> texels;
  OSTRA_RETURN_IF_ERROR(texels.Resize(GetByteSize(wanted)));
  OSTRA_RETURN_IF_ERROR(ReadTexture(data, *entry._texture, wanted.extent, texels.GetFirst(), texels.GetCount()));
  TextureSamplerEntry writable = entry;
  Bool isNew = false;
  OSTRA_ASSIGN_OR_RETURN(writable._textureItem, FindTextureItem(data, table, attr, wanted, key, isNew));
  OSTRA_RETURN_IF_ERROR(MakeFilled(data, wanted.extent, {texels.GetFirst(), texels.GetCount()}, attr, writable));
  return writable;
}

Result<Bool> ReplaceTexture(DataDictionary& table, const DrawportTexture* from, const TextureSamplerEntry& to) {
  BaseArray<InternedId> names;
  for (const auto& [name, value] : table) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_texture == from) OSTRA_RETURN_IF_ERROR(names.Append(name));
  }
  for (const InternedId& name : names) {
    TextureSamplerEntry entry = *FindTextureEntry(table, name);
    entry._texture = to._texture;
    entry._textureItem = to._textureItem;
    entry._state = (entry._state & ~kFillStates) | (to._state & kFillStates);
    OSTRA_RETURN_IF_ERROR(table.Set(name, std::move(entry)));
  }
  return !names.IsEmpty();
}

Result<Bool> EmptyTextureLinks(DataDictionary& links, const DrawportTexture* texture, const InternedId& textureId) {
  BaseArray<InternedId> names;
  for (const auto& [name, value] : links) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_texture == texture) OSTRA_RETURN_IF_ERROR(names.Append(name));
  }
  for (const InternedId& name : names) {
    TextureSamplerEntry entry = *FindTextureEntry(links, name);
    entry._texture = nullptr;
    entry._sampler = nullptr;
    entry._textureItem = nullptr;
    entry._samplerItem = nullptr;
    entry._textureId = textureId;
    OSTRA_RETURN_IF_ERROR(links.Set(name, std::move(entry)));
  }
  return !names.IsEmpty();
}

}  // namespace ostra
