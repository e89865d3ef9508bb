// What changes variables and memory, in lanes. A variable is written under a Select only if lanes that are off at the
// moment may read it again: if a varying branch or loop lies between its declaration and the assignment, and something
// reads it behind that.
#pragma once

#include "parallelprogram/kernellanguage/lane_part.h"

namespace ostra::kernellanguage {

class LaneCalls;
class LaneExpressions;
class LaneMemory;
class LaneOperators;
class LaneRows;
class LaneShared;
class LaneUses;
class LaneValues;

class LaneAssignments : LanePart {
 public:
  struct Uses {
    const LaneUses& variableUses;
    const LaneRows& rows;
    LaneValues& values;
    LaneShared& shared;
    LaneExpressions& expressions;
    LaneOperators& operators;
    LaneMemory& memory;
    LaneCalls& calls;
  };

  LaneAssignments(const LaneBasis& basis, const Uses& uses) : LanePart(basis), _uses(uses) {}

  // An expression for what it does.
  void Effect(NodeIndex expression);
  void Assign(NodeIndex target, const LaneValue& value);

 private:
  // Computes the new value of the old one and `by`; null: 1.
  void Change(NodeIndex target, Operation operation, const LaneValue* by, TypeIndex computed);
  // Moves on the number of turns that all lanes of a loop share, and that of each lane; lanes that have left the loop
  // keep what they have. Answers false for other expressions.
  Bool StepCount(NodeIndex expression);
  void ChangeBy(NodeIndex node);
  void Step(NodeIndex node);
  void AssignPart(NodeIndex target, NodeIndex element, const std::string& path, const LaneValue& value);
  void AssignElement(NodeIndex target, const LaneValue& value);
  Bool AssignElements(NodeIndex target, const LaneValue& value);
  void AssignVariable(NodeIndex target, const LaneValue& value);
  // Whether lanes that are off at the moment may read the variable again.
  Bool MayBeReadLater(NodeIndex variable) const;

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
