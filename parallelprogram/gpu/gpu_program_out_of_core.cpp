// Out-of-core textures of the GPU program: textures that make room for others are kept on the host, and come back to
// the device when a kernel that reads them runs.
#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/gpu/gpu_program_impl.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int kMinEvicted = 0x1000000;  // bytes; smaller textures stay
constexpr Float64 kReserve = 0.1;       // of the whole memory, for everything else
constexpr Int32 kWholeTexture = 1 << 30;

Bool Holds(const GpuKernel& kernel, const DrawportTexture* texture) {
  for (const auto& [name, value] : kernel.textures) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (entry && entry->_texture == texture) return true;
  }
  return false;
}

// Of texels that were never given nothing can be kept: reading has no room for them. What was given several layers
// would come back as if it had been given one.
Bool IsWhole(const TextureSamplerEntry& entry) {
  constexpr UInt64 kIsPart = TextureSamplerEntry::kHasLayers | TextureSamplerEntry::kIsUnfilled;
  if (!entry._texture || (entry._state & kIsPart) != 0) return false;
  const DrawportTextureDescription& texture = entry._texture->GetDescription();
  const DrawportExtent& extent = texture.extent;
  return entry._samplingData._dataSize >=
         extent.width * extent.height * extent.depth * texture.format->GetBytesPerPixel();
}

}  // namespace

Bool ParallelProgramGPUImpl::IsEvictable(const InternedId& attr, const GpuKernel* kept) const {
  const TextureSamplerEntry* entry = FindTextureEntry(_textures, attr);
  return entry && entry->_samplingData._dataSize >= kMinEvicted && IsWhole(*entry) &&
         !(kept && Holds(*kept, entry->_texture));
}

// An unknown budget is no reason to evict anything.
Result<Bool> ParallelProgramGPUImpl::MakeRoom(Int bytes, const GpuKernel* kept) {
  for (Int i = 0;; ++i) {
    const auto [available, total] = GetAvailableAndTotalVRAMBudget();
    const auto reserve = static_cast<Int64>(static_cast<Float64>(total) * kReserve);
    if (total < 1 || bytes <= available - reserve) return true;
    while (i < _deleteOrder.GetCount() && !IsEvictable(_deleteOrder[i], kept)) ++i;
    if (i == _deleteOrder.GetCount()) return bytes <= available;
    OSTRA_RETURN_IF_ERROR(EvictTexture(_deleteOrder[i]));
  }
}

Result<void> ParallelProgramGPUImpl::EvictTexture(const InternedId& attr) {
  OSTRA_RETURN_IF_ERROR(_current.GetCommandList().Execute(true));
  OSTRA_ASSIGN_OR_RETURN(Data texels, GetTextureData(attr, Vec3<Int32>(0), Vec3<Int32>(kWholeTexture)));
  OSTRA_ASSIGN_OR_RETURN(const auto position, _evictedTextures.Insert(attr));
  *position.value = std::move(texels);
  const Int bytes = FindTextureEntry(_textures, attr)->_samplingData._dataSize;
  const auto [available, total] = GetAvailableAndTotalVRAMBudget();
  OSTRA_RETURN_IF_ERROR(DeleteTexture(attr, true));
  if (!std::exchange(_hasToldEviction, true))
    WarningOutput(
        "The memory of the GPU device is full, @ of @ bytes are free: the texture \"@\" of @ bytes is kept by the host "
        "until a kernel reads it, and further ones may be.",
        available, total, attr, bytes);
  return _current.cache->FreeTrashCaches(*_current.context);
}

// A texture that is linked to several parameters counts once.
Result<void> ParallelProgramGPUImpl::RestoreTextures(GpuKernel& kernel) {
  Int size = 0;
  BaseArray<InternedId> evicted;
  HashMap<UInt64, Bool> counted;
  for (const auto& [name, value] : kernel.textures) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (!entry) continue;
    const InternedId textureId = entry->_textureId.IsPopulated() ? entry->_textureId : name;
    const UInt64 identity =
        entry->_texture ? reinterpret_cast<UInt64>(entry->_texture) : MixKey(textureId.GetHashCode());
    OSTRA_ASSIGN_OR_RETURN(const auto position, counted.Insert(identity, true));
    if (!position.isNew) continue;
    if (__builtin_add_overflow(size, std::max<Int>(entry->_samplingData._dataSize, 0), &size)) size = INT64_MAX;
    if (!entry->_texture && _evictedTextures.Contains(textureId)) OSTRA_RETURN_IF_ERROR(evicted.Append(textureId));
  }
  if (size > 0) OSTRA_RETURN_IF_ERROR(MakeRoom(size, &kernel));
  for (const InternedId& attr : evicted) {
    const Data texels = *_evictedTextures.Find(attr);
    OSTRA_ASSIGN_OR_RETURN(const SamplingData& data, texels.Get<SamplingData>());
    OSTRA_RETURN_IF_ERROR(_current.GetCommandList().Execute(true));
    OSTRA_RETURN_IF_ERROR(StoreTexture(attr, MakeBindData(data), &kernel));
    OSTRA_RETURN_IF_ERROR(_current.GetCommandList().Execute(true));
  }
  return OK;
}

}  // namespace ostra
