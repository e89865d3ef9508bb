// Which changes inside of expressions have no plain text there: of swizzles, of columns, of components of bool vectors,
// of numbers that are computed in another type, and calls that change a part of a variable. They become statements in
// front of the one that they stand in (plain_hoists.h).
#pragma once

#include <set>
#include <vector>

#include "parallelprogram/kernellanguage/plain_kept_values.h"
#include "parallelprogram/kernellanguage/plain_trace_plan.h"

namespace ostra::kernellanguage {

class HoistPlan {
 public:
  // All must outlive the plan.
  HoistPlan(const PlainKernel& kernel, const TracePlan& traces, const KeptValues& kept);

  Bool NeedsHoist(NodeIndex node) const { return _needsHoist[node]; }
  // Whether a node is one, or one is below it; none is in kNoNode.
  Bool HasHoists(NodeIndex node) const { return node != kNoNode && _hasHoists[node]; }
  // Below the expression of a statement, but for the call `whole`, which the statement does itself.
  Bool HasInnerHoists(NodeIndex node, NodeIndex whole) const;
  // The call that is all of an expression, or all that is assigned: nothing else happens in its statement. What a call
  // changes is written back behind it, so it must not be a part of what is assigned.
  NodeIndex FindWholeCall(NodeIndex expression) const;
  // Whether an argument that is changed is handed on as a variable: not every language takes references to elements and
  // components, and Metal alone takes no elements.
  Bool IsCopied(NodeIndex argument) const;
  // What the statements change that `node` makes necessary.
  void CollectChanges(NodeIndex node, std::set<NodeIndex>& changed) const;

 private:
  Bool FindNeed(NodeIndex node) const;
  Bool IsPart(NodeIndex place) const;
  Bool IsInColumn(NodeIndex place) const;

  const PlainKernel& _kernel;
  const TracePlan& _tracePlan;
  const KeptValues& _kept;
  std::vector<Bool> _needsHoist, _hasHoists;
};

}  // namespace ostra::kernellanguage
