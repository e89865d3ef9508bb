// Which conversions of numbers make a resolved file leave the plain form: C++ makes them by itself, and not all shading
// languages do.
#pragma once

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// Adds their nodes to the extensions. The types of all nodes are known.
void ExtendConversions(const SyntaxTree& tree, ResolvedTree& resolved);

}  // namespace ostra::kernellanguage
