// Linear algebra: sums and products with matrices, for kBinary and kAssign.
#pragma once

#include "parallelprogram/kernellanguage/resolve_part.h"

namespace ostra::kernellanguage {

class ResolveMatrices : ResolvePart {
 public:
  explicit ResolveMatrices(const ResolveBasis& basis) : ResolvePart(basis) {}

  // The result for operands of these types, one of them a matrix; kUnknownType, without a message, if there is none.
  TypeIndex Compute(NodeIndex node, TypeIndex left, TypeIndex right);

 private:
  TypeIndex Scale(NodeIndex node, TypeIndex left, TypeIndex right);
  TypeIndex Multiply(NodeIndex node, TypeIndex left, TypeIndex right);
};

}  // namespace ostra::kernellanguage
