// What expressions change: places that are assigned to, those of ++ and --, and arguments that functions set. Of
// kernels that the front end understands. Pure; thread-safe; throws std::bad_alloc.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// What a place is a part of: a of a[i].x.
NodeIndex FindPlaceRoot(const SyntaxTree& tree, NodeIndex place);

// Whether the function that `call` names, of the file or of the library, sets its argument number `index`. Atomics are
// not counted: see ListChangedPlaces.
Bool IsChangedArgument(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex call, std::size_t index);

// The places that `node` changes itself; what its children change is not among them.
std::vector<NodeIndex> ListChangedPlaces(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node);

}  // namespace ostra::kernellanguage
