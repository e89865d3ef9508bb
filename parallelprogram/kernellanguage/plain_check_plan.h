// What checked kernels look at: indices of buffers and arrays, layers of textures, divisors of whole numbers, steps of
// loops. Nothing in kernels that are not checked.
#pragma once

#include <string>
#include <string_view>

#include "parallelprogram/kernellanguage/plain_kernel.h"

namespace ostra::kernellanguage {

class CheckPlan {
 public:
  // The kernel must outlive the plan.
  explicit CheckPlan(const PlainKernel& kernel) : _kernel(kernel) {}

  Bool NeedsCheck(NodeIndex node) const;
  // Whether a loop has barriers and so counts in steps of the group: how often it runs must not depend on what one
  // invocation does.
  Bool NeedsRounds(NodeIndex loop) const;
  Bool HasRounds(NodeIndex node) const;  // at or below it
  // The word of the report that has the size of a parameter; empty for another name.
  std::string ReportedSize(std::string_view parameter) const;
  // How many elements may be named; empty for an index that is not checked.
  std::string IndexSize(NodeIndex node) const;

 private:
  Bool HasBarrier(NodeIndex node) const;

  const PlainKernel& _kernel;
};

}  // namespace ostra::kernellanguage
