// A syntax tree as text, for tests and for people: one line per statement, expressions in parentheses with the operator
// first. With the tables of later passes every expression is followed by its type, "i:uint", converted ones by both,
// "1:int>float", with a ^ before it where it is not of the plain form, and by how it differs between lanes: "!"
// varying, "+1" linear with its stride, "/" the same in a row.
#pragma once

#include <string>

#include "parallelprogram/kernellanguage/resolved_tree.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"
#include "parallelprogram/kernellanguage/uniformity.h"

namespace ostra::kernellanguage {

struct PrintTables {
  const ResolvedTree* resolved = nullptr;
  const UniformityTable* uniformity = nullptr;
};

std::string PrintTree(const SyntaxTree& tree, const PrintTables& tables = {});

// One expression of the tree.
std::string PrintExpression(const SyntaxTree& tree, NodeIndex expression);

}  // namespace ostra::kernellanguage
