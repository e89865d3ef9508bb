// Values that are known while a file is read: of literals, of constants of integers, and of what is computed of them.
#pragma once

#include <optional>
#include <unordered_map>

#include "parallelprogram/kernellanguage/resolve_names.h"

namespace ostra::kernellanguage {

class ResolveConstants {
 public:
  ResolveConstants(const SyntaxTree& tree, const ResolveNames& names) : _tree(tree), _names(names) {}

  // The value of a constant with a whole number; others are not known.
  void Add(NodeIndex variable, Int64 value) { _values.emplace(variable, value); }
  // The value of a constant expression of integers, as an int computes it; nothing for others.
  std::optional<Int64> Evaluate(NodeIndex expression) const;
  // Whether an expression surely is no constant: it reads a parameter or a variable.
  Bool IsComputed(NodeIndex expression) const;

 private:
  std::optional<Int64> EvaluateLiteral(NodeIndex literal) const;

  const SyntaxTree& _tree;
  const ResolveNames& _names;
  std::unordered_map<NodeIndex, Int64> _values;  // per kVariable
};

}  // namespace ostra::kernellanguage
