// Where the parts of an expression change what other parts read. Of kernels that the front end understands. Pure;
// thread-safe; throws std::bad_alloc.
#pragma once

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

struct EvaluationOrder {
  // kAssign nodes whose index and value depend on each other: a[k++] = k. C++ computes the value first; other languages
  // leave it open.
  std::set<NodeIndex> valueFirst;
  // Expressions of no certain order in any language, and the variable that one of their parts changes and another
  // names: k++ + k. Calls that change their arguments are not among them: C++ computes them one after the other.
  std::vector<std::pair<NodeIndex, NodeIndex>> unordered;
};

EvaluationOrder FindEvaluationOrder(const SyntaxTree& tree, const ResolvedTree& resolved);

// What is said of such an expression.
std::string DescribeUnordered(const SyntaxTree& tree, NodeIndex variable);

}  // namespace ostra::kernellanguage
