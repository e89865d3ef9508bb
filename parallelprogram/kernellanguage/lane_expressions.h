// Expressions in lanes. What has to happen under a mask of its own (a load behind &&) becomes statements that are
// written before the statement it stands in.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneCalls;
class LaneConstruction;
class LaneFunctionCalls;
class LaneHeldValues;
class LaneMemory;
class LaneOperators;
class LaneRows;
class LaneShared;
class LaneValues;

class LaneExpressions : LanePart {
 public:
  struct Uses {
    const LaneRows& rows;
    LaneValues& values;
    LaneShared& shared;
    LaneHeldValues& held;
    LaneOperators& operators;
    LaneMemory& memory;
    LaneConstruction& construction;
    LaneCalls& calls;
    LaneFunctionCalls& functionCalls;
  };

  LaneExpressions(const LaneBasis& basis, const Uses& uses)
      : LanePart(basis), _uses(uses), _isClamped(basis.kernel.tree.nodes.size(), false) {}

  LaneValue Evaluate(NodeIndex node);        // as it is wanted where it stands
  LaneValue EvaluateItself(NodeIndex node);  // before its conversion
  std::string InLanes(NodeIndex node);
  std::string ToMask(NodeIndex node) { return InLanes(node); }
  // The lanes of the mask in which the condition holds. One comparison under the mask of another takes no instruction
  // more.
  std::string ToMaskUnder(const std::string& mask, NodeIndex condition);
  // A variable whose value is kept within bounds.
  void SetClamped(NodeIndex variable, Bool isClamped) { _isClamped[variable] = isClamped; }

 private:
  LaneValue EvaluateLanes(NodeIndex node);
  LaneValue Name(NodeIndex node);
  LaneValue WordName(NodeIndex node);

  const Uses _uses;
  std::vector<Bool> _isClamped;  // variables
};

}  // namespace ostra::kernellanguage
