#include "parallelprogram/gpu/gpu_textures.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/texture_transfer.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

constexpr Int kMinEvicted = 0x1000000;   // bytes; smaller textures stay
constexpr Float64 kReserve = 0.1;        // of the whole memory, for everything else
constexpr UInt64 kReadOnlyKey = 0x526F;  // tells keys of read-only textures from those of others
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

// SamplingData with the texels of a texture on the device, from the origin up to `end`.
Result<Data> ReadEntry(const GpuContextData& context, const TextureSamplerEntry& entry, const Vec3<Int32>& end) {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(context));
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
  if (bytes > 0) OSTRA_RETURN_IF_ERROR(ReadTexture(context, *entry._texture, extent, data._texels, data._dataSize));
  return Data::Create(std::move(data));
}

// The textures that a kernel reads: what they take, and which of them are on the host alone.
struct TextureNeeds {
  Int bytes = 0;
  BaseArray<InternedId> evicted;
};

// A texture that is linked to several parameters counts once.
Result<TextureNeeds> FindNeeds(const GpuKernel& kernel, const HashMap<InternedId, Data>& allEvicted) {
  TextureNeeds needs;
  HashMap<UInt64, Bool> counted;
  for (const auto& [name, value] : kernel.textures) {
    const auto* entry = value.GetIf<TextureSamplerEntry>();
    if (!entry) continue;
    const InternedId textureId = entry->_textureId.IsPopulated() ? entry->_textureId : name;
    const UInt64 identity =
        entry->_texture ? reinterpret_cast<UInt64>(entry->_texture) : MixKey(textureId.GetHashCode());
    OSTRA_ASSIGN_OR_RETURN(const auto position, counted.Insert(identity, true));
    if (!position.isNew) continue;
    const Int bytes = std::max<Int>(entry->_samplingData._dataSize, 0);
    if (__builtin_add_overflow(needs.bytes, bytes, &needs.bytes)) needs.bytes = INT64_MAX;
    if (!entry->_texture && allEvicted.Contains(textureId)) OSTRA_RETURN_IF_ERROR(needs.evicted.Append(textureId));
  }
  return needs;
}

}  // namespace

VideoMemoryBudget GetMemoryBudget(const GpuContextData& data) {
  return data.context ? data.context->GetAvailableAndTotalVRAMBudget() : VideoMemoryBudget{0, 0};
}

Result<void> GpuTextures::Store(const GpuContexts& contexts, const InternedId& attr, const TextureBindData& bindData) {
  return Store(contexts, attr, bindData, nullptr);
}

Result<void> GpuTextures::Store(const GpuContexts& contexts, const InternedId& attr, const TextureBindData& bindData,
                                const GpuKernel* kept) {
  OSTRA_RETURN_IF_ERROR(CheckHasContext(contexts.current));
  OSTRA_ASSIGN_OR_RETURN(const DrawportResourceKey key,
                         MakeTextureKey(MakeNameKey(attr.GetHashCode(), contexts.identity), bindData, _narrow));
  MakeTextureRoom makeRoom;
  if (g_outOfCoreParallelProgram) {
    OSTRA_ASSIGN_OR_RETURN(makeRoom, MakeTextureRoom::Create([this, &contexts, &bindData, kept]() -> Result<void> {
                             OSTRA_RETURN_IF_ERROR(MakeRoom(contexts, bindData._dataSize, kept));
                             return OK;
                           }));
  }
  const Bool isReadOnly = bindData._data && bindData._dataSize > 0 && !_written.Contains(attr);
  DrawportResourceKey ownKey = key;
  if (isReadOnly) ownKey.values[2] = AppendToKey(key.values[2], kReadOnlyKey);
  OSTRA_ASSIGN_OR_RETURN(TextureSamplerEntry entry,
                         MakeTextureEntry(contexts.current, _names, attr, bindData, _narrow, ownKey, makeRoom,
                                          isReadOnly ? TextureUse::ReadOnly : TextureUse::Written));
  if (const TextureSamplerEntry* const before = Find(attr)) _readOnlyKeys.Erase(before->_texture);
  if (isReadOnly) {
    OSTRA_ASSIGN_OR_RETURN(const auto known, _readOnlyKeys.Insert(entry._texture));
    *known.value = key;
  }
  OSTRA_RETURN_IF_ERROR(_names.Set(attr, std::move(entry)));
  _evicted.Erase(attr);
  return OK;
}

