// UniformRing: places in a buffer for the uniforms of dispatches that are on their way. Batches take places at the head
// and give them back at the tail. It knows nothing of the buffer itself.
#pragma once

#include <optional>

#include "ostra/core/types.h"

namespace ostra::vulkan {

class UniformRing {
 public:
  // `size` bytes. Positions only grow; the place in the buffer is the rest by the size.
  explicit UniformRing(UInt64 size) : _size(size) {}

  UInt64 GetSize() const { return _size; }
  UInt64 GetHead() const { return _head; }

  // The place of `bytes`, which never go round the end of the buffer; none while the ring is too full for them.
  std::optional<UInt64> Allocate(UInt64 bytes) {
    UInt64 begin = _head;
    if (begin % _size + bytes > _size) begin += _size - begin % _size;
    if (begin + bytes - _tail > _size) return std::nullopt;
    _head = begin + bytes;
    return begin % _size;
  }
  // Everything before `head`, a head of earlier, is free again.
  void Release(UInt64 head) { _tail = head; }
  // Takes back what was allocated since `head`.
  void Rewind(UInt64 head) { _head = head; }

 private:
  const UInt64 _size;
  UInt64 _head = 0, _tail = 0;
};

}  // namespace ostra::vulkan
