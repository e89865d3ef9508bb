#include "kernel_library_test_kernels.h"
#include "tests/kernels/linked_kernels.h"

static const ostra::test::LinkedKernels kLibrary(GetKernels_kernel_library_test());
