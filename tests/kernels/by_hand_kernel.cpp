// A kernel file that is included without the front step: the macros alone make the same class of it.
#include "parallelprogram/program/kernel_language.h"

namespace ostra::kernel {
namespace {
#include "tests/kernels/files/net.ostra.test.byhand.krn"
}  // namespace
}  // namespace ostra::kernel

OSTRA_KERNEL_ENTRY(by_hand, ByHand, "net.ostra.test.includedbyhand")
