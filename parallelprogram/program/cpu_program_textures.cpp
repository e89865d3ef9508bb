// Textures of the CPU program, and links of its kernels to them.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_hand_over.h"
#include "parallelprogram/program/cpu_program_impl.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

// A link to `sampler`, whatever its name; null when there is none.
const DataDictionary::Entry* FindLink(const DataDictionary& links, const TextureSamplerDataHelper* sampler) {
  for (const DataDictionary::Entry& link : links) {
    TextureSamplerDataHelper* const* linked = link.value.GetIf<TextureSamplerDataHelper*>();
    if (linked && *linked == sampler) return &link;
  }
  return nullptr;
}

}  // namespace

Result<void> ParallelProgramCPUImpl::StoreTextureBindData(const InternedId& attr, TextureBindData& texBindData, Bool) {
  return _textures.Store(attr, texBindData);
}

// The caller sees that there are no texels: the record is changed.
Result<void> ParallelProgramCPUImpl::CreateTexture(const InternedId& attr, TextureBindData& texBindData) {
  texBindData._data = nullptr;
  return _textures.Store(attr, texBindData);
}

Result<void> ParallelProgramCPUImpl::UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) {
  return _textures.Update(attr, texBindData);
}

Result<void> ParallelProgramCPUImpl::SetKernelTextureLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(CpuKernel & kernel, _kernels.GetActive());
  OSTRA_ASSIGN_OR_RETURN(TextureSamplerDataHelper* const& sampler, data.Get<TextureSamplerDataHelper*>());
  if (!sampler) return OSTRA_ILLEGAL_ARGUMENT("The link for the kernel's texture \"@\" holds no texture.", attr);
  return kernel.textureLinks.SetData(attr, data);
}

// The texture is looked up before the active kernel, so an unknown name is the first thing reported.
Result<void> ParallelProgramCPUImpl::SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, _textures.GetLink(attr));
  return SetKernelTextureLink(attrKernel, data);
}

Result<void> ParallelProgramCPUImpl::SetTextureToActiveKernelSameId(const InternedId& attr) {
  return SetTextureToActiveKernel(attr, attr);
}

Result<void> ParallelProgramCPUImpl::SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) {
  return _textures.Swap(textureOne, textureTwo);
}

Result<void> ParallelProgramCPUImpl::DeleteTexture(const InternedId& textureId, Bool) {
  const TextureSamplerDataHelper* sampler = _textures.Find(textureId);
  if (!sampler) return OK;
  // Setting a link to what it is gives its kernel a table of its own. Erasing then takes no memory, so the texture goes
  // from everywhere or, when memory is exhausted, from nowhere.
  for (auto& [id, kernel] : _kernels.GetAll()) {
    if (const DataDictionary::Entry* link = FindLink(kernel.textureLinks, sampler))
      OSTRA_RETURN_IF_ERROR(kernel.textureLinks.SetData(link->key, Data(link->value)));
  }
  OSTRA_RETURN_IF_ERROR(_textures.EraseName(textureId));
  for (auto& [id, kernel] : _kernels.GetAll()) {
    while (const DataDictionary::Entry* link = FindLink(kernel.textureLinks, sampler))
      OSTRA_RETURN_IF_ERROR(kernel.textureLinks.EraseData(link->key));
    // The kernel may hold what it was linked to at its last update.
    CpuHandOver(kernel, id).TakeBack(sampler);
  }
  _textures.Free(sampler);
  return OK;
}

Result<Data> ParallelProgramCPUImpl::GetTextureData(const InternedId& attr, const Vec3<Int32>&,
                                                    const Vec3<Int32>&) const {
  return _textures.Read(attr);
}

Result<void> ParallelProgramCPUImpl::CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                      Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  return _textures.CopyBytes(sourceAttr, targetAttr, bytesCount, sourceBytesOffset, targetBytesOffset);
}

// There is no device on the CPU: these never have anything to do or to give.
Result<void> ParallelProgramCPUImpl::SetTextureOutOfCoreDeleteOrder(const BaseArray<InternedId>&) { return OK; }
Result<DrawportTextureSampler*> ParallelProgramCPUImpl::GetTextureSamplerHandle(const InternedId&) { return nullptr; }
Result<DrawportTexture*> ParallelProgramCPUImpl::GetTextureHandle(const InternedId&) { return nullptr; }
Result<DrawportTextureSamplerItemRef> ParallelProgramCPUImpl::GetTextureSamplerCacheRef(const InternedId&) {
  return DrawportTextureSamplerItemRef();
}
Result<DrawportTextureItemRef> ParallelProgramCPUImpl::GetTextureCacheRef(const InternedId&) {
  return DrawportTextureItemRef();
}

}  // namespace ostra
