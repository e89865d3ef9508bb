// Textures of the GPU program: storing and updating, links of kernels, deletion, reading back.
#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/gpu/cache_keys.h"
#include "parallelprogram/gpu/gpu_program_impl.h"
#include "parallelprogram/gpu/texture_transfer.h"
#include "parallelprogram/module/configuration_variables.h"
#include "parallelprogram/textures/texture_records.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

Bool IsSame(const DrawportTextureDescription& a, const DrawportTextureDescription& b) {
  return a.type == b.type && a.format == b.format && a.isImage == b.isImage && a.extent.width == b.extent.width &&
         a.extent.height == b.extent.height && a.extent.depth == b.extent.depth;
}

DrawportTextureDescription DescribeTexture(const TextureBindData& bindData, PixelFormatRef format,
                                           DrawportContextInterface& context) {
  DrawportTextureDescription description;
  description.type = GetTextureType(bindData);
  description.format = format;
  const Vec3<UInt32>& size = bindData._dimensions;
  description.extent = {size.x, size.y, size.z};
  const Bool isFloatingPoint = format->valueClass == PixelValueClass::FloatingPoint;
  description.isImage =
      HasAccess(context.GetPixelFormatAccessFlags(format, isFloatingPoint), DrawportPixelFormatAccess::ShaderReadWrite);
  return description;
}

Int GetByteSize(const DrawportTextureDescription& description) {
  const DrawportExtent& extent = description.extent;
  return extent.width * extent.height * extent.depth * description.format->GetBytesPerPixel();
}

// Fills an item's texture. What fails in that does not fail the call: it is written as a diagnostic.
Result<DrawportTexture*> MakeFilled(const GpuContextData& data, DrawportTextureItemInterface& item,
                                    const TexelBytes& texels, const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const DrawportTextureFill fill, DrawportTextureFill::Create([&](DrawportTexture& texture) {
                           if (auto filled = FillTexture(data, texture, texels); !filled)
                             CriticalOutput("@, at attribute @", filled.GetError(), attr);
                         }));
  return item.MakeValid(*data.context, fill);
}

// Takes the texture out of the kernel's entries, which keep its description and name.
Result<void> EmptyLinks(GpuKernel& kernel, const DrawportTexture* texture, const InternedId& textureId) {
  BaseArray<InternedId> names;
  for (const auto& [name, value] : kernel.textures) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_texture == texture) OSTRA_RETURN_IF_ERROR(names.Append(name));
  }
  for (const InternedId& name : names) {
    TextureSamplerEntry entry = *FindTextureEntry(kernel.textures, name);
    entry._texture = nullptr;
    entry._sampler = nullptr;
    entry._textureItem = nullptr;
    entry._samplerItem = nullptr;
    entry._textureId = textureId;
    OSTRA_RETURN_IF_ERROR(kernel.textures.Set(name, std::move(entry)));
    kernel.texturesChanged = true;
  }
  return OK;
}

}  // namespace

const TextureSamplerEntry* FindTextureEntry(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  return data ? data->GetIf<TextureSamplerEntry>() : nullptr;
}

// Whether a texture is kept on the host when the device is full depends on the delete order, not on `outOfCore`.
Result<void> ParallelProgramGPUImpl::StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool) {
  for (UInt32* extent : {&texBindData._dimensions.x, &texBindData._dimensions.y, &texBindData._dimensions.z})
    *extent = std::max<UInt32>(*extent, 1);
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_current));
  if (g_outOfCoreParallelProgram) OSTRA_RETURN_IF_ERROR(MakeRoom(texBindData._dataSize, nullptr));
  OSTRA_ASSIGN_OR_RETURN(TextureSamplerEntry entry, MakeTextureEntry(attr, texBindData));
  OSTRA_RETURN_IF_ERROR(_textures.Set(attr, std::move(entry)));
  _evictedTextures.Erase(attr);
  return OK;
}

