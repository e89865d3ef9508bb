// The kernel classes that are linked with a test.
#pragma once

#include <vector>

#include "parallelprogram/program/kernel_registration.h"

namespace ostra::test {

// A table of them, which registers itself:
//
//   static const LinkedKernels kLibrary(GetKernels_kernel_library_test());
struct LinkedKernels {
  explicit LinkedKernels(KernelTable kernels) { GetAll().push_back(kernels); }
  static std::vector<KernelTable>& GetAll() {
    static std::vector<KernelTable> all;
    return all;
  }
};

}  // namespace ostra::test