Result<void> GpuTextures::Update(const GpuContextData& data, const InternedId& attr, const TextureBindData& bindData) {
  return UpdateTexture(data, _names, attr, bindData, _narrow);
}

Result<void> GpuTextures::MakeWritable(const GpuContexts& contexts, const DrawportTexture* texture) {
  for (const auto& [name, value] : _names) {
    const auto* known = value.GetIf<TextureSamplerEntry>();
    if (known && known->_texture == texture) return MakeWritable(contexts, InternedId(name));
  }
  return OK;
}

Result<void> GpuTextures::MakeWritable(const GpuContexts& contexts, const InternedId& attr) {
  const TextureSamplerEntry* const entry = Find(attr);
  if (!contexts.current.context || !entry || !entry->_texture || IsWritableEntry(contexts.current, *entry)) return OK;
  constexpr UInt64 kIsRefused = TextureSamplerEntry::kIsUnfilled | TextureSamplerEntry::kLackedMemory;
  const DrawportResourceKey* const key = _readOnlyKeys.Find(entry->_texture);
  if (!key || (entry->_state & kIsRefused) != 0) return OK;  // the binder says so
  OSTRA_RETURN_IF_ERROR(_written.Insert(attr, true));
  auto writable = MakeWritableEntry(contexts.current, _names, attr, *entry, *key);
  const Bool lacksMemory = !writable && writable.GetError().GetKind() == kOutOfMemoryError;
  if (lacksMemory && IsWhole(*entry)) return MakeWritableByHost(contexts, attr);
  if (!writable) return writable.TakeError();
  const DrawportTexture* const before = entry->_texture;
  _readOnlyKeys.Erase(before);
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, _kernels.GetAll());
  for (const GpuKernelRef& kernel : kernels) {
    OSTRA_ASSIGN_OR_RETURN(const Bool wasLinked, ReplaceTexture(kernel->textures, before, *writable));
    kernel->needsUpdate = kernel->needsUpdate || wasLinked;
  }
  OSTRA_RETURN_IF_ERROR(ReplaceTexture(_names, before, *writable));
  return OK;
}

Result<void> GpuTextures::MakeWritableByHost(const GpuContexts& contexts, const InternedId& attr) {
  const GpuContextData& data = contexts.current;
  OSTRA_ASSIGN_OR_RETURN(const Data texels, Read(data, attr, Vec3<Int32>(kWholeTexture)));
  OSTRA_ASSIGN_OR_RETURN(const SamplingData& record, texels.Get<SamplingData>());
  const DrawportTexture* const before = Find(attr)->_texture;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, _kernels.GetAll());
  for (const GpuKernelRef& kernel : kernels) kernel->needsUpdate = kernel->needsUpdate || Holds(*kernel, before);
  OSTRA_RETURN_IF_ERROR(Delete(attr, true));
  OSTRA_RETURN_IF_ERROR(data.cache->FreeTrashCaches(*data.context));
  return Store(contexts, attr, MakeBindData(record));
}

Result<void> GpuTextures::Swap(const InternedId& one, const InternedId& two) {
  const Data* oneEntry = _names.FindData(one);
  if (!oneEntry) return OSTRA_ILLEGAL_ARGUMENT("texture one could not be found");
  const Data* twoEntry = _names.FindData(two);
  if (!twoEntry) return OSTRA_ILLEGAL_ARGUMENT("texture two could not be found");
  const Data first = *oneEntry;
  const Data second = *twoEntry;
  // Both names exist, so once the first is set the second cannot fail and leave the table half exchanged.
  OSTRA_RETURN_IF_ERROR(_names.SetData(one, second));
  return _names.SetData(two, first);
}

Result<void> GpuTextures::Delete(const InternedId& attr, Bool isKept) {
  if (g_outOfCoreParallelProgram && !isKept) _evicted.Erase(attr);
  const TextureSamplerEntry* entry = Find(attr);
  if (!entry) return OK;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GpuKernelRef> kernels, _kernels.GetAll());
  for (const GpuKernelRef& kernel : kernels) {
    OSTRA_ASSIGN_OR_RETURN(const Bool wasLinked, EmptyTextureLinks(kernel->textures, entry->_texture, attr));
    kernel->texturesChanged = kernel->texturesChanged || wasLinked;
  }
  _readOnlyKeys.Erase(entry->_texture);
  return _names.EraseData(attr);
}

