// Changes inside of expressions that have no plain text there (plain_hoist_plan.h) as statements in front of the one
// that they stand in, and their values as variables. What && || ?: and the comma say about the order is kept; where
// nothing says it, an expression that names the changed variable in another part is an error.
#pragma once

#include "parallelprogram/kernellanguage/plain_changes.h"

namespace ostra::kernellanguage {

class PlainHoists : PlainPart {
 public:
  PlainHoists(const PlainBasis& basis, const HoistPlan& hoistPlan, KeptValues& kept, PlainValues& values,
              PlainExpressions& expressions, PlainChanges& changes)
      : PlainPart(basis),
        _hoistPlan(hoistPlan),
        _kept(kept),
        _values(values),
        _expressions(expressions),
        _changes(changes) {}

  // An expression that is a statement.
  void ExpressionStatement(NodeIndex expression);
  // What comes before the statement of `node`: all of it, and of its children alone.
  void Hoist(NodeIndex node);
  void HoistParts(NodeIndex node);
  // Braces around a statement of `expression` and what comes before it. Whether there is something.
  Bool OpenHoists(NodeIndex expression);
  void CloseHoists(Bool isOpen);

 private:
  void CheckOrder(NodeIndex node);
  void HoistBranches(NodeIndex node);
  void HoistChange(NodeIndex node);
  Bool WriteBranches(NodeIndex expression);

  const HoistPlan& _hoistPlan;
  KeptValues& _kept;
  PlainValues& _values;
  PlainExpressions& _expressions;
  PlainChanges& _changes;
};

}  // namespace ostra::kernellanguage
