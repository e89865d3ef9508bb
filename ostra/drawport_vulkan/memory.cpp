#include "ostra/drawport_vulkan/memory.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "ostra/core/large_pages.h"
#include "ostra/drawport/settings.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

struct MemoryBlock {
  VkDeviceMemory memory = VK_NULL_HANDLE;
  Byte* mapped = nullptr;
  Int size = 0;
  UInt32 type = 0;
  MemoryUse use = MemoryUse::Device;
  MemoryContent content = MemoryContent::Linear;
  RangeAllocator ranges;
};

namespace {

constexpr Int kBlockSize = Int(64) << 20;
// What is larger than this part of a block gets memory of its own, so that it is given back with it.
constexpr Int kDedicatedFraction = 4;

template <class T>
Bool IsOutOfMemory(const Result<T>& result) {
  return result.GetError().GetKind() == kOutOfMemoryError;
}

}  // namespace

MemoryPool::MemoryPool() = default;
MemoryPool::~MemoryPool() = default;

void MemoryPool::Release() {
  while (_blocks.IsPopulated()) RemoveBlock(_blocks.GetCount() - 1);
}

void MemoryPool::Init(VkPhysicalDevice physicalDevice, VkDevice device, const DeviceSnapshot& snapshot,
                      Bool hasBudgetExtension) {
  _physicalDevice = physicalDevice;
  _device = device;
  _snapshot = &snapshot;
  _hasBudgetExtension = hasBudgetExtension;
}

Int MemoryPool::GetBlockSize(Int wanted) const {
  Int size = kBlockSize;
  // A small limit must not be passed by blocks that are mostly empty.
  if (const Int limit = GetDrawportMemoryLimit(); limit > 0) size = std::clamp<Int>(limit / 8, 1 << 20, size);
  return wanted > size / kDedicatedFraction ? wanted : size;
}

Bool MemoryPool::IsCounted(const MemoryBlock& block) const {
  return block.use == MemoryUse::Device && _snapshot->memoryTypes[block.type].isDeviceLocal;
}

Result<MemoryPiece> MemoryPool::Allocate(const VkMemoryRequirements& requirements, MemoryUse use, MemoryContent content,
                                         MemorySpill spill, DedicatedObject dedicated) {
  Bool isFirstSlow = false;
  Int used = 0;
  const auto allocate = [&] {
    const std::scoped_lock lock(_mutex);
    Bool isSlow = false;
    Result<MemoryPiece> piece = AllocateLocked(requirements, use, content, spill, dedicated, isSlow);
    isFirstSlow = piece && isSlow && !std::exchange(_hasToldSpill[static_cast<Int>(use)], true);
    used = _usedSize;
    return piece;
  };
  Result<MemoryPiece> piece = allocate();
  if (isFirstSlow && use == MemoryUse::Device)
    WarningOutput(
        "The memory of the GPU device \"@\" is full: a piece of @ bytes lies in memory of the host, which is slower, "
        "and further ones may. Of the device's @ bytes this process uses @.",
        _snapshot->name, requirements.size, _snapshot->heaps[PlanBudgetHeap(*_snapshot)].size, used);
  else if (isFirstSlow)
    WarningOutput("Memory that the host reads fast is used up for the GPU device \"@\": reading back is slower.",
                  _snapshot->name);
  return piece;
}

Result<MemoryPiece> MemoryPool::AllocateLocked(const VkMemoryRequirements& requirements, MemoryUse use,
                                               MemoryContent content, MemorySpill spill, DedicatedObject dedicated,
                                               Bool& isSlow) {
  const Int size = static_cast<Int>(requirements.size);
  const Int limit = GetDrawportMemoryLimit();
  if (PlanMemoryType(*_snapshot, use, requirements.memoryTypeBits) < 0)
    return OSTRA_ILLEGAL_STATE("The GPU device has no memory of the kind that is needed.");
  if (use == MemoryUse::Device && limit > 0 && _usedSize + size > limit) return OSTRA_OUT_OF_MEMORY();
  _isOverBudget = false;
  Result<MemoryPiece> piece = AllocateOfBest(requirements, use, content, spill, dedicated, isSlow);
  if (piece || !IsOutOfMemory(piece) || !_isOverBudget || spill == MemorySpill::Refused) return piece;
  // A budget is an estimate: before the allocation fails, the driver is asked without it.
  _obeysBudget = false;
  piece = AllocateOfBest(requirements, use, content, spill, dedicated, isSlow);
  _obeysBudget = true;
  return piece;
}

