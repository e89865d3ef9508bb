// Positions that a loop keeps within bounds by clamp, as a filter does around each of its pixels:
//
//   for (int dx = 0; dx < 5; dx++) { int column = clamp(x + dx - 2, 0, UNIFORM(width) - 1); ... }
//
// Away from the bounds, where x - 2 and x + 2 are within them, clamp changes nothing.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/resolved_tree.h"
#include "parallelprogram/kernellanguage/uniformity.h"

namespace ostra::kernellanguage {

// A number that is kept within bounds: clamp(number, low, high), or min(max(number, low), high). All are kNoNode for
// other calls, and for numbers of other types than int and uint.
struct ClampedNumber {
  NodeIndex number = kNoNode, low = kNoNode, high = kNoNode;
};
ClampedNumber GetClampedNumber(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex call);

// A constant and numbers that are the same in all lanes and turns, and may be computed before the loop.
struct WindowEnd {
  Int64 constant = 0;
  std::vector<NodeIndex> added, subtracted;
};

// The numbers that a call in a loop keeps within bounds: from `base` + `first` to `base` + `last`, if the loop comes
// by.
struct ClampWindow {
  NodeIndex call = kNoNode;
  NodeIndex base = kNoNode;  // grows by 1 from lane to lane, and stays as it is in the loop: a name, or the x of an ID
  WindowEnd first, last;
  NodeIndex low = kNoNode, high = kNoNode;  // as the numbers of WindowEnd
};

// Of the calls in a loop those of which this much is known. Pure; thread-safe; throws std::bad_alloc.
std::vector<ClampWindow> FindClampWindows(const SyntaxTree& tree, const ResolvedTree& resolved,
                                          const UniformityTable& uniformity, NodeIndex loop);

}  // namespace ostra::kernellanguage
