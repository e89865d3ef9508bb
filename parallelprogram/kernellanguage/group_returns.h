// Invocations that return below a condition around a barrier, while others go on behind it: `if (u) {
// groupSharedBarrier; if (k == 0u) return; } rest`. The piece with the return and the rest are loops of their own, so
// it is kept who has returned.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

// A return behind which pieces come that other invocations run; kNoNode if there is none. `isCut` is that of GroupPlan.
NodeIndex FindEarlyReturn(const SyntaxTree& tree, const std::vector<Bool>& isCut);

}  // namespace ostra::kernellanguage
