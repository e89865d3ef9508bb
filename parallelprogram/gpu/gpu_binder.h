// GpuBinder: what becomes of a kernel's links and uniform values each time the GPU layer asks for the parameters of a
// program.
#pragma once

#include "parallelprogram/gpu/gpu_buffers.h"
#include "parallelprogram/gpu/gpu_noises.h"
#include "parallelprogram/gpu/gpu_textures.h"

namespace ostra {

// What it is given outlives it.
class GpuBinder {
 public:
  GpuBinder(const GpuContexts& contexts, const GpuKernelTable& kernels, const GpuBuffers& buffers,
            GpuTextures& textures, const GpuNoises& noises)
      : _contexts(contexts), _kernels(kernels), _buffers(buffers), _textures(textures), _noises(noises) {}

  // A function that sets the current values of a kernel's parameters, with this binder. Names that the program does not
  // declare are told once. Error: out of memory. The function's errors: illegal state "kernel not found"; illegal
  // argument for a value, a buffer or a texture that does not fit its parameter; those of making evicted textures
  // again.
  Result<DrawportParameterBinder> Make(const InternedId& kernelId);

 private:
  Result<void> Bind(const InternedId& kernelId, const ParameterTarget& target,
                    Block<const DrawportParameter> parameters);
  Result<void> BindBuffers(GpuKernel& kernel, const ParameterTarget& target,
                           Block<const DrawportParameter> parameters) const;
  Result<void> MakeTexturesWritable(GpuKernel& kernel, Block<const DrawportParameter> parameters);
  Result<void> BindTextures(GpuKernel& kernel, const ParameterTarget& target,
                            Block<const DrawportParameter> parameters) const;

  const GpuContexts& _contexts;
  const GpuKernelTable& _kernels;
  const GpuBuffers& _buffers;
  GpuTextures& _textures;
  const GpuNoises& _noises;
};

}  // namespace ostra
