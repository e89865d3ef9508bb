#include "ostra/drawport_vulkan/range_allocator.h"

#include <bit>

namespace ostra::vulkan {

Result<void> RangeAllocator::Init(Int size) {
  OSTRA_RETURN_IF_ERROR(_free.Append(Range{0, size}));
  _freeSize = size;
  return OK;
}

Result<Int> RangeAllocator::Allocate(Int size, Int alignment) {
  // Between n parts in use there are at most n + 1 free ones: with that room, freeing cannot fail.
  OSTRA_RETURN_IF_ERROR(_free.Reserve(static_cast<Int>(std::bit_ceil(static_cast<UInt64>(_liveCount) + 3))));
  Int best = -1;
  for (Int i = 0; i < _free.GetCount(); ++i) {
    const Int begin = (_free[i].begin + alignment - 1) & ~(alignment - 1);
    if (begin + size > _free[i].end) continue;
    if (best < 0 || _free[i].end - _free[i].begin < _free[best].end - _free[best].begin) best = i;
  }
  if (best < 0) return kFull;
  const Range range = _free[best];
  const Int begin = (range.begin + alignment - 1) & ~(alignment - 1);
  const Int end = begin + size;
  ++_liveCount;
  _freeSize -= size;
  if (range.begin < begin && end < range.end) {
    _free[best].end = begin;
    OSTRA_RETURN_IF_ERROR(_free.Append(Range{}));
    for (Int i = _free.GetCount() - 1; i > best + 1; --i) _free[i] = _free[i - 1];
    _free[best + 1] = Range{end, range.end};
  } else if (range.begin < begin) {
    _free[best].end = begin;
  } else if (end < range.end) {
    _free[best].begin = end;
  } else {
    _free.Remove(best);
  }
  return begin;
}

void RangeAllocator::Free(Int offset, Int size) {
  --_liveCount;
  _freeSize += size;
  const Int end = offset + size;
  Int next = 0;  // the first free range behind
  while (next < _free.GetCount() && _free[next].begin < offset) ++next;
  const Bool touchesNext = next < _free.GetCount() && _free[next].begin == end;
  const Bool touchesPrevious = next > 0 && _free[next - 1].end == offset;
  if (touchesPrevious && touchesNext) {
    _free[next - 1].end = _free[next].end;
    _free.Remove(next);
  } else if (touchesPrevious) {
    _free[next - 1].end = end;
  } else if (touchesNext) {
    _free[next].begin = offset;
  } else {
    static_cast<void>(_free.Append(Range{}));  // Allocate made room
    for (Int i = _free.GetCount() - 1; i > next; --i) _free[i] = _free[i - 1];
    _free[next] = Range{offset, end};
  }
}

}  // namespace ostra::vulkan
