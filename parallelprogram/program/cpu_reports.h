// CpuReports: the words that a kernel with PRINT or ASSERT writes, before and after a dispatch on the CPU.
#pragma once

#include "parallelprogram/program/cpu_kernel.h"

namespace ostra {

class CpuReports {
 public:
  KernelPrintList& GetPrints() { return _prints; }

  // Gives a kernel that reports something room for its words. Errors: those of the table; out of memory.
  Result<void> Begin(CpuKernel& kernel, const Vec3<UInt32>& invocations);
  // Reads what the kernel has written and keeps its prints. Errors: that of an assertion that does not hold, with the
  // kernel's ID; out of memory.
  Result<void> End(CpuKernel& kernel, const InternedId& kernelId, const Vec3<UInt32>& invocations);

 private:
  KernelPrintList _prints;
};

}  // namespace ostra
