// Loops that are slower in lanes: each invocation walks through elements of its own, and does little with them. Lanes
// have to pick up such elements one by one, where one invocation finds the next one beside the last.
#pragma once

#include "parallelprogram/kernellanguage/lane_kernel.h"

namespace ostra::kernellanguage {

// What statements do with elements at places that they move on, in lanes.
struct LaneWalk {
  std::vector<NodeIndex> moved, own;  // variables that a loop changes, and that its body declares; sorted
  int elementCount = 0, operationCount = 0;
};

class LaneWalks : LaneQuery {
 public:
  explicit LaneWalks(const LaneKernel& kernel) : LaneQuery(kernel) {}

  Bool IsSlowWalk(NodeIndex loop) const;
  // Adds the elements and operations of a node and all below it.
  void CountWork(NodeIndex node, LaneWalk& walk) const;

 private:
  void FindMoved(NodeIndex node, LaneWalk& walk) const;
  Bool IsMoved(NodeIndex node, const LaneWalk& walk) const;
};

}  // namespace ostra::kernellanguage
