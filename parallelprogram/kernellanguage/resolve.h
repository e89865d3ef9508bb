// Names and types: what every name of a tree stands for and what type every expression has.
//
// Errors are mistakes that C++ refuses, too: unknown names that are almost known ones, arguments of a wrong number or
// type, assignments to what is const. What C++ might read in another way is not understood.
#pragma once

#include <optional>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

struct Resolution {
  ResolvedTree resolved;  // whole without errors and when everything is understood
  std::vector<Diagnostic> errors;
  std::optional<NotUnderstood> notUnderstood;
};

// More types than these (arrays of different lengths, structs) are not understood.
inline constexpr UInt32 kMaxTypes = 4096;

Resolution Resolve(const SyntaxTree& tree);

}  // namespace ostra::kernellanguage