Result<MemoryPiece> MemoryPool::AllocateOfBest(const VkMemoryRequirements& requirements, MemoryUse use,
                                               MemoryContent content, MemorySpill spill, DedicatedObject dedicated,
                                               Bool& isSlow) {
  const Int size = static_cast<Int>(requirements.size);
  const Int alignment = static_cast<Int>(requirements.alignment);
  UInt32 allowed = requirements.memoryTypeBits;
  const Int best = PlanMemoryType(*_snapshot, use, allowed);
  for (Int type = best;;) {
    isSlow = IsSlower(*_snapshot, use, best, type);
    Result<MemoryPiece> piece = AllocateOfType(size, alignment, static_cast<UInt32>(type), use, content, dedicated);
    if (piece || !IsOutOfMemory(piece)) return piece;
    // What is slower is better than nothing.
    allowed &= ~(UInt32(1) << type);
    type = PlanMemoryType(*_snapshot, use, allowed);
    if (type < 0 || (spill == MemorySpill::Refused && IsSlower(*_snapshot, use, best, type))) return piece;
  }
}

Result<MemoryPiece> MemoryPool::AllocateOfType(Int size, Int alignment, UInt32 type, MemoryUse use,
                                               MemoryContent content, DedicatedObject dedicated) {
  Result<MemoryPiece> piece = AllocatePiece(size, alignment, type, use, content, dedicated);
  const Bool isShareable = dedicated && !dedicated.isRequired && GetBlockSize(size) > size;
  if (piece || !IsOutOfMemory(piece) || !isShareable) return piece;
  return AllocatePiece(size, alignment, type, use, content, {});
}

Result<MemoryPiece> MemoryPool::AllocatePiece(Int size, Int alignment, UInt32 type, MemoryUse use,
                                              MemoryContent content, DedicatedObject dedicated) {
  MemoryBlock* found = nullptr;
  Int offset = RangeAllocator::kFull;
  if (!dedicated && GetBlockSize(size) > size) {
    for (MemoryBlock* block : _blocks) {
      if (block->type != type || block->use != use || block->content != content) continue;
      OSTRA_ASSIGN_OR_RETURN(offset, block->ranges.Allocate(size, alignment));
      if (offset == RangeAllocator::kFull) continue;
      found = block;
      break;
    }
  }
  if (!found) {
    OSTRA_ASSIGN_OR_RETURN(found, AddBlockFor(size, type, use, content, dedicated));
    Result<Int> first = found->ranges.Allocate(size, alignment);
    if (!first) {
      RemoveBlock(_blocks.GetCount() - 1);  // the new one
      return first.TakeError();
    }
    offset = *first;
  }
  if (IsCounted(*found)) _usedSize += size;
  return MemoryPiece{.memory = found->memory,
                     .offset = offset,
                     .size = size,
                     .mapped = found->mapped ? found->mapped + offset : nullptr,
                     .isHostCached = _snapshot->memoryTypes[type].isHostCached,
                     .block = found};
}

Result<MemoryBlock*> MemoryPool::AddBlockFor(Int size, UInt32 type, MemoryUse use, MemoryContent content,
                                             DedicatedObject dedicated) {
  Int blockSize = dedicated ? size : GetBlockSize(size);
  const auto add = [&] { return AddBlock(blockSize, type, use, content, dedicated); };
  Result<MemoryBlock*> block = add();
  if (!block && IsOutOfMemory(block) && FreeEmptyBlocksLocked()) block = add();
  // Where a whole block does not fit any more, the piece itself still may.
  while (!block && IsOutOfMemory(block) && blockSize > size) {
    blockSize = std::max(blockSize / 2, size);
    block = add();
  }
  return block;
}

Result<MemoryBlock*> MemoryPool::AddBlock(Int size, UInt32 type, MemoryUse use, MemoryContent content,
                                          DedicatedObject dedicated) {
  const Int heap = _snapshot->memoryTypes[type].heap;
  if (size > _snapshot->heaps[heap].size) return OSTRA_OUT_OF_MEMORY();
  if (_obeysBudget && !IsInBudget(size, heap)) {
    _isOverBudget = true;
    return OSTRA_OUT_OF_MEMORY();
  }
  Owned<MemoryBlock> made = MakeOwned<MemoryBlock>();
  if (!made) return OSTRA_OUT_OF_MEMORY();
  OSTRA_ASSIGN_OR_RETURN(MemoryBlock * block, _blocks.Append(std::move(made)));
  block->size = size;
  block->type = type;
  block->use = use;
  block->content = content;
  Result<void> filled = FillBlock(*block, dedicated);
  if (filled) return block;
  RemoveBlock(_blocks.GetCount() - 1);
  return filled.TakeError();
}

