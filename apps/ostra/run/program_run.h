// Carries a plan out on a parallel program.
#pragma once

#include "apps/ostra/run/run_plan.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra::tool {

class ProgramRun {
 public:
  // `plan` must outlive the object. Errors: those of the program.
  static Result<ProgramRun> Create(const RunPlan& plan, const Id& programClass, const Url& kernelFile);

  // Puts buffers, links and counters back to their start, which is also where they are after Create.
  Result<void> Restart();
  // Dispatches `iterations` times, exchanging the buffers of the plan in between. Returns the time of the dispatches in
  // milliseconds. Shows progress on a terminal.
  Result<Float64> Run(Int iterations);

  // The elements that the kernel sees under this name after the last dispatch.
  Result<Array<Generic>> GetBuffer(InternedId name) const;
  Result<UInt32> GetCounter(InternedId name) const { return _program->GetAtomicCounter(name); }

 private:
  explicit ProgramRun(const RunPlan& plan) : _plan(&plan) {}
  Result<void> StoreBuffers();
  Result<void> StoreTextures();
  Result<void> SetValues();

  const RunPlan* _plan;
  ParallelProgramRef _program;
};

}  // namespace ostra::tool
