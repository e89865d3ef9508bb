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

  // Gives everything back, before the device goes.
  void Release();

  // The first piece in much slower memory than there is for its use is told as a warning.
  // Errors: out of memory, also when the limit of SetDrawportMemoryLimit would be passed.
  Result<MemoryPiece> Allocate(const VkMemoryRequirements& requirements, MemoryUse use, MemoryContent content,
                               MemorySpill spill = MemorySpill::Allowed);
  void Free(const MemoryPiece& piece);
  // Gives blocks back that nothing lies in.
  void FreeEmptyBlocks();

  VideoMemoryBudget GetBudget() const;
  // Bytes of pieces that lie in device memory.
  Int GetUsedSize() const;

 private:
  // `isSlow` is set when the piece lies in much slower memory than there is.
  Result<MemoryPiece> AllocateLocked(const VkMemoryRequirements& requirements, MemoryUse use, MemoryContent content,
                                     MemorySpill spill, Bool& isSlow);
  Result<MemoryPiece> AllocateOfType(Int size, Int alignment, UInt32 type, MemoryUse use, MemoryContent content);
  // A block that has room for `size` bytes, of the common size where that can be had.
  Result<MemoryBlock*> AddBlockFor(Int size, UInt32 type, MemoryUse use, MemoryContent content);
  Result<MemoryBlock*> AddBlock(Int size, UInt32 type, MemoryUse use, MemoryContent content);
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
  Bool _hasToldSpill[3] = {};  // by use
};

}  // namespace ostra::vulkan