Result<void> MemoryPool::FillBlock(MemoryBlock& block, DedicatedObject dedicated) {
  OSTRA_RETURN_IF_ERROR(block.ranges.Init(block.size));
  VkMemoryDedicatedAllocateInfo alone = {VK_STRUCTURE_TYPE_MEMORY_DEDICATED_ALLOCATE_INFO};
  alone.buffer = dedicated.buffer;
  alone.image = dedicated.image;
  VkMemoryAllocateInfo info = {VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
  if (dedicated) info.pNext = &alone;
  info.allocationSize = static_cast<VkDeviceSize>(block.size);
  info.memoryTypeIndex = block.type;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkAllocateMemory(_device, &info, nullptr, &block.memory)));
  const Bool isSoftware = _snapshot->kind == DeviceKind::Software;
  const Bool isImage = block.content == MemoryContent::Image;
  if (!_snapshot->memoryTypes[block.type].isHostVisible || (isImage && !isSoftware)) return OK;
  void* mapped = nullptr;
  OSTRA_RETURN_IF_ERROR(OSTRA_VULKAN(vkMapMemory(_device, block.memory, 0, VK_WHOLE_SIZE, 0, &mapped)));
  // The memory of software devices is the host's own.
  if (isSoftware) AdviseLargePages(mapped, block.size);
  if (isImage)
    vkUnmapMemory(_device, block.memory);
  else
    block.mapped = static_cast<Byte*>(mapped);
  return OK;
}

Bool MemoryPool::IsInBudget(Int size, Int heap) const { return size <= QueryFree(heap); }

Int MemoryPool::QueryFree(Int heap) const {
  if (!_hasBudgetExtension) return INT64_MAX;
  VkPhysicalDeviceMemoryBudgetPropertiesEXT budget = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_BUDGET_PROPERTIES_EXT};
  VkPhysicalDeviceMemoryProperties2 properties = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MEMORY_PROPERTIES_2};
  properties.pNext = &budget;
  vkGetPhysicalDeviceMemoryProperties2(_physicalDevice, &properties);
  return static_cast<Int>(budget.heapBudget[heap]) - static_cast<Int>(budget.heapUsage[heap]);
}

void MemoryPool::Abandon() {
  const std::scoped_lock lock(_mutex);
  _isAbandoned = true;
}

void MemoryPool::RemoveBlock(Int index) {
  if (_blocks[index]->memory) vkFreeMemory(_device, _blocks[index]->memory, nullptr);
  _blocks.Remove(index);
}

void MemoryPool::Free(const MemoryPiece& piece) {
  if (!piece.block) return;
  const std::scoped_lock lock(_mutex);
  if (_isAbandoned) return;
  MemoryBlock* block = piece.block;
  block->ranges.Free(piece.offset, piece.size);
  if (IsCounted(*block)) _usedSize -= piece.size;
  // An empty block of the common size is kept for the next one; memory of a single piece goes with it.
  if (!block->ranges.IsEmpty() || block->size != piece.size) return;
  for (Int i = 0; i < _blocks.GetCount(); ++i) {
    if (_blocks[i] != block) continue;
    RemoveBlock(i);
    return;
  }
}

void MemoryPool::FreeEmptyBlocks() {
  const std::scoped_lock lock(_mutex);
  FreeEmptyBlocksLocked();
}

Bool MemoryPool::FreeEmptyBlocksLocked() {
  if (_isAbandoned) return false;
  const Int before = _blocks.GetCount();
  for (Int i = before - 1; i >= 0; --i)
    if (_blocks[i]->ranges.IsEmpty()) RemoveBlock(i);
  return _blocks.GetCount() < before;
}

Int MemoryPool::GetUsedSize() const {
  const std::scoped_lock lock(_mutex);
  return _usedSize;
}

VideoMemoryBudget MemoryPool::GetBudget() const {
  const Int heap = PlanBudgetHeap(*_snapshot);
  if (heap < 0) return {};
  const Int used = GetUsedSize();
  Int total = _snapshot->heaps[heap].size;
  Int available = std::min(total - used, QueryFree(heap));
  if (const Int limit = GetDrawportMemoryLimit(); limit > 0) {
    total = std::min(total, limit);
    available = std::min(available, limit - used);
  }
  return {.available = std::max<Int>(available, 0), .total = total};
}

}  // namespace ostra::vulkan
