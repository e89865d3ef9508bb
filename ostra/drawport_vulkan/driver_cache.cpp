#include "ostra/drawport_vulkan/driver_cache.h"

#include "ostra/core/string.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

std::string_view GetText(const BaseArray<Byte>& bytes) {
  return {reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount())};
}

}  // namespace

ContentKey MakeDriverKey(const VkPhysicalDeviceProperties& properties) {
  ContentKey key;
  key.Add(std::string_view("pipelines"));
  key.Add(std::string_view(reinterpret_cast<const char*>(properties.pipelineCacheUUID),
                           sizeof(properties.pipelineCacheUUID)));
  key.Add(std::string_view(properties.deviceName));
  for (const UInt32 number : {properties.vendorID, properties.deviceID, properties.driverVersion})
    key.Add(static_cast<UInt64>(number));
  return key;
}

DriverCache::~DriverCache() {
  if (_cache) vkDestroyPipelineCache(_device.GetHandle(), _cache, nullptr);
}

Result<void> DriverCache::Load(const ContentStore& store) {
  _key = MakeDriverKey(_device.GetProperties());
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> data, store.Load(_key));
  _knownHash = HashText(GetText(data));
  OSTRA_ASSIGN_OR_RETURN(_cache, Create(data));
  return OK;
}

Result<VkPipelineCache> DriverCache::Create(const BaseArray<Byte>& data) {
  // The driver looks at the data and leaves alone what is not its own.
  VkPipelineCacheCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO};
  info.initialDataSize = static_cast<std::size_t>(data.GetCount());
  info.pInitialData = data.GetFirst();
  VkPipelineCache cache = VK_NULL_HANDLE;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkCreatePipelineCache(_device.GetHandle(), &info, nullptr, &cache)));
  return cache;
}

Result<VkPipelineCache> DriverCache::CreateMerged(const BaseArray<Byte>& data) {
  OSTRA_ASSIGN_OR_RETURN(const VkPipelineCache merged, Create(data));
  Result<void> result = OSTRA_VULKAN(vkMergePipelineCaches(_device.GetHandle(), merged, 1, &_cache));
  if (result) return merged;
  vkDestroyPipelineCache(_device.GetHandle(), merged, nullptr);
  return result.TakeError();
}

Result<BaseArray<Byte>> DriverCache::GetData(VkPipelineCache cache) {
  std::size_t size = 0;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkGetPipelineCacheData(_device.GetHandle(), cache, &size, nullptr)));
  BaseArray<Byte> data;
  OSTRA_RETURN_IF_ERROR(data.Resize(static_cast<Int>(size)));
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkGetPipelineCacheData(_device.GetHandle(), cache, &size, data.GetFirst())));
  OSTRA_RETURN_IF_ERROR(data.Resize(static_cast<Int>(size)));
  return data;
}

void DriverCache::Save(const ContentStore& store) {
  if (!_cache || _device.IsLost()) return;
  const auto kept = store.Load(_key);
  if (!kept) return;
  const Bool isOfOthers = kept->IsPopulated() && HashText(GetText(*kept)) != _knownHash;
  const auto merged = isOfOthers ? CreateMerged(*kept) : Result<VkPipelineCache>(VkPipelineCache(VK_NULL_HANDLE));
  if (!merged) return;
  const auto data = GetData(*merged ? *merged : _cache);
  if (*merged) vkDestroyPipelineCache(_device.GetHandle(), *merged, nullptr);
  if (!data || data->IsEmpty()) return;
  // Data of other processes never enter this cache, so the next save merges them again.
  if (!isOfOthers) _knownHash = HashText(GetText(*data));
  if (GetText(*data) != GetText(*kept)) store.Save(_key, data->GetBlock());
}

}  // namespace ostra::vulkan
