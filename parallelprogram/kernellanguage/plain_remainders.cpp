// Remainders for GPUs. GLSL leaves open what % gives for negative numbers, and compilers of HLSL and drivers differ;
// all of them cut quotients as C++ does.
#include <algorithm>

#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

Bool PlainPrinter::HasOpenRemainder(NodeIndex node) const {
  if (node == kNoNode || IsOpenRemainder(node)) return node != kNoNode;
  const auto children = _tree.GetChildren(node);
  return std::any_of(children.begin(), children.end(), [this](NodeIndex child) { return HasOpenRemainder(child); });
}

std::string PlainPrinter::CallRemainder(TypeIndex left, TypeIndex right, const std::string& dividend,
                                        const std::string& divisor) {
  const TypeIndex result = _types.IsVector(left) ? left : right;
  const std::string other = left == right ? "" : Join({"_", HelperWord(right)});
  return CallHelper(Join({"ostra_remainder_", HelperWord(left), other}), result, {left, right},
                    "\treturn v0 - (v0 / v1) * v1;\n", {dividend, divisor});
}

}  // namespace ostra::kernellanguage
