// Remainders for GPUs. GLSL leaves open what % gives for negative numbers, and compilers of HLSL and drivers differ;
// all of them cut quotients as C++ does.
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

std::string PlainPrinter::CallRemainder(TypeIndex left, TypeIndex right, const std::string& dividend,
                                        const std::string& divisor) {
  const TypeIndex result = _types.IsVector(left) ? left : right;
  const std::string other = left == right ? "" : Join({"_", HelperWord(right)});
  return CallHelper(Join({"ostra_remainder_", HelperWord(left), other}), result, {left, right},
                    "\treturn v0 - (v0 / v1) * v1;\n", {dividend, divisor});
}

}  // namespace ostra::kernellanguage
