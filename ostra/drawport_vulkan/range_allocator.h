// RangeAllocator: hands out parts of [0, size). Best fit; freed parts grow together. Freeing never needs memory.
#pragma once

#include "ostra/core/base_array.h"

namespace ostra::vulkan {

class RangeAllocator {
 public:
  static constexpr Int kFull = -1;

  // One free range of `size` bytes. Error: out of memory.
  Result<void> Init(Int size);
  // Where `size` free bytes begin; kFull when there is no room. `alignment` is a power of two.
  // Error: out of memory.
  Result<Int> Allocate(Int size, Int alignment);
  // Gives back what Allocate handed out, with the same size.
  void Free(Int offset, Int size);

  Bool IsEmpty() const { return _liveCount == 0; }
  Int GetFreeSize() const { return _freeSize; }

 private:
  struct Range {
    Int begin = 0;
    Int end = 0;
  };
  BaseArray<Range> _free;  // sorted, never touching
  Int _liveCount = 0;
  Int _freeSize = 0;
};

}  // namespace ostra::vulkan
