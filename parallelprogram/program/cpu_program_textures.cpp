// Textures of the CPU program: sampler objects with a copy of the texels, and links of kernels to them.
#include "ostra/core/format.h"
#include "parallelprogram/program/cpu_program_impl.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

TextureSamplerDataHelper* FindSampler(const DataDictionary& table, const InternedId& attr) {
  const Data* data = table.FindData(attr);
  TextureSamplerDataHelper* const* sampler = data ? data->GetIf<TextureSamplerDataHelper*>() : nullptr;
  return sampler ? *sampler : nullptr;
}

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
  return StoreTexture(_samplerStorage, _textures, attr, texBindData);
}

// The caller sees that there are no texels: the record is changed.
Result<void> ParallelProgramCPUImpl::CreateTexture(const InternedId& attr, TextureBindData& texBindData) {
  texBindData._data = nullptr;
  return StoreTextureBindData(attr, texBindData, false);
}

Result<void> ParallelProgramCPUImpl::UpdateTextureBindData(const InternedId& attr, const TextureBindData& texBindData) {
  const TextureSamplerDataHelper* sampler = FindSampler(_textures, attr);
  if (!sampler) return OSTRA_ILLEGAL_ARGUMENT("texture sampler identifier not found");
  const SamplingData& data = sampler->_samplingData;
  if (data._dataSize != texBindData._dataSize)
    return OSTRA_ILLEGAL_ARGUMENT("Size of input TextureBindData differs from the size of the stored texture.");
  if (data._dataSize > 0 && data._texels && texBindData._data) MemMove(data._texels, texBindData._data, data._dataSize);
  return OK;
}

Result<void> ParallelProgramCPUImpl::SetKernelTextureLink(const InternedId& attr, const Data& data) {
  OSTRA_ASSIGN_OR_RETURN(KernelEntry & entry, GetActiveKernel());
  OSTRA_ASSIGN_OR_RETURN(TextureSamplerDataHelper* const& sampler, data.Get<TextureSamplerDataHelper*>());
  if (!sampler) return OSTRA_ILLEGAL_ARGUMENT("The link for the kernel's texture \"@\" holds no texture.", attr);
  return entry.textureLinks.SetData(attr, data);
}

// The texture is looked up before the active kernel, so an unknown name is the first thing reported.
Result<void> ParallelProgramCPUImpl::SetTextureToActiveKernel(const InternedId& attr, const InternedId& attrKernel) {
  OSTRA_ASSIGN_OR_RETURN(const Data& data, _textures.GetData(attr));
  return SetKernelTextureLink(attrKernel, data);
}

Result<void> ParallelProgramCPUImpl::SetTextureToActiveKernelSameId(const InternedId& attr) {
  return SetTextureToActiveKernel(attr, attr);
}

Result<void> ParallelProgramCPUImpl::SwapTextures(const InternedId& textureOne, const InternedId& textureTwo) {
  TextureSamplerDataHelper* one = FindSampler(_textures, textureOne);
  if (!one) return OSTRA_ILLEGAL_ARGUMENT("buffer one could not be found");
  TextureSamplerDataHelper* two = FindSampler(_textures, textureTwo);
  if (!two) return OSTRA_ILLEGAL_ARGUMENT("buffer two could not be found");
  // Both names exist, so once the first is set the second cannot fail and leave the table half exchanged.
  OSTRA_RETURN_IF_ERROR(_textures.Set(textureOne, two));
  return _textures.Set(textureTwo, one);
}

Result<void> ParallelProgramCPUImpl::DeleteTexture(const InternedId& textureId, Bool) {
  const TextureSamplerDataHelper* sampler = FindSampler(_textures, textureId);
  if (!sampler) return OK;
  // Setting a link to what it is gives its kernel a table of its own. Erasing then takes no memory, so the texture goes
  // from everywhere or, when memory is exhausted, from nowhere.
  for (auto& [id, entry] : _kernels) {
    if (const DataDictionary::Entry* link = FindLink(entry.textureLinks, sampler))
      OSTRA_RETURN_IF_ERROR(entry.textureLinks.SetData(link->key, Data(link->value)));
  }
  OSTRA_RETURN_IF_ERROR(_textures.EraseData(textureId));
  for (auto& [id, entry] : _kernels) {
    while (const DataDictionary::Entry* link = FindLink(entry.textureLinks, sampler))
      OSTRA_RETURN_IF_ERROR(entry.textureLinks.EraseData(link->key));
  }
  // Kernels may hold what they were linked to at their last update.
  TakeBackEverywhere(sampler);
  SamplerNode* node = _samplerStorage.GetFirst();
  while (node && &node->sampler != sampler) node = node->GetNext();
  if (node) _samplerStorage.Free(node);
  return OK;
}

Result<Data> ParallelProgramCPUImpl::GetTextureData(const InternedId& attr, const Vec3<Int32>&,
                                                    const Vec3<Int32>&) const {
  const TextureSamplerDataHelper* sampler = FindSampler(_textures, attr);
  if (!sampler) return OSTRA_ILLEGAL_ARGUMENT("texture sampler identifier not found");
  SamplingData copy;
  OSTRA_RETURN_IF_ERROR(copy.CopyFrom(sampler->_samplingData));
  return Data::Create(std::move(copy));
}

Result<void> ParallelProgramCPUImpl::CopyTextureBytes(const InternedId& sourceAttr, const InternedId& targetAttr,
                                                      Int bytesCount, Int sourceBytesOffset, Int targetBytesOffset) {
  const TextureSamplerDataHelper* sourceSampler = FindSampler(_textures, sourceAttr);
  if (!sourceSampler) return OSTRA_ILLEGAL_ARGUMENT("source texture could not be found.");
  const TextureSamplerDataHelper* targetSampler = FindSampler(_textures, targetAttr);
  if (!targetSampler) return OSTRA_ILLEGAL_ARGUMENT("target texture could not be found.");
  const SamplingData& source = sourceSampler->_samplingData;
  const SamplingData& target = targetSampler->_samplingData;
  if (bytesCount < 0) {
    if (source._dataSize != target._dataSize)
      return OSTRA_ILLEGAL_ARGUMENT("If bytesCount is negative, both textures should be of the same size.");
    bytesCount = source._dataSize;
    sourceBytesOffset = targetBytesOffset = 0;
  }
  if (!IsWithin(source._dataSize, sourceBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("bytesCount + sourceBytesOffset is larger than source texture size.");
  if (!IsWithin(target._dataSize, targetBytesOffset, bytesCount))
    return OSTRA_ILLEGAL_ARGUMENT("bytesCount + targetBytesOffset is larger than target texture size.");
  if (bytesCount > 0 && source._texels && target._texels)
    MemMove(target._texels + targetBytesOffset, source._texels + sourceBytesOffset, bytesCount);
  return OK;
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