Result<Data> GpuTextures::Read(const GpuContextData& data, const InternedId& attr, const Vec3<Int32>& end) const {
  const TextureSamplerEntry* entry = Find(attr);
  if (g_outOfCoreParallelProgram && !entry) {
    if (const Data* evicted = _evicted.Find(attr)) return *evicted;
    DebugStop("Stop");
  }
  auto result = [&]() -> Result<Data> {
    OSTRA_RETURN_IF_ERROR(_names.GetData(attr));
    return ReadEntry(data, *entry, end);
  }();
  if (!result) CriticalOutput("@, at attribute @", result.GetError(), attr);
  return result;
}

Bool GpuTextures::IsEvictable(const InternedId& attr, const GpuKernel* kept) const {
  const TextureSamplerEntry* entry = Find(attr);
  return entry && entry->_samplingData._dataSize >= kMinEvicted && IsWhole(*entry) &&
         !(kept && Holds(*kept, entry->_texture));
}

// An unknown budget is no reason to evict anything.
Result<Bool> GpuTextures::MakeRoom(const GpuContexts& contexts, Int bytes, const GpuKernel* kept) {
  for (Int i = 0;; ++i) {
    const auto [available, total] = GetMemoryBudget(contexts.previous);
    const auto reserve = static_cast<Int64>(static_cast<Float64>(total) * kReserve);
    if (total < 1 || bytes <= available - reserve) return true;
    while (i < _evictionOrder.GetCount() && !IsEvictable(_evictionOrder[i], kept)) ++i;
    if (i == _evictionOrder.GetCount()) return bytes <= available;
    OSTRA_RETURN_IF_ERROR(Evict(contexts, _evictionOrder[i]));
  }
}

Result<void> GpuTextures::Evict(const GpuContexts& contexts, const InternedId& attr) {
  const GpuContextData& data = contexts.current;
  OSTRA_RETURN_IF_ERROR(data.GetCommandList().Execute(true));
  OSTRA_ASSIGN_OR_RETURN(Data texels, Read(data, attr, Vec3<Int32>(kWholeTexture)));
  OSTRA_ASSIGN_OR_RETURN(const auto position, _evicted.Insert(attr));
  *position.value = std::move(texels);
  const Int bytes = Find(attr)->_samplingData._dataSize;
  const auto [available, total] = GetMemoryBudget(contexts.previous);
  OSTRA_RETURN_IF_ERROR(Delete(attr, true));
  if (!std::exchange(_hasToldEviction, true))
    WarningOutput(
        "The memory of the GPU device is full, @ of @ bytes are free: the texture \"@\" of @ bytes is kept by the host "
        "until a kernel reads it, and further ones may be.",
        available, total, attr, bytes);
  return data.cache->FreeTrashCaches(*data.context);
}

Result<void> GpuTextures::Restore(const GpuContexts& contexts, GpuKernel& kernel) {
  DrawportCommandList& list = contexts.current.GetCommandList();
  OSTRA_ASSIGN_OR_RETURN(const TextureNeeds needs, FindNeeds(kernel, _evicted));
  if (needs.bytes > 0) OSTRA_RETURN_IF_ERROR(MakeRoom(contexts, needs.bytes, &kernel));
  for (const InternedId& attr : needs.evicted) {
    const Data texels = *_evicted.Find(attr);
    OSTRA_ASSIGN_OR_RETURN(const SamplingData& data, texels.Get<SamplingData>());
    OSTRA_RETURN_IF_ERROR(list.Execute(true));
    OSTRA_RETURN_IF_ERROR(Store(contexts, attr, MakeBindData(data), &kernel));
    OSTRA_RETURN_IF_ERROR(list.Execute(true));
  }
  return OK;
}

void GpuTextures::Reset() {
  _evicted.Reset();
  _written.Reset();
  _readOnlyKeys.Reset();
  _names.Reset();
}

}  // namespace ostra
