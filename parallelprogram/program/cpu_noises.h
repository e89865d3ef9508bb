// CpuNoises: the uniforms "noiseMode_@" and "noiseSeed_@" of a kernel become noise objects of the host, and the kernel
// gets them as its parameter "noiseData".
#pragma once

#include "parallelprogram/program/cpu_kernel.h"

namespace ostra {

class CpuNoises {
 public:
  // Makes the names of the uniforms. A second call appends them again, and only the first ones are ever read. Error:
  // out of memory.
  Result<void> Init();

  // Makes the noises anew, so that modes and seeds take effect, and gives them to the kernel. Errors: those of the
  // host's noises and of their registry; that of a seed that is missing or no number; out of memory.
  Result<void> HandOver(CpuKernel& kernel) const;

  // Whether a uniform is the mode of a noise.
  Bool IsMode(const InternedId& attr) const;

 private:
  InternedId _dataName;
  BaseArray<InternedId> _modeNames;
  BaseArray<InternedId> _seedNames;
};

}  // namespace ostra