Result<TextureSamplerEntry> ParallelProgramGPUImpl::MakeTextureEntry(const InternedId& attr,
                                                                     TextureBindData& bindData) const {
  DrawportContextInterface& context = *_current.context;
  TextureSamplerEntry entry;
  OSTRA_ASSIGN_OR_RETURN(entry._samplerItem, _current.cache->GetTextureSampler(MakeSamplerKey(bindData)));
  OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format, FindTextureFormat(bindData, _narrow));
  OSTRA_ASSIGN_OR_RETURN(const StoredTexels stored, MakeStoredTexels(bindData, *format));
  const DrawportTextureDescription wanted = DescribeTexture(bindData, format, context);
  OSTRA_ASSIGN_OR_RETURN(DrawportResourceKey key,
                         MakeTextureKey(MakeNameKey(attr.GetHashCode(), GetIdentity()), bindData, _narrow));

  Bool isNew = false;
  OSTRA_ASSIGN_OR_RETURN(const DrawportTextureDescribe describe,
                         DrawportTextureDescribe::Create([&](DrawportTextureDescription& description) {
                           description = wanted;
                           isNew = true;
                         }));
  OSTRA_ASSIGN_OR_RETURN(entry._textureItem, _current.cache->GetTexture(key, describe));
  const TexelBytes texels{stored.data, stored.size};
  if (isNew) {
    OSTRA_ASSIGN_OR_RETURN(entry._texture, MakeFilled(_current, *entry._textureItem, texels, attr));
  } else {
    OSTRA_ASSIGN_OR_RETURN(entry._texture, entry._textureItem->MakeValid(context, DrawportTextureFill()));
    // Channels and formats are no part of the key: a texture that is still held may be of another kind.
    if (!IsSame(entry._texture->GetDescription(), wanted)) {
      key.values[1] |= static_cast<UInt64>(format - GetPixelFormats().GetFirst() + 1) << 32;
      key.values[2] = AppendToKey(
          key.values[2], static_cast<UInt64>(wanted.extent.width) << 32 | static_cast<UInt64>(wanted.extent.height));
      OSTRA_ASSIGN_OR_RETURN(entry._textureItem, _current.cache->GetTexture(key, describe));
    }
    BaseArray<Byte> zeros;
    if (!texels.data && !isNew) OSTRA_RETURN_IF_ERROR(zeros.Resize(GetByteSize(wanted)));
    const TexelBytes fill = texels.data ? texels : TexelBytes{zeros.GetFirst(), zeros.GetCount()};
    OSTRA_ASSIGN_OR_RETURN(entry._texture, MakeFilled(_current, *entry._textureItem, fill, attr));
  }
  OSTRA_ASSIGN_OR_RETURN(entry._sampler, entry._samplerItem->MakeValid(context));
  OSTRA_ASSIGN_OR_RETURN(entry._samplingData, BuildSamplingData(bindData, false));
  entry._samplingData._dataSize = stored.size;
  entry._textureId = attr;
  return entry;
}

// The caller sees that there are no texels: the record is changed.
Result<void> ParallelProgramGPUImpl::CreateTexture(const InternedId& attr, TextureBindData& texBindData) {
  texBindData._data = nullptr;
  OSTRA_RETURN_IF_ERROR(StoreTextureBindData(attr, texBindData, false));
  return _current.GetCommandList().Execute(true);
}

Result<void> ParallelProgramGPUImpl::UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) {
  const TextureSamplerEntry* known = FindTextureEntry(_textures, attr);
  if (!known || !known->_textureItem) return OSTRA_ILLEGAL_ARGUMENT("texture for update could not be found");
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_current));
  TextureBindData bindData = texBindData;
  for (UInt32* extent : {&bindData._dimensions.x, &bindData._dimensions.y, &bindData._dimensions.z})
    *extent = std::max<UInt32>(*extent, 1);
  OSTRA_ASSIGN_OR_RETURN(const PixelFormatRef format, FindTextureFormat(bindData, _narrow));
  if (!IsSame(known->_texture->GetDescription(), DescribeTexture(bindData, format, *_current.context)))
    return OSTRA_ILLEGAL_ARGUMENT("Size of input TextureBindData differs from the size of the stored texture.");
  OSTRA_ASSIGN_OR_RETURN(const StoredTexels stored, MakeStoredTexels(bindData, *format));
  TextureSamplerEntry entry = *known;
  OSTRA_ASSIGN_OR_RETURN(entry._texture, MakeFilled(_current, *entry._textureItem, {stored.data, stored.size}, attr));
  OSTRA_ASSIGN_OR_RETURN(entry._samplingData, BuildSamplingData(bindData, false));
  entry._samplingData._dataSize = stored.size;
  return _textures.Set(attr, std::move(entry));
}

Result<void> ParallelProgramGPUImpl::LinkTexture(GpuKernel& kernel, const InternedId& attr,
                                                 const TextureSamplerEntry& entry) {
  const TextureSamplerEntry* known = FindTextureEntry(kernel.textures, attr);
  TextureSamplerEntry link = entry;
  link._state = known ? known->_state : 0;  // whether this kernel writes the texture
  return kernel.textures.Set(attr, std::move(link));
}

Result<void> ParallelProgramGPUImpl::SetKernelTextureLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, GetActiveKernel());
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, data.Get<TextureSamplerEntry>());
  if (!kernel.textures.Contains(attr)) CriticalOutput("KernelTextureLink not set before @", attr);
  return LinkTexture(kernel, attr, entry);
}

