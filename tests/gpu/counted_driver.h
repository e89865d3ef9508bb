// CountedDriver: counts calls of the driver during its lifetime.
//
//   CountedDriver driver;
//   const DriverCounts before = driver.GetCounts();
//   ... dispatches ...
//   const DriverCounts used = driver.GetCounts() - before;
//
// Counts must not depend on the speed of the device: work counts as done only after the host has waited for it.
// One instance at a time.
#pragma once

#include <algorithm>
#include <map>
#include <optional>

#include "ostra/core/types.h"
#include "tests/drawport_vulkan/replaced_function.h"

namespace ostra::test {

struct DriverCounts {
  Int submissions = 0;
  Int stops = 0;     // of the host until the device has nothing more to do
  Int barriers = 0;  // calls of vkCmdPipelineBarrier
  Int sets = 0;      // descriptor sets that were allocated
  Int pools = 0;     // of descriptor sets; not in the table
  Int allocations = 0;
  Int bytes = 0;   // that copies on the device move
  Int clears = 0;  // of whole textures
  friend bool operator==(const DriverCounts&, const DriverCounts&) = default;
};

inline DriverCounts operator-(const DriverCounts& a, const DriverCounts& b) {
  return {a.submissions - b.submissions, a.stops - b.stops, a.barriers - b.barriers, a.sets - b.sets, a.pools - b.pools,
          a.allocations - b.allocations, a.bytes - b.bytes, a.clears - b.clears};
}

class CountedDriver {
 public:
  CountedDriver() {
    g_this = this;
    _submit.emplace(vkQueueSubmit, &Submit);
    _wait.emplace(vkWaitSemaphores, &Wait);
    _getValue.emplace(vkGetSemaphoreCounterValue, &GetValue);
    _barrier.emplace(vkCmdPipelineBarrier, &AddBarrier);
    _allocateSets.emplace(vkAllocateDescriptorSets, &AllocateSets);
    _createPool.emplace(vkCreateDescriptorPool, &CreatePool);
    _allocate.emplace(vkAllocateMemory, &Allocate);
    _copyBuffer.emplace(vkCmdCopyBuffer, &CopyBuffer);
    _toBuffer.emplace(vkCmdCopyImageToBuffer, &CopyToBuffer);
    _toImage.emplace(vkCmdCopyBufferToImage, &CopyToImage);
    _update.emplace(vkCmdUpdateBuffer, &Update);
    _clear.emplace(vkCmdClearColorImage, &Clear);
  }
  CountedDriver(const CountedDriver&) = delete;
  ~CountedDriver() { g_this = nullptr; }

  const DriverCounts& GetCounts() const { return _counts; }

 private:
  // A function of the driver, and the counting one in its place.
  template <class Function>
  struct Place {
    void emplace(Function& place, Function other) {
      original = place;
      replaced.emplace(place, other);
    }
    Function original = nullptr;
    std::optional<ReplacedFunction<Function>> replaced;
  };

