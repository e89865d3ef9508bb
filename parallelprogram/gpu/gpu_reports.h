// GpuReports: the words that a kernel with PRINT or ASSERT writes, before and after its dispatch on the GPU.
#pragma once

#include "parallelprogram/device/device_buffers.h"
#include "parallelprogram/gpu/gpu_kernel.h"

namespace ostra {

class GpuReports {
 public:
  // Of kernels that are added from now on.
  void SetOptions(const KernelReportOptions& options) { _options = options; }
  const KernelReportOptions& GetOptions() const { return _options; }
  KernelPrintList& GetPrints() { return _prints; }

  // Gives a kernel that reports something a buffer for its words, and takes it from others. `isSameContext`: the kernel
  // was last updated in the owner's context. Errors: those of AllocateBuffer.
  Result<void> LinkBuffer(const DeviceOwner& owner, GpuKernel& kernel, Bool isSameContext) const;
  // Before the dispatch of a kernel that reports something. Errors: illegal state for one that was not updated since it
  // was compiled; those of the upload.
  Result<void> Begin(const GpuContextData& data, const GpuKernel& kernel, const Vec3<UInt32>& extents) const;
  // After it: waits for it, and keeps its prints. Errors: that of an assertion that does not hold; those of reading.
  Result<void> End(const GpuContextData& data, const GpuKernel& kernel, const Vec3<UInt32>& invocations,
                   const Vec3<UInt32>& extents);

 private:
  KernelPrintList _prints;
  KernelReportOptions _options;
};

}  // namespace ostra
