// Carries a plan out on a parallel program.
#pragma once

#include <memory>

#include "apps/ostra/run/run_plan.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra::tool {

class ProgramRun {
 public:
  // `plan` must outlive the object. Without a context the program makes one of its own. Errors: those of the program.
  static Result<ProgramRun> Create(const RunPlan& plan, const Id& programClass, const Url& kernelFile,
                                   const DrawportContextRef* context = nullptr);

  // Puts buffers, links and counters back to their start, which is also where they are after Create.
  Result<void> Restart();
  // Dispatches `iterations` times, exchanging the buffers of the plan in between. Returns the time of the dispatches in
  // milliseconds. Shows progress on a terminal.
  Result<Float64> Run(Int iterations);

  // Error: illegal state when a kernel wrote close to a buffer; farther away it is a fault at
  // once. CPU only.
  Result<void> CheckBufferEnds() const;

  // The elements that the kernel sees under this name after the last dispatch.
  Result<Array<Generic>> GetBuffer(InternedId name) const;
  // The same where they are, for others who use the context; valid while this object lives.
  Result<Data> GetBufferLink(InternedId name) const { return _program->GetKernelBufferLink(name); }
  Result<UInt32> GetCounter(InternedId name) const { return _program->GetAtomicCounter(name); }

 private:
  ProgramRun(const RunPlan& plan, Bool hasFences) : _plan(&plan), _hasFences(hasFences) {}
  Result<void> StoreBuffer(const PlannedBuffer& buffer);
  Result<void> StoreBuffers();
  Result<void> StoreTextures();
  Result<void> SetValues();

  const RunPlan* _plan;
  Bool _hasFences;
  // Buffers with fences, which the program only links.
  std::vector<std::unique_ptr<Array<Generic>>> _fencedBuffers;
  ParallelProgramRef _program;
};

}  // namespace ostra::tool
