// A kernel of a GPU program.
#pragma once

#include <mutex>
#include <optional>

#include "ostra/core/data_dictionary.h"
#include "ostra/core/hash_map.h"
#include "ostra/drawport/gpu_compute.h"
#include "parallelprogram/gpu/parser_cache.h"

namespace ostra {

// An atomic counter of a program, or a kernel's link to it.
struct GpuCounter {
  DrawportAtomicCounterItemRef item;
  DrawportAtomicCounter* counter = nullptr;  // of the item
};

struct WorkGroupSize {
  UInt32 x = 0, y = 0, z = 0;  // 0 until the kernel was built
};

// What a parse finds out about a kernel beside its code.
struct KernelDescription {
  struct Texture {
    InternedId name;
    Bool isWritable = false;
  };
  WorkGroupSize workGroupSize;
  Bool usesNoise = false;
  UInt64 stamp = 0;             // of the file and the headers
  BaseArray<Url> files;         // that were read
  BaseArray<Texture> textures;  // that the kernel declares
};

Result<KernelDescription> DescribeKernel(const ParsedKernel& parsed);

enum class CompileState { NotStarted, Running, Failed, Ready };

struct GpuKernel : RefCounted<GpuKernel> {
  InternedId id;
  Url file;                 // where it was found
  String templateArgument;  // takes the place of TYPE
  String fileName;
  UInt64 stamp = 0;  // of the file and the headers that the last good parse read
  BaseArray<Url> files;
  GpuComputeRef compute;
  DataDictionary buffers;   // parameter name -> DataBufferEntry
  DataDictionary textures;  // parameter name -> TextureSamplerEntry
  DataDictionary uniforms;
  HashMap<InternedId, GpuCounter> counters;  // by parameter name
  WorkGroupSize workGroupSize;
  Bool usesNoise = false;
  Bool texturesChanged = false;  // a texture was deleted since the last UpdateUniforms

  // Between compile job and driving thread.
  mutable std::mutex lock;
  CompileState state = CompileState::NotStarted;
  std::optional<Error> compileError;           // of the last compilation
  std::optional<KernelDescription> described;  // by the last builder; of use once the state is Ready

  // Ends a compilation: its description counts, or its error does. With `keepsProgram` an earlier program stays in use
  // when the new one failed.
  void EndCompile(const Result<void>& result, Bool keepsProgram);
  void SetDescription(KernelDescription description);
  Bool HasDescription() const;
  CompileState GetState() const;

  // Takes over the description of a compilation that has ended. Error: out of memory.
  Result<void> Settle();
  // Error: illegal state while the kernel is compiled, and when that has failed.
  Result<void> CheckCompiled() const;
};
using GpuKernelRef = StrongRef<GpuKernel>;

// Where a binder sets parameters.
struct ParameterTarget {
  DrawportProgramFactory& factory;
  DrawportParameterValueSet& values;
};

// Sets a value with the setter for its type. Gradients are left out: compute programs read black. Error: illegal
// argument for a type without setter; those of the setter.
Result<void> SetParameterValue(const ParameterTarget& target, DrawportParameterHandle handle, const InternedId& name,
                               const Data& value);

}  // namespace ostra
