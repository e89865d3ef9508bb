// Values that need no place for each invocation: constants, counters of loops that the whole group runs, and what each
// piece computes again from the number of the invocation.
#pragma once

#include "parallelprogram/kernellanguage/group_kernel.h"
#include "parallelprogram/kernellanguage/group_variables.h"

namespace ostra::kernellanguage {

class GroupValues : GroupQuery {
 public:
  // Declares the counters that are shared, and reads from then on where variables lie.
  GroupValues(const GroupKernel& kernel, GroupVariables& variables);

  // Numbers that C++ may want to know, as labels and sizes.
  Bool IsConstant(NodeIndex expression) const;
  // Whether the expression is the same for the group, and what it names is known outside of pieces.
  Bool IsShared(NodeIndex expression) const { return IsShared(expression, kNoNode); }
  // Whether pieces may compute the variable again: a number that never changes, made of the numbers of the invocation
  // and of variables that are declared before it and may be computed again themselves.
  Bool CanBeRepeated(NodeIndex variable) const;

 private:
  // `own` counts as shared.
  Bool IsShared(NodeIndex expression, NodeIndex own) const;
  void CountChanges();
  void DeclareCounters(NodeIndex statement, GroupVariables& variables) const;
  Bool IsCounter(NodeIndex variable, NodeIndex step) const;
  template <class IsKnown>
  Bool IsArithmetic(NodeIndex node, int& nodesLeft, const IsKnown& isKnown) const;
  Bool IsQuotientSafe(NodeIndex node) const;

  const GroupVariables& _variables;
  std::vector<int> _changeCounts;  // of variables: places where they change
};

}  // namespace ostra::kernellanguage
