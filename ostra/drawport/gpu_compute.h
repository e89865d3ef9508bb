// A compute program on the GPU: builds it, sets its parameters through callbacks, and records its dispatches.
//
//   OSTRA_ASSIGN_OR_RETURN(GpuComputeRef compute, CreateObject<GpuComputeInterface>(kGpuComputeClass));
//   OSTRA_RETURN_IF_ERROR(compute->Init(context, callbacks, {}));     // in a job, several at once
//   OSTRA_RETURN_IF_ERROR(compute->UpdateUniforms(context, true));    // calls callbacks.bind
//   OSTRA_RETURN_IF_ERROR(compute->Dispatch(groups, 1, 1));
//   OSTRA_RETURN_IF_ERROR(context->GetCommandList().Execute(true));
//
// One call at a time; all but Init by the thread that drives the context.
#pragma once

#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"
#include "ostra/drawport/program_factory.h"

namespace ostra {

inline constexpr Id kGpuComputeClass = "net.ostra.drawportmisc.gpucomputeclass.gpucompute"_id;

// Where a hash callback writes.
class DrawportHashStream {
 public:
  void Write(UInt64 value) { _hash = _hasValue ? CombineHash(_hash, value) : value, _hasValue = true; }
  // The value when one was written; 0 when none was.
  UInt64 GetHash() const { return _hash; }

 private:
  UInt64 _hash = 0;
  Bool _hasValue = false;
};

struct GpuComputeCallbacks {
  // Writes one number that changes when the program does. Only compared with what it wrote before.
  Delegate<Result<void>(DrawportHashStream& stream)> hash;
  DrawportProgramBuilder build;
  // Used unless the builder names another one with SetParameterInitializationHandler.
  DrawportParameterBinder bind;
};

struct GpuComputeOptions {
  Bool keepsCallbacks = true;  // for rebuilds: without, ReloadProgramFactory and other contexts fail
  Bool wait = true;  // the program is always built by the calling thread; kept for callers that say how they wait
};

// What a dispatch runs with.
struct GpuComputeProgram {
  DrawportProgramFactoryItemRef item;
  DrawportProgramFactory* factory = nullptr;  // of the item
  DrawportParameterValueSet* values = nullptr;
};

class GpuComputeInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.drawportmisc.interface.gpucompute"_id;

  // Builds the program. On error it can be tried again: by Init, ReloadProgramFactory, or the next UpdateUniforms.
  // Errors: illegal state without a context; those of the builder and of the compiler.
  virtual Result<void> Init(const DrawportContextRef& context, const GpuComputeCallbacks& callbacks,
                            const GpuComputeOptions& options) = 0;
  // Sets the parameters through the callback; first builds the program if there is none for this context. With
  // `setsAll` false only a program that was just built is given its parameters. Errors: illegal state before Init, and
  // without a context, after which the one before is not held any longer.
  virtual Result<void> UpdateUniforms(const DrawportContextRef& context, Bool setsAll) = 0;
  // The same with `bind` in place of the program's own callback, for all parameters. It is not held behind the call; an
  // empty one sets nothing. Errors: as of UpdateUniforms.
  virtual Result<void> UpdateUniformsWith(const DrawportContextRef& context, const DrawportParameterBinder& bind) = 0;
  // Records x * y * z work groups on the command list of the last UpdateUniforms, with its values.
  // Errors: illegal state before UpdateUniforms; illegal argument for counts outside 1 to 65535.
  virtual Result<void> Dispatch(UInt32 x, UInt32 y, UInt32 z) = 0;
  // Group counts from element `offset` of a buffer of four Int32 per element; the fourth is not looked at.
  // Errors: as of Dispatch; illegal argument when the element is not inside the buffer.
  virtual Result<void> DispatchIndirect(DrawportCommandList& commandList, DrawportDeviceBuffer& buffer, Int offset) = 0;
  // That of the last UpdateUniforms, to update recorded work with. Error: illegal state before UpdateUniforms.
  virtual Result<GpuComputeProgram> GetProgram() const = 0;
  // Asks the hash callback and rebuilds the program if it is another one. On error the old program stays in use.
  virtual Result<void> ReloadProgramFactory(const DrawportContextRef& context) = 0;
  // The same with `build` in place of the program's own builder. It is not held behind the call. Error also: illegal
  // argument for an empty builder that is needed.
  virtual Result<void> ReloadProgramFactoryWith(const DrawportContextRef& context,
                                                const DrawportProgramBuilder& build) = 0;
  // Releases program and callbacks.
  virtual void Reset() = 0;
};
using GpuComputeRef = StrongRef<GpuComputeInterface>;

}  // namespace ostra