  static VKAPI_ATTR VkResult VKAPI_CALL Submit(VkQueue queue, uint32_t count, const VkSubmitInfo* infos,
                                               VkFence fence) {
    ++g_this->_counts.submissions;
    const auto* timeline = static_cast<const VkTimelineSemaphoreSubmitInfo*>(infos->pNext);
    g_this->_submitted[infos->pSignalSemaphores[0]] = timeline->pSignalSemaphoreValues[0];
    return g_this->_submit.original(queue, count, infos, fence);
  }
  static VKAPI_ATTR VkResult VKAPI_CALL Wait(VkDevice device, const VkSemaphoreWaitInfo* info, uint64_t timeout) {
    if (info->pValues[0] == g_this->_submitted[info->pSemaphores[0]]) ++g_this->_counts.stops;
    const VkResult result = g_this->_wait.original(device, info, timeout);
    uint64_t& awaited = g_this->_awaited[info->pSemaphores[0]];
    awaited = std::max(awaited, info->pValues[0]);
    return result;
  }
  static VKAPI_ATTR VkResult VKAPI_CALL GetValue(VkDevice, VkSemaphore semaphore, uint64_t* value) {
    *value = g_this->_awaited[semaphore];
    return VK_SUCCESS;
  }
  static VKAPI_ATTR void VKAPI_CALL AddBarrier(VkCommandBuffer commands, VkPipelineStageFlags from,
                                               VkPipelineStageFlags to, VkDependencyFlags flags, uint32_t count,
                                               const VkMemoryBarrier* barriers, uint32_t bufferCount,
                                               const VkBufferMemoryBarrier* buffers, uint32_t imageCount,
                                               const VkImageMemoryBarrier* images) {
    ++g_this->_counts.barriers;
    g_this->_barrier.original(commands, from, to, flags, count, barriers, bufferCount, buffers, imageCount, images);
  }
  static VKAPI_ATTR VkResult VKAPI_CALL AllocateSets(VkDevice device, const VkDescriptorSetAllocateInfo* info,
                                                     VkDescriptorSet* sets) {
    g_this->_counts.sets += info->descriptorSetCount;
    return g_this->_allocateSets.original(device, info, sets);
  }
  static VKAPI_ATTR VkResult VKAPI_CALL CreatePool(VkDevice device, const VkDescriptorPoolCreateInfo* info,
                                                   const VkAllocationCallbacks* callbacks, VkDescriptorPool* pool) {
    ++g_this->_counts.pools;
    return g_this->_createPool.original(device, info, callbacks, pool);
  }
  static VKAPI_ATTR VkResult VKAPI_CALL Allocate(VkDevice device, const VkMemoryAllocateInfo* info,
                                                 const VkAllocationCallbacks* callbacks, VkDeviceMemory* memory) {
    ++g_this->_counts.allocations;
    return g_this->_allocate.original(device, info, callbacks, memory);
  }
  static VKAPI_ATTR void VKAPI_CALL CopyBuffer(VkCommandBuffer commands, VkBuffer from, VkBuffer to, uint32_t count,
                                               const VkBufferCopy* copies) {
    for (uint32_t i = 0; i < count; ++i) g_this->_counts.bytes += static_cast<Int>(copies[i].size);
    g_this->_copyBuffer.original(commands, from, to, count, copies);
  }
  // Of images of one float a texel.
  static void AddTexels(const VkBufferImageCopy& copy) {
    const VkExtent3D& extent = copy.imageExtent;
    g_this->_counts.bytes += Int{4} * extent.width * extent.height * extent.depth * copy.imageSubresource.layerCount;
  }
  static VKAPI_ATTR void VKAPI_CALL CopyToBuffer(VkCommandBuffer commands, VkImage image, VkImageLayout layout,
                                                 VkBuffer buffer, uint32_t count, const VkBufferImageCopy* copies) {
    for (uint32_t i = 0; i < count; ++i) AddTexels(copies[i]);
    g_this->_toBuffer.original(commands, image, layout, buffer, count, copies);
  }
  static VKAPI_ATTR void VKAPI_CALL CopyToImage(VkCommandBuffer commands, VkBuffer buffer, VkImage image,
                                                VkImageLayout layout, uint32_t count, const VkBufferImageCopy* copies) {
    for (uint32_t i = 0; i < count; ++i) AddTexels(copies[i]);
    g_this->_toImage.original(commands, buffer, image, layout, count, copies);
  }
  static VKAPI_ATTR void VKAPI_CALL Update(VkCommandBuffer commands, VkBuffer buffer, VkDeviceSize offset,
                                           VkDeviceSize size, const void* data) {
    g_this->_counts.bytes += static_cast<Int>(size);
    g_this->_update.original(commands, buffer, offset, size, data);
  }
  static VKAPI_ATTR void VKAPI_CALL Clear(VkCommandBuffer commands, VkImage image, VkImageLayout layout,
                                          const VkClearColorValue* color, uint32_t count,
                                          const VkImageSubresourceRange* ranges) {
    ++g_this->_counts.clears;
    g_this->_clear.original(commands, image, layout, color, count, ranges);
  }

  static inline CountedDriver* g_this = nullptr;
  DriverCounts _counts;
  std::map<VkSemaphore, uint64_t> _submitted, _awaited;  // the last value of each
  Place<PFN_vkQueueSubmit> _submit;
  Place<PFN_vkWaitSemaphores> _wait;
  Place<PFN_vkGetSemaphoreCounterValue> _getValue;
  Place<PFN_vkCmdPipelineBarrier> _barrier;
  Place<PFN_vkAllocateDescriptorSets> _allocateSets;
  Place<PFN_vkCreateDescriptorPool> _createPool;
  Place<PFN_vkAllocateMemory> _allocate;
  Place<PFN_vkCmdCopyBuffer> _copyBuffer;
  Place<PFN_vkCmdCopyImageToBuffer> _toBuffer;
  Place<PFN_vkCmdCopyBufferToImage> _toImage;
  Place<PFN_vkCmdUpdateBuffer> _update;
  Place<PFN_vkCmdClearColorImage> _clear;
};

}  // namespace ostra::test
