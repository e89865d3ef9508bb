// Declarations of variables in lanes.
#pragma once

#include <algorithm>

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneExpressions;
class LaneRows;
class LaneUses;
class LaneValues;

class LaneVariables : LanePart {
 public:
  struct Uses {
    const LaneUses& variableUses;
    const LaneRows& rows;
    LaneValues& values;
    LaneExpressions& expressions;
  };

  LaneVariables(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  void Variable(NodeIndex node);
  // The variables that are kept for each invocation of a group.
  void SetKept(std::span<const NodeIndex> variables) { _kept.assign(variables.begin(), variables.end()); }

 private:
  void LaneVariable(NodeIndex node);
  void SharedVariable(NodeIndex node);
  void ArrayVariable(NodeIndex node, TypeIndex type);
  // The values of an array, with zeros for those in lanes that are not listed.
  std::string ListValues(NodeIndex node, const std::string& element);
  Bool IsKept(NodeIndex variable) const { return std::find(_kept.begin(), _kept.end(), variable) != _kept.end(); }

  const Uses _uses;
  std::vector<NodeIndex> _kept;
};

}  // namespace ostra::kernellanguage
