// What is wrong with statements, beyond names and types: jumps that lead nowhere, labels, ends of functions,
// expressions of no certain order.
#pragma once

#include <optional>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

struct CheckResult {
  std::vector<Diagnostic> errors;
  std::vector<Diagnostic> warnings;  // code that C++ accepts and that is probably a mistake
  std::optional<NotUnderstood> notUnderstood;
};

// For a tree that was resolved without errors.
CheckResult Check(const SyntaxTree& tree, const ResolvedTree& resolved);

}  // namespace ostra::kernellanguage
