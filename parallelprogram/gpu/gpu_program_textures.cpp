// Textures of the GPU program, and which of them a kernel's names stand for.
#include "ostra/core/diagnostics.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

// Whether a texture is kept on the host when the device is full depends on the delete order, not on `outOfCore`.
Result<void> ParallelProgramGPUImpl::StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool) {
  RaiseDimensions(texBindData);
  return _textures.Store(_contexts, attr, texBindData);
}

// The caller sees that there are no texels: the record is changed.
Result<void> ParallelProgramGPUImpl::CreateTexture(const InternedId& attr, TextureBindData& texBindData) {
  texBindData._data = nullptr;
  OSTRA_RETURN_IF_ERROR(StoreTextureBindData(attr, texBindData, false));
  return _contexts.current.GetCommandList().Execute(true);
}

Result<void> ParallelProgramGPUImpl::UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) {
  return _textures.Update(_contexts.current, attr, texBindData);
}

Result<void> ParallelProgramGPUImpl::SetKernelTextureLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(GpuKernel & kernel, _kernels.GetActive());
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, data.Get<TextureSamplerEntry>());
  if (!kernel.textures.Contains(attr)) CriticalOutput("KernelTextureLink not set before @", attr);
  return LinkTexture(kernel.textures, attr, entry);
}

Result<void> ParallelProgramGPUImpl::SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_RETURN_IF_ERROR(_kernels.GetActive());
  OSTRA_ASSIGN_OR_RETURN(const Data entry, _textures.GetNames().GetData(attr));
  return SetKernelTextureLink(attrKernel, entry);
}

Result<void> ParallelProgramGPUImpl::SetTextureToActiveKernelSameId(const InternedId& attr) {
  return SetTextureToActiveKernel(attr, attr);
}

Result<void> ParallelProgramGPUImpl::SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) {
  return _textures.Swap(textureOne, textureTwo);
}

Result<void> ParallelProgramGPUImpl::DeleteTexture(const InternedId& textureId, Bool softDelete) {
  return _textures.Delete(textureId, softDelete);
}

Result<DrawportTextureSampler*> ParallelProgramGPUImpl::GetTextureSamplerHandle(const InternedId& attr) {
  const TextureSamplerEntry* entry = _textures.Find(attr);
  return entry ? entry->_sampler : nullptr;
}

// Others may have it written by their programs.
Result<DrawportTexture*> ParallelProgramGPUImpl::GetTextureHandle(const InternedId& attr) {
  OSTRA_RETURN_IF_ERROR(_textures.MakeWritable(_contexts, attr));
  const TextureSamplerEntry* entry = _textures.Find(attr);
  return entry ? entry->_texture : nullptr;
}

Result<DrawportTextureSamplerItemRef> ParallelProgramGPUImpl::GetTextureSamplerCacheRef(const InternedId& attr) {
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, _textures.GetNames().Get<TextureSamplerEntry>(attr));
  return entry._samplerItem;
}

Result<DrawportTextureItemRef> ParallelProgramGPUImpl::GetTextureCacheRef(const InternedId& attr) {
  OSTRA_RETURN_IF_ERROR(_textures.MakeWritable(_contexts, attr));
  OSTRA_ASSIGN_OR_RETURN(const TextureSamplerEntry& entry, _textures.GetNames().Get<TextureSamplerEntry>(attr));
  return entry._textureItem;
}

// The region begins at the origin whatever `regionMin` says.
Result<Data> ParallelProgramGPUImpl::GetTextureData(const InternedId& attr, const Vec3<Int32>&,
                                                    const Vec3<Int32>& regionMax) const {
  return _textures.Read(_contexts.current, attr, regionMax);
}

Result<void> ParallelProgramGPUImpl::CopyTextureBytes(const InternedId&, const InternedId&, Int, Int, Int) {
  return OK;
}

Result<void> ParallelProgramGPUImpl::SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>& deleteOrder) {
  return _textures.SetEvictionOrder(deleteOrder);
}

}  // namespace ostra
