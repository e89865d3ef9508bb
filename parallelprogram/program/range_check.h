// The one question that copies, updates and reads of ranges ask first.
#pragma once

#include "ostra/core/types.h"

namespace ostra {

// True when `count` elements from `offset` on lie within `total`. A range of no elements reads nothing, so only its
// end is looked at. Sums that overflow are outside.
inline Bool IsWithin(Int total, Int offset, Int count) {
  if (count > 0 && offset < 0) return false;
  Int end = 0;
  return !__builtin_add_overflow(offset, count, &end) && end <= total;
}

}  // namespace ostra
