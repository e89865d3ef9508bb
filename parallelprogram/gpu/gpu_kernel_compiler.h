// GpuKernelCompiler: makes programs of kernel files: when a kernel is added, when its file has changed, and when other
// modes of noises are chosen.
#pragma once

#include "parallelprogram/gpu/gpu_binder.h"

namespace ostra {

// What it is given outlives it. Compile may be called by jobs, one for each kernel; everything else belongs to the
// driving thread.
class GpuKernelCompiler {
 public:
  GpuKernelCompiler(const GpuContexts& contexts, const GpuKernelTable& kernels, const GpuTextures& textures,
                    const GpuNoises& noises, GpuBinder& binder)
      : _contexts(contexts), _kernels(kernels), _textures(textures), _noises(noises), _binder(binder) {}

  // Makes the program of a kernel. The kernel keeps the result, too. Errors: illegal state "kernel not found"; those of
  // reading, parsing and compiling, in the words that CPU programs have for mistakes.
  Result<void> Compile(const InternedId& kernelId, Bool wait);
  // Makes the programs of kernels again whose files have changed. Stops at the first one that fails, which keeps its
  // program.
  Result<void> ReloadChanged();
  // Makes the program for the modes of noises that are set now, when they are others.
  Result<void> UpdateNoiseModes(GpuKernel& kernel);

 private:
  Result<GpuComputeCallbacks> MakeCallbacks(const GpuKernel& kernel);
  // The program of a kernel whose file is read now, and of one that was parsed before.
  Result<void> Build(const InternedId& kernelId, DrawportProgramDescription& program,
                     const DrawportParameterBinder& binder);
  Result<void> Describe(GpuKernel& kernel, const ParsedKernel& parsed, DrawportProgramDescription& program);
  Result<void> Rebuild(GpuKernel& kernel);
  // Parses the kernel's file. `hash`: see MakeParserKey.
  Result<ParsedKernel> Parse(GpuKernel& kernel, UInt64 hash);

  const GpuContexts& _contexts;
  const GpuKernelTable& _kernels;
  const GpuTextures& _textures;
  const GpuNoises& _noises;
  GpuBinder& _binder;
  AtomicInt32 _parserLock{0};
};

}  // namespace ostra