Result<void> ParallelProgramGPUImpl::SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_RETURN_IF_ERROR(GetActiveKernel());
  OSTRA_ASSIGN_OR_RETURN(const Data entry, _textures.GetData(attr));
  return SetKernelTextureLink(attrKernel, entry);
}

Result<void> ParallelProgramGPUImpl::SetTextureToActiveKernelSameId(const InternedId& attr) {
  return SetTextureToActiveKernel(attr, attr);
}

Result<void> ParallelProgramGPUImpl::SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) {
  const Data* one = _textures.FindData(textureOne);
  if (!one) return OSTRA_ILLEGAL_ARGUMENT("texture one could not be found");
  const Data* two = _textures.FindData(textureTwo);
  if (!two) return OSTRA_ILLEGAL_ARGUMENT("texture two could not be found");
  const Data first = *one;
  const Data second = *two;
  // Both names exist, so once the first is set the second cannot fail and leave the table half exchanged.
  OSTRA_RETURN_IF_ERROR(_textures.SetData(textureOne, second));
  return _textures.SetData(textureTwo, first);
}

Result<void> ParallelProgramGPUImpl::DeleteTexture(const InternedId& textureId, Bool softDelete) {
  if (g_outOfCoreParallelProgram && !softDelete) _evictedTextures.Erase(textureId);
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, textureId);
  if (!entry) return OK;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, GetKernels());
  for (const GpuKernelRef& kernel : kernels) OSTRA_RETURN_IF_ERROR(EmptyLinks(*kernel, entry->_texture, textureId));
  return _textures.EraseData(textureId);
}

Result<DrawportTextureSampler*> ParallelProgramGPUImpl::GetTextureSamplerHandle(const InternedId& attr) {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
  return entry ? entry->_sampler : nullptr;
}

Result<DrawportTexture*> ParallelProgramGPUImpl::GetTextureHandle(const InternedId& attr) {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
  return entry ? entry->_texture : nullptr;
}

Result<DrawportTextureSamplerItemRef> ParallelProgramGPUImpl::GetTextureSamplerCacheRef(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, _textures.Get<TextureSamplerEntry>(attr));
  return entry._samplerItem;
}

Result<DrawportTextureItemRef> ParallelProgramGPUImpl::GetTextureCacheRef(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, _textures.Get<TextureSamplerEntry>(attr));
  return entry._textureItem;
}

// The region begins at the origin whatever `regionMin` says.
Result<Data> ParallelProgramGPUImpl::GetTextureData(const InternedId& attr, const Vec3<Int32>&,
                                                    const Vec3<Int32>& regionMax) const {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
  if (g_outOfCoreParallelProgram && !entry) {
    if (const Data* evicted = _evictedTextures.Find(attr)) return *evicted;
    DebugStop("Stop");
  }
  auto result = [&]() -> Result<Data> {
    OSTRA_RETURN_IF_ERROR(_textures.GetData(attr));
    return ReadTextureData(attr, *entry, regionMax);
  }();
  if (!result) CriticalOutput("@, at attribute @", result.GetError(), attr);
  return result;
}

Result<Data> ParallelProgramGPUImpl::ReadTextureData(const InternedId&, const TextureSamplerEntry& entry,
                                                     const Vec3<Int32>& end) const {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_current));
  if (!entry._texture) return OSTRA_ILLEGAL_STATE("The texture is not on the device.");
  const DrawportTextureDescription& description = entry._texture->GetDescription();
  const auto clip = [](Int extent, Int32 limit) { return std::clamp<Int>(limit, 0, extent); };
  const DrawportExtent extent{clip(description.extent.width, end.x), clip(description.extent.height, end.y),
                              clip(description.extent.depth, end.z)};
  TextureSamplerEntry copy = entry;
  SamplingData& data = copy._samplingData;
  data._dimensions = Vec3<UInt32>(static_cast<UInt32>(extent.width), static_cast<UInt32>(extent.height),
                                  static_cast<UInt32>(extent.depth));
  const Int bytes = extent.width * extent.height * extent.depth * description.format->GetBytesPerPixel();
  data._dataSize = std::min<Int>(data._dataSize, bytes);
  OSTRA_RETURN_IF_ERROR(data.AllocateTexels(false));
  if (bytes > 0) OSTRA_RETURN_IF_ERROR(ReadTexture(_current, *entry._texture, extent, data._texels, data._dataSize));
  return Data::Create(std::move(data));
}

Result<void> ParallelProgramGPUImpl::CopyTextureBytes(const InternedId&, const InternedId&, Int, Int, Int) {
  return OK;
}

Result<void> ParallelProgramGPUImpl::SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>& deleteOrder) {
  return _deleteOrder.CopyFrom(deleteOrder);
}

}  // namespace ostra
