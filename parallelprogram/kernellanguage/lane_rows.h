// Vectors that are never taken apart: loaded, added, multiplied and stored, they stay in the order that they have in
// memory (LaneRows in ostra/math/lanes/rows.inl).
#pragma once

#include "parallelprogram/kernellanguage/lane_kernel.h"

namespace ostra::kernellanguage {

class LaneRows : LaneQuery {
 public:
  explicit LaneRows(const LaneKernel& kernel);

  // A variable, or an element that is loaded.
  Bool IsInRows(NodeIndex node) const { return _isInRows[node]; }

 private:
  Bool IsFloatVector(TypeIndex type) const;
  Bool IsRowsName(NodeIndex node) const;
  Bool IsRowsValue(NodeIndex node) const;
  void TakeRowsValue(NodeIndex node);
  void FindRowsIn(NodeIndex node);
  Bool FindInAssignment(NodeIndex node);
  void GiveUp(NodeIndex variable);

  std::vector<Bool> _isInRows;
  Bool _hasGivenUp = false;
};

}  // namespace ostra::kernellanguage
