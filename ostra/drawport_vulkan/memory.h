// Device memory: large blocks from the driver, cut into pieces for buffers and textures. Thread-safe.
#pragma once

#include <mutex>

#include "ostra/core/owned.h"
#include "ostra/drawport/context.h"
#include "ostra/drawport_vulkan/api.h"
#include "ostra/drawport_vulkan/device_plan.h"
#include "ostra/drawport_vulkan/range_allocator.h"

namespace ostra::vulkan {

struct MemoryBlock;

// Memory of one buffer or texture.
struct MemoryPiece {
  VkDeviceMemory memory = VK_NULL_HANDLE;
  Int offset = 0;  // bytes from the beginning of `memory`
  Int size = 0;
  Byte* mapped = nullptr;  // where the host sees the piece; null when it does not
  Bool isHostCached = false;
  MemoryBlock* block = nullptr;
};

// The buffer or image that an allocation is for, where the driver wants memory of its own for it; neither otherwise.
struct DedicatedObject {
  VkBuffer buffer = VK_NULL_HANDLE;
  VkImage image = VK_NULL_HANDLE;
  Bool isRequired = false;  // false: shared memory serves where there is no other
  explicit operator bool() const { return buffer || image; }
};

// What a buffer or image needs, and whether it is best alone in its memory.
VkMemoryRequirements QueryRequirements(VkDevice device, VkBuffer buffer, DedicatedObject& dedicated);
VkMemoryRequirements QueryRequirements(VkDevice device, VkImage image, DedicatedObject& dedicated);

enum class MemoryContent : Int32 {
  Linear,
  Image
};  // the two never share a block: devices ask for distance between them

// What an allocation does when memory of the best kind is used up.
enum class MemorySpill : Int32 {
  Refused,  // fails when only much slower memory is left, so that the caller can make room first
  Allowed,  // takes what there is
};

class MemoryPool {
 public:
  MemoryPool();
  MemoryPool(const MemoryPool&) = delete;
  ~MemoryPool();
  void Init(VkPhysicalDevice physicalDevice, VkDevice device, const DeviceSnapshot& snapshot, Bool hasBudgetExtension);

  // Frees all memory, before the device is destroyed.
  void Release();

  // Warns of the first piece that lies in much slower memory than the best type for its use. With VK_EXT_memory_budget,
  // memory of other programs counts as used; the budget is exceeded only if no other memory is left and `spill` is
  // allowed. Errors: out of memory, also if the piece would exceed the limit of SetDrawportMemoryLimit.
  Result<MemoryPiece> Allocate(const VkMemoryRequirements& requirements, MemoryUse use, MemoryContent content,
                               MemorySpill spill = MemorySpill::Allowed, DedicatedObject dedicated = {});
  void Free(const MemoryPiece& piece);
  // Frees nothing from now on: work that does not end may use it.
  void Abandon();
  // Frees blocks without pieces.
  void FreeEmptyBlocks();

  VideoMemoryBudget GetBudget() const;
  // Bytes of pieces that lie in device memory.
  Int GetUsedSize() const;

 private:
  // `isSlow` is set when the piece lies in much slower memory than there is.
  Result<MemoryPiece> AllocateLocked(const VkMemoryRequirements& requirements, MemoryUse use, MemoryContent content,
                                     MemorySpill spill, DedicatedObject dedicated, Bool& isSlow);
  // From the best type to the worst that `spill` allows.
  Result<MemoryPiece> AllocateOfBest(const VkMemoryRequirements& requirements, MemoryUse use, MemoryContent content,
                                     MemorySpill spill, DedicatedObject dedicated, Bool& isSlow);
  // Dedicated memory if it is required or available, otherwise a piece of a block.
  Result<MemoryPiece> AllocateOfType(Int size, Int alignment, UInt32 type, MemoryUse use, MemoryContent content,
                                     DedicatedObject dedicated);
  Result<MemoryPiece> AllocatePiece(Int size, Int alignment, UInt32 type, MemoryUse use, MemoryContent content,
                                    DedicatedObject dedicated);
  // A new block for a piece of `size` bytes: of the common size, or a smaller one if memory is short.
  Result<MemoryBlock*> AddBlockFor(Int size, UInt32 type, MemoryUse use, MemoryContent content,
                                   DedicatedObject dedicated);
  Result<MemoryBlock*> AddBlock(Int size, UInt32 type, MemoryUse use, MemoryContent content, DedicatedObject dedicated);
  // Memory from the driver, mapped where the host works with it.
  Result<void> FillBlock(MemoryBlock& block, DedicatedObject dedicated);
  // Whether the device has room for `size` bytes, with what other programs use.
  Bool IsInBudget(Int size, Int heap) const;
  // Bytes of a heap that are free, with what other programs use; INT64_MAX where the device does not say.
  Int QueryFree(Int heap) const;
  Bool FreeEmptyBlocksLocked();
  // Whether pieces of the block count as device memory.
  Bool IsCounted(const MemoryBlock& block) const;
  void RemoveBlock(Int index);
  Int GetBlockSize(Int wanted) const;

  mutable std::mutex _mutex;
  VkPhysicalDevice _physicalDevice = VK_NULL_HANDLE;
  VkDevice _device = VK_NULL_HANDLE;
  const DeviceSnapshot* _snapshot = nullptr;  // the driver's
  Bool _hasBudgetExtension = false;
  OwnedArray<MemoryBlock> _blocks;
  Int _usedSize = 0;
  Bool _obeysBudget = true;    // false while memory is taken that other programs use
  Bool _isOverBudget = false;  // an allocation has met the budget
  Bool _isAbandoned = false;
  Bool _hasToldSpill[3] = {};  // by use
};

}  // namespace ostra::vulkan
