// GpuNoises: the noises of a GPU program's kernels: the names of their parameters, and the values that they are bound
// to.
#pragma once

#include "parallelprogram/gpu/gpu_kernel.h"
#include "parallelprogram/program/noise_modes.h"

namespace ostra {

class GpuNoises {
 public:
  // Makes the names. Error: out of memory; nothing has changed then.
  Result<void> Init();

  // Gives a kernel the tables of its noises, made from their seeds.
  Result<void> Bind(const GpuKernel& kernel, const ParameterTarget& target) const;
  // Writes the modes that are set in a kernel's uniforms, 0 for others. Returns how many: up to the last noise of which
  // anything is set.
  Int FindModes(const GpuKernel& kernel, Int32 (&modes)[kMaxNoises]) const;

  Bool IsMode(const InternedId& attr) const;
  // The name of the table whose seed `attr` is; null for any other name.
  const InternedId* FindTableOfSeed(const InternedId& attr) const;

 private:
  BaseArray<InternedId> _seedNames;
  BaseArray<InternedId> _tableNames;
  BaseArray<InternedId> _modeNames;
};

// Binds the table of a noise; nothing with an empty handle. `seed`: null for the default.
Result<void> BindNoiseTable(const ParameterTarget& target, DrawportParameterHandle handle, const Data* seed);

}  // namespace ostra
