// Out-of-core textures of the GPU program: textures that make room for others are kept on the host, and come back to
// the device when a kernel that reads them runs.
#include <limits>

#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int kSmallestEvicted = 0x1000000;  // bytes; smaller textures stay
constexpr Float64 kReserve = 0.1;            // of the whole memory, for everything else
constexpr Int32 kWholeTexture = 1 << 30;

Bool Holds(const GpuKernel& kernel, const DrawportTexture* texture) {
  for (const auto& [name, value] : kernel.textures) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_texture == texture) return true;
  }
  return false;
}

}  // namespace

Result<Bool> ParallelProgramGPUImpl::MakeRoom(Int bytes, const GpuKernel* spared) {
  Int64 available = GetAvailableAndTotalVRAMBudget().first;
  const auto fits = [&](Int64 total) {
    const auto reserve = static_cast<Int64>(static_cast<Float64>(total) * kReserve);
    return reserve + bytes <= available;
  };
  for (Int i = 0; !fits(GetAvailableAndTotalVRAMBudget().second) && i < _deleteOrder.GetCount(); ++i) {
    const InternedId attr = _deleteOrder[i];
    const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
    if (!entry || entry->_samplingData._dataSize < kSmallestEvicted) continue;
    if (spared && Holds(*spared, entry->_texture)) continue;
    OSTRA_RETURN_IF_ERROR(EvictTexture(attr));
    available = GetAvailableAndTotalVRAMBudget().first;
  }
  return bytes <= available;
}

Result<void> ParallelProgramGPUImpl::EvictTexture(const InternedId& attr) {
  OSTRA_RETURN_IF_ERROR(_current.GetCommandList().Execute(true));
  OSTRA_ASSIGN_OR_RETURN(Data texels, GetTextureData(attr, Vec3<Int32>(0), Vec3<Int32>(kWholeTexture)));
  OSTRA_ASSIGN_OR_RETURN(const auto position, _evictedTextures.Insert(attr));
  *position.value = std::move(texels);
  OSTRA_RETURN_IF_ERROR(DeleteTexture(attr, true));
  return _current.cache->FreeTrashCaches(*_current.context);
}

Result<void> ParallelProgramGPUImpl::RestoreTextures(GpuKernel& kernel) {
  Int size = 0;
  BaseArray<InternedId> evicted;
  for (const auto& [name, value] : kernel.textures) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (!entry) continue;
    size += entry->_samplingData._dataSize;
    const InternedId textureId = entry->_textureId.IsPopulated() ? entry->_textureId : name;
    if (!entry->_texture && _evictedTextures.Contains(textureId)) OSTRA_RETURN_IF_ERROR(evicted.Append(textureId));
  }
  if (size > 0) OSTRA_RETURN_IF_ERROR(MakeRoom(size, &kernel));
  for (const InternedId& attr : evicted) {
    const Data* stored = _evictedTextures.Find(attr);
    if (!stored) continue;  // two parameters of one texture
    const Data texels = *stored;
    OSTRA_ASSIGN_OR_RETURN(const SamplingData& data, texels.Get<SamplingData>());
    OSTRA_RETURN_IF_ERROR(_current.GetCommandList().Execute(true));
    TextureBindData bindData = MakeBindData(data);
    OSTRA_RETURN_IF_ERROR(StoreTextureBindData(attr, bindData, true));
    OSTRA_RETURN_IF_ERROR(_current.GetCommandList().Execute(true));
  }
  return OK;
}

}  // namespace ostra
