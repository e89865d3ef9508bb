// Loops in lanes: those that all lanes begin and end together, and those that lanes leave one by one.
#pragma once

#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneAssignments;
class LaneExpressions;
class LaneJumps;
class LaneShared;
class LaneStatements;
class LaneWalks;
class LaneWindows;

class LaneLoops : LanePart {
 public:
  struct Uses {
    const LaneJumps& jumps;
    const LaneWalks& walks;
    LaneShared& shared;
    LaneExpressions& expressions;
    LaneAssignments& assignments;
    LaneStatements& statements;
    LaneWindows& windows;
    LaneExits& exits;
  };

  LaneLoops(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  void Loop(NodeIndex node);

 private:
  void Turn(NodeIndex body, const LaneExit& exit);
  void PlainLoop(NodeIndex node);
  // The loop twice: `inside` says when clamp may be left out.
  void WindowLoop(NodeIndex node, const std::string& inside);
  // The mask of a turn that some lanes leave by `continue`.
  void TurnOfSome(NodeIndex body);
  void MaskedLoop(NodeIndex node);
  // Takes the lanes out of the mask of a loop for which the condition does not hold. What is the same in all lanes ends
  // the loop for all of them.
  void LeaveUnless(const std::string& mask, NodeIndex condition);
  void Test(const std::string& mask, NodeIndex condition);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
