// Textures of the GPU program: storing and updating, links of kernels, deletion, reading back.
#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/texture_transfer.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

// Whether a texture is kept on the host when the device is full depends on the delete order, not on `outOfCore`.
Result<void> ParallelProgramGPUImpl::StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool) {
  RaiseDimensions(texBindData);
  return StoreTexture(attr, texBindData, nullptr);
}

Result<void> ParallelProgramGPUImpl::StoreTexture(const InternedId& attr, const TextureBindData& bindData,
                                                  const GpuKernel* kept) {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_current));
  OSTRA_ASSIGN_OR_RETURN(const DrawportResourceKey key,
                         MakeTextureKey(MakeNameKey(attr.GetHashCode(), _identity), bindData, _narrow));
  MakeTextureRoom makeRoom;
  if (g_outOfCoreParallelProgram) {
    OSTRA_ASSIGN_OR_RETURN(makeRoom, MakeTextureRoom::Create([this, &bindData, kept]() -> Result<void> {
                             OSTRA_RETURN_IF_ERROR(MakeRoom(bindData._dataSize, kept));
                             return OK;
                           }));
  }
  OSTRA_ASSIGN_OR_RETURN(TextureSamplerEntry entry,
                         MakeTextureEntry(_current, _textures, attr, bindData, _narrow, key, makeRoom));
  OSTRA_RETURN_IF_ERROR(_textures.Set(attr, std::move(entry)));
  _evictedTextures.Erase(attr);
  return OK;
}

// The caller sees that there are no texels: the record is changed.
Result<void> ParallelProgramGPUImpl::CreateTexture(const InternedId& attr, TextureBindData& texBindData) {
  texBindData._data = nullptr;
  OSTRA_RETURN_IF_ERROR(StoreTextureBindData(attr, texBindData, false));
  return _current.GetCommandList().Execute(true);
}

Result<void> ParallelProgramGPUImpl::UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) {
  return UpdateTexture(_current, _textures, attr, texBindData, _narrow);
}

Result<void> ParallelProgramGPUImpl::SetKernelTextureLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, GetActiveKernel());
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, data.Get<TextureSamplerEntry>());
  if (!kernel.textures.Contains(attr)) CriticalOutput("KernelTextureLink not set before @", attr);
  return LinkTexture(kernel.textures, attr, entry);
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
  for (const GpuKernelRef& kernel : kernels) {
    OSTRA_ASSIGN_OR_RETURN(const Bool wasLinked, EmptyTextureLinks(kernel->textures, entry->_texture, textureId));
    kernel->texturesChanged = kernel->texturesChanged || wasLinked;
  }
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
    return ReadTextureData(*entry, regionMax);
  }();
  if (!result) CriticalOutput("@, at attribute @", result.GetError(), attr);
  return result;
}

Result<Data> ParallelProgramGPUImpl::ReadTextureData(const TextureSamplerEntry& entry, const Vec3<Int32>& end) const {
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
