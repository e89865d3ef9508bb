// Which expressions may be changed.
#pragma once

#include "parallelprogram/kernellanguage/resolve_part.h"

namespace ostra::kernellanguage {

class ResolvePlaces : ResolvePart {
 public:
  explicit ResolvePlaces(const ResolveBasis& basis) : ResolvePart(basis) {}

  // Whether the expression may be changed; says why not. `what` changes it.
  Bool CheckPlace(NodeIndex node, std::string_view what);

 private:
  // Empty: it may; else why it must not.
  std::string GetConstReason(NodeIndex node) const;
};

}  // namespace ostra::kernellanguage
