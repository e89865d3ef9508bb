// Statements in lanes. A new one gets a case in Statement.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneAssignments;
class LaneExits;
class LaneExpressions;
class LaneJumps;
class LaneLoops;
class LaneShared;
class LaneSwitches;
class LaneValues;
class LaneVariables;

class LaneStatements : LanePart {
 public:
  struct Uses {
    const LaneJumps& jumps;
    LaneValues& values;
    LaneShared& shared;
    LaneExpressions& expressions;
    LaneAssignments& assignments;
    LaneVariables& variables;
    LaneLoops& loops;
    LaneSwitches& switches;
    LaneExits& exits;
  };

  LaneStatements(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  void Statement(NodeIndex node);
  void Statements(std::span<const NodeIndex> statements);
  void Block(NodeIndex node);
  // The function whose body follows, and whether it has more than one return; kNoNode: the kernel.
  void SetFunction(NodeIndex function, Bool hasManyReturns) {
    _function = function;
    _hasManyReturns = hasManyReturns;
  }

 private:
  void If(NodeIndex node);
  void InBranch(const std::string& mask, NodeIndex statement);
  void Leave(NodeIndex node);
  void Return(NodeIndex node);

  const Uses _uses;
  NodeIndex _function = kNoNode;
  Bool _hasManyReturns = false;
};

}  // namespace ostra::kernellanguage
