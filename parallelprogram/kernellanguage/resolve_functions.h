// Functions of the file.
#pragma once

#include "parallelprogram/kernellanguage/resolve_statements.h"

namespace ostra::kernellanguage {

class ResolveFunctions : ResolvePart {
 public:
  struct Uses {
    ResolveNames& names;
    ResolveTypes& types;
    ResolveConversions& conversions;
    ResolveExpressions& expressions;
    ResolveStatements& statements;
  };

  ResolveFunctions(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  void ReadFunction(NodeIndex item);

 private:
  // False if reading ends.
  Bool ReadResult(NodeIndex item);
  Bool ReadParameter(NodeIndex parameter);
  void ReadDefaultValues(std::span<const NodeIndex> parameters);
  void CheckSecondFunction(NodeIndex item);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage
