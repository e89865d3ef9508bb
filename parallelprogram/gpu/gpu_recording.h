// GpuRecording: dispatches of a GPU program that were recorded to be replayed: the recorded work of the command list,
// and what it was recorded with, by which a replay knows whether that is still there.
#pragma once

#include "parallelprogram/gpu/gpu_kernel.h"

namespace ostra {

struct GpuRecording {
  // A program that dispatches run: a kernel has another one for other modes of noises.
  struct Program {
    GpuKernelRef kernel;
    GpuComputeProgram program;
    StrongRef<ShaderParser> parser;  // the kernel has another one when its file was read again
  };
  struct Texture {
    InternedId name;
    DrawportTextureItemRef item;
    DrawportTexture* texture = nullptr;
  };

  UInt64 number = 0;  // in the program
  UInt64 work = 0;    // in the command list
  Int contextNumber = 0;
  BaseArray<Program> programs;
  BaseArray<DataBufferEntry> buffers;
  BaseArray<Texture> textures;

  // Notes what a kernel runs with after an update. Of buffers and textures those that the program has, in `buffers` and
  // `textures`. Error: out of memory.
  Result<void> AddKernel(const GpuKernelRef& kernel, const DataDictionary& allBuffers,
                         const DataDictionary& allTextures);
  Result<void> AddBuffer(const DataBufferEntry& entry, const DataDictionary& allBuffers);
  Bool HasKernel(const GpuKernel& kernel) const;
  // Error: illegal state that names what is not as it was.
  Result<void> CheckUnchanged(const DataDictionary& allBuffers, const DataDictionary& allTextures) const;
};

}  // namespace ostra
