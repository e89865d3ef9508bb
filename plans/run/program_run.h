// Carries a plan out on a parallel program.
#pragma once

#include <memory>

#include "parallelprogram/program/kernel_report_interface.h"
#include "parallelprogram/program/parallel_program.h"
#include "plans/run/print_sink.h"
#include "plans/run/run_plan.h"
#include "plans/run/template_folder.h"
#include "plans/work_observer.h"

namespace ostra::plans {

// A kernel, and what takes the place of TYPE in it.
struct ProgramFile {
  Url kernelFile;
  std::string templateArgument = {};
  KernelReportOptions reports = {};
  Int printRoom = Int{1} << 20;  // bytes
  Int stepLimit = 10'000'000;
  std::string classId = {};  // of the kernel on the CPU; empty: the name of the file
  // On the CPU: an access far outside of a buffer is a fault of the process, and one close to it is found afterwards.
  Bool hasGuards = false;
  WorkObserver* observer = nullptr;  // gets diagnostics while a GPU's kernel is compiled, and may stop the run
};

class ProgramRun {
 public:
  // `plan` must outlive the object, which takes the inputs out of a plan that is run once. Without a context the
  // program makes one of its own. Errors: those of the program.
  static Result<ProgramRun> Create(RunPlan& plan, const Id& programClass, const ProgramFile& file,
                                   const DrawportContextRef* context = nullptr);

  // Gives what the first run prints to `sink`, which must outlive the object; `backend` as in PrintSink::Take.
  void ShowPrints(PrintSink& sink, std::string_view backend) {
    _sink = &sink;
    _backend = backend;
  }
  // Puts buffers, links and counters back to their start, which is also where they are after Create.
  Result<void> Restart();
  // Dispatches `iterations` times, exchanging the buffers of the plan in between. Returns the time of the dispatches in
  // milliseconds. Progress is advanced by a step for each. Error: illegal state if the observer stops the run, which is
  // asked before each dispatch.
  Result<Float64> Run(Int iterations, WorkProgress& progress);

  // The dispatch number `number` alone, counted from 1, and waits for it.
  Result<void> Step(Int number);
  // Of traced kernels: what is recorded from now on, and what was recorded.
  void SetTrace(const KernelTrace& trace);
  Result<KernelPrints> TakePrints();

  // Whether kernels have left what is close to their buffers as it was; farther away a write is a fault at once. CPU
  // only.
  Bool AreBufferEndsWhole() const;

  // The elements that the kernel sees under this name after the last dispatch.
  Result<Array<Generic>> GetBuffer(InternedId name) const;
  // The same where they are, for others who use the context; valid while this object lives.
  Result<Data> GetBufferLink(InternedId name) const { return _program->GetKernelBufferLink(name); }
  Result<UInt32> GetCounter(InternedId name) const { return _program->GetAtomicCounter(name); }

 private:
  ProgramRun(RunPlan& plan, Bool hasGuards) : _plan(&plan), _hasGuards(hasGuards) {}
  Result<void> AddKernel(const Id& programClass, const ProgramFile& file, const DrawportContextRef* context);
  Result<void> DispatchAll(Int iterations, WorkProgress& progress);
  Result<void> Prepare(Int number);
  Result<void> Dispatch(Int number, Bool isOnlyOne);
  Result<void> StoreBuffer(PlannedBuffer& buffer);
  Result<void> StoreBuffers();
  Result<void> StoreTextures();
  Result<void> SetValues();

  // Bytes of the buffers and textures of a dispatch.
  Int CountBytes() const;

  RunPlan* _plan;
  Bool _hasGuards;
  Bool _isOnGpu = false;
  Int _byteCount = 0;
  PrintSink* _sink = nullptr;
  std::string _backend;
  WorkObserver* _observer = nullptr;
  // Guarded buffers, which the program only links.
  std::vector<std::unique_ptr<Array<Generic>>> _guardedBuffers;
  std::unique_ptr<TemplateFolder> _templateFolder;  // outlives the program, which reads from it
  ParallelProgramRef _program;
};

}  // namespace ostra::plans
