// Implicit conversions of expressions: what they are wanted as where they stand.
#pragma once

#include "parallelprogram/kernellanguage/resolve_part.h"

namespace ostra::kernellanguage {

class ResolveConversions : ResolvePart {
 public:
  explicit ResolveConversions(const ResolveBasis& basis) : ResolvePart(basis) {}

  // Makes `node` be wanted as `type`; false with an error where C++ does not convert. `what` is the thing that gets it.
  Bool Convert(NodeIndex node, TypeIndex type, std::string_view what);
  TypeIndex FailConversion(NodeIndex node, TypeIndex type, std::string_view what);
};

}  // namespace ostra::kernellanguage
