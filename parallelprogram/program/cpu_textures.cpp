#include "parallelprogram/program/cpu_textures.h"

#include "ostra/core/format.h"
#include "parallelprogram/program/range_check.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {

TextureSamplerDataHelper* CpuTextures::Find(const InternedId& attr) const {
  const Data* data = _names.FindData(attr);
  TextureSamplerDataHelper* const* sampler = data ? data->GetIf<TextureSamplerDataHelper*>() : nullptr;
  return sampler ? *sampler : nullptr;
}

Result<void> CpuTextures::Update(const InternedId& attr, const TextureBindData& bindData) {
  const TextureSamplerDataHelper* sampler = Find(attr);
  if (!sampler) return OSTRA_ILLEGAL_ARGUMENT("texture sampler identifier not found");
  const SamplingData& data = sampler->_samplingData;
  if (data._dataSize != bindData._dataSize)
    return OSTRA_ILLEGAL_ARGUMENT("Size of input TextureBindData differs from the size of the stored texture.");
  if (data._dataSize > 0 && data._texels && bindData._data) MemMove(data._texels, bindData._data, data._dataSize);
  return OK;
}

Result<void> CpuTextures::Swap(const InternedId& textureOne, const InternedId& textureTwo) {
  TextureSamplerDataHelper* one = Find(textureOne);
  if (!one) return OSTRA_ILLEGAL_ARGUMENT("buffer one could not be found");
  TextureSamplerDataHelper* two = Find(textureTwo);
  if (!two) return OSTRA_ILLEGAL_ARGUMENT("buffer two could not be found");
  // Both names exist, so once the first is set the second cannot fail and leave the table half exchanged.
  OSTRA_RETURN_IF_ERROR(_names.Set(textureOne, two));
  return _names.Set(textureTwo, one);
}

void CpuTextures::Free(const TextureSamplerDataHelper* sampler) {
  SamplerNode* node = _storage.GetFirst();
  while (node && &node->sampler != sampler) node = node->GetNext();
  if (node) _storage.Free(node);
}

void CpuTextures::Reset() {
  _storage.FreeAll();
  _names.Reset();
}

Result<Data> CpuTextures::Read(const InternedId& attr) const {
  const TextureSamplerDataHelper* sampler = Find(attr);
  if (!sampler) return OSTRA_ILLEGAL_ARGUMENT("texture sampler identifier not found");
  SamplingData copy;
  OSTRA_RETURN_IF_ERROR(copy.CopyFrom(sampler->_samplingData));
  return Data::Create(std::move(copy));
}

Result<void> CpuTextures::CopyBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                                    Int sourceBytesOffset, Int targetBytesOffset) {
  const TextureSamplerDataHelper* sourceSampler = Find(sourceAttr);
  if (!sourceSampler) return OSTRA_ILLEGAL_ARGUMENT("source texture could not be found.");
  const TextureSamplerDataHelper* targetSampler = Find(targetAttr);
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

}  // namespace ostra
