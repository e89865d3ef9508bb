// Expressions in lanes. What has to happen under a mask of its own (a load behind &&) becomes statements that are
// written before the statement it stands in.
#pragma once

#include <unordered_map>

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

  LaneExpressions(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  LaneValue Evaluate(NodeIndex node);        // as it is wanted where it stands
  LaneValue EvaluateItself(NodeIndex node);  // before its conversion
  std::string InLanes(NodeIndex node);
  std::string ToMask(NodeIndex node) { return InLanes(node); }
  // The lanes of the mask in which the condition holds. One comparison under the mask of another takes no instruction
  // more.
  std::string ToMaskUnder(const std::string& mask, NodeIndex condition);
  // How a variable in lanes is held: kLanes; kClamped or kLinear if its value has that form and stays as it is.
  void SetForm(NodeIndex variable, LaneForm form) { _forms[variable] = form; }

 private:
  LaneValue EvaluateLanes(NodeIndex node);
  LaneValue Name(NodeIndex node);
  LaneValue WordName(NodeIndex node);

  const Uses _uses;
  std::unordered_map<NodeIndex, LaneForm> _forms;  // of variables in lanes
};

}  // namespace ostra::kernellanguage
