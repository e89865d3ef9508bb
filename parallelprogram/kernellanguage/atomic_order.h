// Atomic operations of a piece whose order matters. Invocations in lanes do one operation after the other, each in all
// lanes: their order is that of single invocations if the piece has one operation on a place alone.
#pragma once

#include "parallelprogram/kernellanguage/group_piece.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

// The call of such an operation; kNoNode if the order of none matters.
NodeIndex FindOrderedAtomic(const SyntaxTree& tree, const ResolvedTree& resolved, const GroupPiece& piece);

}  // namespace ostra::kernellanguage
