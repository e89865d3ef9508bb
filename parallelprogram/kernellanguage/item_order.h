// The order in which C++ declares what stands in a file: functions behind those that they call.
//
//   for (const NodeIndex item : OrderItems(tree).items) ...
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

// Functions that call each other in a row before the file has them the other way round.
inline constexpr Int kMaxCallDepth = 200;

struct ItemOrder {
  // The children of the root, as they stand; with functions that have to move all functions are the last ones.
  std::vector<NodeIndex> items;
  NodeIndex firstMoved = kNoNode;  // the first function that does not stand where it did; kNoNode: all do
};

ItemOrder OrderItems(const SyntaxTree& tree);

}  // namespace ostra::kernellanguage
