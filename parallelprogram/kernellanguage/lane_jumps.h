// How control leaves the statements of a kernel, and which of them all lanes carry out together.
#pragma once

#include "parallelprogram/kernellanguage/lane_kernel.h"

namespace ostra::kernellanguage {

class LaneJumps : LaneQuery {
 public:
  explicit LaneJumps(const LaneKernel& kernel) : LaneQuery(kernel) {}

  Bool HasReturn(NodeIndex node) const;
  // Whether `node` has a jump of that kind that belongs to a loop or switch around it; with `isMasked` only jumps that
  // stand below a condition which differs between lanes.
  Bool HasJump(NodeIndex node, NodeKind kind, Bool isMasked, Bool isBelow = false) const;
  // Whether lanes may leave a statement by return, or by break and continue of something around it.
  Bool HasExit(NodeIndex node) const;
  // Whether lanes leave a loop one by one.
  Bool IsMaskedLoop(NodeIndex node) const;
  // A step of a loop that is one C++ expression, the same for all lanes.
  Bool IsSharedEffect(NodeIndex expression) const;
};

}  // namespace ostra::kernellanguage
