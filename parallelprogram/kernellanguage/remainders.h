// Remainders that shading languages leave open: those of signed integers, one of which may be negative. C++ and the
// language of kernels say what they are; the plain form for GPUs computes them from quotients (plain_values.h).
#pragma once

#include <set>

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// The kBinary and kAssign nodes of %, but for those whose operands are visibly not negative (literals, numbers within
// a work group, counters of loops that grow from such a number, variables that keep one, and what + * / % & >> make of
// them) and those behind "case": compilers compute constants as C++ does. The kernel must be understood. Pure;
// thread-safe; throws std::bad_alloc.
std::set<NodeIndex> FindOpenRemainders(const SyntaxTree& tree, const ResolvedTree& resolved);

}  // namespace ostra::kernellanguage
