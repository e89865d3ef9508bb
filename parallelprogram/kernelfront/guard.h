// Finds the guard of a kernel: the test that keeps invocations beyond the data from doing anything.
#pragma once

#include <optional>
#include <string_view>

#include "parallelprogram/kernelfront/edited_text.h"

namespace ostra::kernelfront {

// The test of `index < UNIFORM(bound)`, or of its opposite, in a guard.
struct Guard {
  std::size_t first, last;  // tokens of the test
  std::string_view bound;
  bool isOpposite;  // index >= UNIFORM(bound)
};

// Looks for a guard at the beginning of a body whose braces are the tokens `open` and `close`:
//
//   uint i = LinearInvocation();                or  uint x = InGlobalInvocationID.x;
//   if (i < UNIFORM(count)) { all the rest }    or  if (x >= UNIFORM(width) || y >= UNIFORM(height)) { return; }
//
// Only declarations of the same kind may stand in front of it, so that nothing changes the index between. The index is
// the one that loops count: LinearInvocation() when the kernel uses it, or else x.
std::optional<Guard> FindGuard(const EditedText& text, std::size_t open, std::size_t close, bool isLinear);

}  // namespace ostra::kernelfront
