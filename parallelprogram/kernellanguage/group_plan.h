// Kernels whose invocations exchange values in group memory: where their bodies are cut.
//
//   const GroupPlan plan = PlanGroups(tree, resolved);
//   if (!plan.isNeeded) ...             // the invocations do not need each other
//   plan.isCut[statement]               // the group comes to this statement as one
//
// A cut statement is a groupSharedBarrier, has one inside, or is a jump that decides whether the group comes to one.
// All invocations of a group must come to it together: what it depends on is the same in all of them, or it is an
// error.
#pragma once

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

struct GroupPlan {
  // Whether the kernel uses an array in group memory by its name. One that MAKELOCAL fills is a copy of a buffer, which
  // LOCALDATA reads.
  Bool isNeeded = false;
  std::vector<Bool> isCut;  // statements of the kernel's body; empty when not needed
  std::vector<Diagnostic> errors;
};

// For a tree that was resolved without errors. Pure.
GroupPlan PlanGroups(const SyntaxTree& tree, const ResolvedTree& resolved);

}  // namespace ostra::kernellanguage
