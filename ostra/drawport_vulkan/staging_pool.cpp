#include "ostra/drawport_vulkan/staging_pool.h"

#include <algorithm>
#include <bit>

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Int StagingPool::GetBlockSize(Int bytes) {
  constexpr Int kLeast = Int(64) << 10;
  return static_cast<Int>(std::bit_ceil(static_cast<UInt64>(std::max(bytes, kLeast))));
}

StagingMemory* StagingPool::Take(Int bytes, MemoryUse use, UInt64 completed) {
  StagingMemory* best = nullptr;
  for (StagingMemory* block : _blocks) {
    const Bool isFree = block->busyUntil <= completed && !block->isMapped;
    if (!isFree || block->use != use || block->size < bytes) continue;
    if (!best || block->size < best->size) best = block;
  }
  if (best) best->isMapped = true;
  return best;
}

Bool StagingPool::MustWait(Int size, UInt64 completed) const {
  if (GetTotal() + size <= kMaxBytes) return false;
  return std::any_of(_blocks.begin(), _blocks.end(),
                     [&](const StagingMemory* block) { return block->busyUntil > completed; });
}

Result<StagingMemory*> StagingPool::Add(BufferRef buffer, Int size, MemoryUse use) {
  Owned<StagingMemory> block = MakeOwned<StagingMemory>();
  if (!block) return OSTRA_OUT_OF_MEMORY();
  block->buffer = std::move(buffer);
  block->size = size;
  block->use = use;
  block->isMapped = true;
  return _blocks.Append(std::move(block));
}

void StagingPool::FreeSpare(UInt64 completed) {
  Int total = GetTotal();
  for (Int i = _blocks.GetCount() - 1; i >= 0 && total > kMaxBytes / 2; --i) {
    if (_blocks[i]->isMapped || _blocks[i]->busyUntil > completed) continue;
    total -= _blocks[i]->size;
    _blocks.Remove(i);
  }
}

Int StagingPool::GetTotal() const {
  Int total = 0;
  for (const StagingMemory* block : _blocks) total += block->size;
  return total;
}

}  // namespace ostra::vulkan
