// What expressions change: targets of assignments, of ++ and --, and arguments that functions set.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// What a place is a part of: a of a[i].x.
NodeIndex FindPlaceRoot(const SyntaxTree& tree, NodeIndex place);

// Whether the function that `call` names, of the file or of the library, sets its argument number `index`.
Bool IsChangedArgument(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex call, std::size_t index);

// The places that `node` changes itself; what its children change is not among them.
std::vector<NodeIndex> ListChangedPlaces(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node);

}  // namespace ostra::kernellanguage
