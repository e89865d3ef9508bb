// Calls of words that the invocations of a group compute together, groupReduceAdd(x) and its relatives: they stand
// where every invocation comes to them, as the group computes them before the statement.
#pragma once

#include <unordered_set>

#include "parallelprogram/kernellanguage/resolve_names.h"

namespace ostra::kernellanguage {

class ResolveGroupCalls : ResolvePart {
 public:
  ResolveGroupCalls(const ResolveBasis& basis, const ResolveNames& names) : ResolvePart(basis), _names(names) {}

  // Notes the calls of a statement, or of a part of it, that it comes to whatever its values are.
  void FindCalls(NodeIndex node);
  // Whether the call is one of these, in the kernel; says why not.
  Bool CheckCall(NodeIndex call);

 private:
  const ResolveNames& _names;
  std::unordered_set<NodeIndex> _calls;
};

}  // namespace ostra::kernellanguage
