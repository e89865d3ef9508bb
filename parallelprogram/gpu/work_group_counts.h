// How many work groups a range of invocations takes.
#pragma once

#include "parallelprogram/gpu/gpu_kernel.h"

namespace ostra {

struct WorkGroupCounts {
  UInt32 x = 0, y = 0, z = 0;  // at most 65535 each; nothing is dispatched when one of them is 0
};

// A range with at most one row and one slice is one-dimensional: beyond 65535 groups it goes on in further rows, so
// that the number of an invocation is its global x + its group's y * 65535 * size.x. Other ranges with more than 65535
// groups in x get as many times more rows. An extent of 0 dispatches nothing. `size` is at least 1 in each direction.
WorkGroupCounts GetWorkGroupCounts(UInt32 countX, UInt32 countY, UInt32 countZ, const WorkGroupSize& size);

}  // namespace ostra
