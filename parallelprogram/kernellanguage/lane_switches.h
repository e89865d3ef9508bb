// Switches in lanes: those that are the same for all lanes, and those whose lanes begin at different labels.
#pragma once

#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneExpressions;
class LaneJumps;
class LaneShared;
class LaneStatements;
class LaneValues;

class LaneSwitches : LanePart {
 public:
  struct Uses {
    const LaneJumps& jumps;
    LaneValues& values;
    LaneShared& shared;
    LaneExpressions& expressions;
    LaneStatements& statements;
    LaneExits& exits;
  };

  LaneSwitches(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  void Switch(NodeIndex node);

 private:
  void PlainSwitch(NodeIndex node);
  void MaskedSwitch(NodeIndex node);
  // Masks of the lanes that begin at each case.
  std::vector<std::string> FindCases(NodeIndex node, const std::string& chosen, const std::string& matched);
  void MaskedStatements(NodeIndex block, const std::string& matched, const std::vector<std::string>& cases);
  // Behind the switch: lanes that have left more than it are off.
  void LeaveSwitch(NodeIndex node);
  Bool IsLabel(NodeIndex statement) const {
    return KindOf(statement) == NodeKind::kCase || KindOf(statement) == NodeKind::kDefault;
  }

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
