// A kernel of a GPU program.
#pragma once

#include <mutex>
#include <optional>

#include "ostra/drawport/gpu_compute.h"
#include "parallelprogram/device/parameter_binding.h"
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/program/kernel_report.h"
#include "parallelprogram/program/unknown_names.h"

namespace ostra {

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
  BaseArray<Texture> textures;  // that the kernel declares
  ParsedKernel parsed;
  std::optional<KernelReportTable> reports;  // of a kernel that reports something
};

Result<KernelDescription> DescribeKernel(const ParsedKernel& parsed);

enum class CompileState { NotStarted, Running, Failed, Ready };

struct GpuKernel : RefCounted<GpuKernel>, ParameterLinks {
  InternedId id;
  Url file;                 // where it was found
  String templateArgument;  // takes the place of TYPE
  String fileName;
  KernelReportOptions reportOptions;
  SourcesRead sources;  // by the last parse, good or bad
  GpuComputeRef compute;
  WorkGroupSize workGroupSize;
  Bool usesNoise = false;
  ParsedKernel parsed;  // what the program that runs was made from
  std::optional<KernelReportTable> reports;
  // The modes of all noises that the program is built for; empty: it chooses as it runs. This and the next two only
  // change while nothing is compiled.
  BaseArray<Int32> noiseModes;
  Bool hasKnownModes = true;  // false: they have changed too often
  Int modeChanges = 0;
  Bool texturesChanged = false;  // a texture was deleted since the last UpdateUniforms
  Bool needsUpdate = false;      // a texture was replaced since then that the program is set to
  UnknownNames unknownNames;     // that the binder has met
  Int contextNumber = 0;         // of the context of the last UpdateUniforms; 0 before

  // Between compile job and driving thread.
  mutable std::mutex lock;
  CompileState state = CompileState::NotStarted;
  std::optional<Error> compileError;           // of the last compilation
  std::optional<KernelDescription> described;  // by the last builder; of use once the state is Ready
  std::optional<SourcesRead> read;             // by the last parse; of use once the state is not Running

  // Ends a compilation: its description counts, or its error does. With `keepsProgram` an earlier program stays in use
  // when the new one failed.
  void EndCompile(const Result<void>& result, Bool keepsProgram);
  void SetDescription(KernelDescription description);
  void SetRead(SourcesRead parsed);
  Bool HasDescription() const;
  CompileState GetState() const;
  // Whether a compilation may succeed now, although nothing was edited: there was none, or there was no context for it,
  // no device, no memory or no file.
  Bool IsWorthCompiling() const;

  // Takes over what a compilation that has ended has found. Error: out of memory.
  Result<void> ApplyCompiled();
  // The same, and looks how it has ended. Error: illegal state while the kernel is compiled, and when that has failed.
  Result<void> RequireCompiled();

 private:
  Result<void> ApplyCompiledLocked();
};
using GpuKernelRef = StrongRef<GpuKernel>;

}  // namespace ostra
