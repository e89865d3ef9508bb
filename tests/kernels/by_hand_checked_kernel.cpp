// The same kernel as in by_hand_kernel.cpp with the check of indices that debug builds have.
#define OSTRA_CHECK_KERNEL_INDICES
#include "parallelprogram/program/kernel_language.h"

namespace ostra::kernel {
namespace {
#include "tests/kernels/files/net.ostra.test.byhand.krn"
}  // namespace
}  // namespace ostra::kernel

OSTRA_KERNEL_ENTRY(by_hand_checked, ByHand, "net.ostra.test.includedbyhandandchecked")
