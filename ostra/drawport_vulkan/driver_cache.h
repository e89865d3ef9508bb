// DriverCache: what the driver keeps of the programs that it has compiled, from one start to the next. Used by one
// thread at a time, but for the handle: others may compile with it meanwhile.
#pragma once

#include "ostra/drawport_vulkan/device.h"
#include "ostra/io/content_store.h"

namespace ostra::vulkan {

// The key of what is kept for a device and the version of its driver.
ContentKey MakeDriverKey(const VkPhysicalDeviceProperties& properties);

class DriverCache {
 public:
  explicit DriverCache(Device& device) : _device(device) {}
  DriverCache(const DriverCache&) = delete;
  ~DriverCache();

  // Begins with what is in `store`. Error: out of memory.
  Result<void> Load(const ContentStore& store);
  // Puts what there is by now beside what others have saved since. Nothing is written when nothing is new. What cannot
  // be saved is compiled again.
  void Save(const ContentStore& store);

  VkPipelineCache GetHandle() const { return _cache; }

 private:
  Result<VkPipelineCache> Create(const BaseArray<Byte>& data);
  // A new cache with `data` and the contents of this one, which is left as it is: other threads may be using it.
  Result<VkPipelineCache> CreateMerged(const BaseArray<Byte>& data);
  Result<BaseArray<Byte>> GetData(VkPipelineCache cache);

  Device& _device;
  ContentKey _key;
  UInt64 _knownHash = 0;  // of the bytes that it began with, or has saved without those of others
  VkPipelineCache _cache = VK_NULL_HANDLE;
};

}  // namespace ostra::vulkan
