// Messages about names of which nothing is known: misspelt ones, words of other languages, or names of the host's
// headers.
#pragma once

#include "parallelprogram/kernellanguage/resolve_names.h"

namespace ostra::kernellanguage {

class ResolveUnknownNames : ResolvePart {
 public:
  ResolveUnknownNames(const ResolveBasis& basis, const ResolveNames& names) : ResolvePart(basis), _names(names) {}

  // Says what is wrong with the name of a node; `isCall`: a function is meant. kUnknownType.
  TypeIndex FailName(NodeIndex node, Bool isCall);
  // The same of what only a parameter can be.
  TypeIndex FailParameter(NodeIndex node);

 private:
  TypeIndex FailUnlikeAll(NodeIndex node, Bool isCall);
  // The known name that is almost `name`; empty: none.
  std::string_view FindMeantName(std::string_view name, Bool isCall) const;
  NodeIndex FindVariableBelow(NodeIndex name) const;

  const ResolveNames& _names;
};

}  // namespace ostra::kernellanguage
