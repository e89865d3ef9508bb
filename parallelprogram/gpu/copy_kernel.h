// The built-in kernel that copies words between buffers on the device.
#pragma once

#include "ostra/drawport/gpu_compute.h"
#include "parallelprogram/device/gpu_context.h"

namespace ostra {

inline constexpr std::string_view kCopyKernelId = "net.ostra.kernel.copy";

class DeviceCopy {
 public:
  // A run copies at most so many words of 32 bits, since it never has a second row of work groups.
  static constexpr UInt32 kMaxWords = 65535 * 256;

  // What is copied, in elements of `wordsPerElement` words. Products are cut to whole words in single precision.
  struct Range {
    Int count = 0;
    Int sourceOffset = 0;
    Int targetOffset = 0;
    Float32 wordsPerElement = 1;
  };

  DeviceCopy() = default;
  DeviceCopy(const DeviceCopy&) = delete;
  DeviceCopy& operator=(const DeviceCopy&) = delete;
  ~DeviceCopy() { Reset(); }

  // Whole words of a range; 0 when there is nothing to copy.
  static UInt32 GetWordCount(const Range& range);
  // Builds the kernel for the context; the one that there was stays in use on error. Errors: those of the build.
  Result<void> Build(const GpuContextData& data);
  // Copies and waits. What is beyond kMaxWords is left out, with a warning. Errors: those of the GPU compute object.
  Result<void> Run(const GpuContextData& data, DrawportDeviceBuffer& source, DrawportDeviceBuffer& target,
                   const Range& range);
  void Reset();

 private:
  GpuComputeRef _compute;
};

}  // namespace ostra
