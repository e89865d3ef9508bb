// StagingPool: the memory that transfers of a list go through. It grows to kMaxBytes; more waits until the device is
// done with some of it. It calls no driver.
#pragma once

#include "ostra/core/owned.h"
#include "ostra/drawport_vulkan/staging.h"

namespace ostra::vulkan {

class StagingPool {
 public:
  static constexpr Int kMaxBytes = Int(64) << 20;

  // Bytes of new memory for a transfer: powers of two, so that it serves other ones.
  static Int GetBlockSize(Int bytes);

  // The smallest free memory that holds `bytes`, which counts as mapped from now on; null when there is none.
  // `completed`: the batch up to which the device is done.
  StagingMemory* Take(Int bytes, MemoryUse use, UInt64 completed);
  // Whether a new block of `size` bytes has to wait for work that is on its way.
  Bool MustWait(Int size, UInt64 completed) const;
  // Adds memory, which counts as mapped. Error: out of memory.
  Result<StagingMemory*> Add(BufferRef buffer, Int size, MemoryUse use);
  // Frees what is not in use until half of kMaxBytes is left.
  void FreeSpare(UInt64 completed);

 private:
  Int GetTotal() const;

  OwnedArray<StagingMemory> _blocks;
};

}  // namespace ostra::vulkan
