// The pieces of a kernel in lanes, those that have such a form.
#pragma once

#include "parallelprogram/kernellanguage/group_kernel.h"
#include "parallelprogram/kernellanguage/group_variables.h"
#include "parallelprogram/kernellanguage/lane_piece_printer.h"

namespace ostra::kernellanguage {

class GroupLanes : GroupQuery {
 public:
  GroupLanes(const GroupKernel& kernel, const GroupVariables& variables, LanePiecePrinter& printer)
      : GroupQuery(kernel), _variables(variables), _printer(printer) {}

  // The loop over the invocations in lanes, or `scalar` for a piece that has no wide form.
  std::string Print(GroupPiece piece, const std::string& scalar);
  // Why pieces have none, in their order.
  const std::vector<NotUnderstood>& GetRefusals() const { return _refusals; }

 private:
  const GroupVariables& _variables;
  LanePiecePrinter& _printer;
  std::vector<NotUnderstood> _refusals;
};

// The C++ names of the variables that lie outside of pieces, and of the arrays in group memory.
GroupNames NameVariables(const GroupKernel& kernel, const GroupVariables& variables);

}  // namespace ostra::kernellanguage
