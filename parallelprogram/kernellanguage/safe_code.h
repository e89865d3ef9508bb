// Code that may run where its results are not wanted.
#pragma once

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// Whether a part of a file may run with any values: it ends, reads no elements and divides nothing. Calls of functions
// of the file count as unsafe. For a tree that was resolved without errors. Pure.
Bool RunsWithAnyValues(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node);

}  // namespace ostra::kernellanguage
