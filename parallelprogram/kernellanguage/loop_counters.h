// Variables that count the turns of a loop: `uint n = 0u; while (z < 4.0) { z = z * z; n++; }`. Lanes leave the loop at
// different times and keep what they have in `n` then, but those that are still in it all have the same number.
//
// Such a variable is a number with an initial value whose first changes are statements that every turn of a loop
// comes by, or the step of a `for`; the loop stands in the block of the declaration. Pure; thread-safe; throws
// std::bad_alloc.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// For each kVariable the loop whose turns it counts; kNoNode for all other nodes. Whether all lanes begin with the
// same number and go on by the same steps is another question: see UniformityTable.
std::vector<NodeIndex> FindLoopCounters(const SyntaxTree& tree, const ResolvedTree& resolved);

}  // namespace ostra::kernellanguage
