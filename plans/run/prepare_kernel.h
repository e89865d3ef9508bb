// What has to happen to a kernel file before it can run.
#pragma once

#include "ostra/host.h"
#include "parallelprogram/kernelruntime/kernel_cache.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "plans/run/kernel_parameters.h"
#include "plans/run/run_options.h"
#include "plans/work_observer.h"

namespace ostra::plans {

struct PreparedKernel {
  kernelruntime::OpenedKernel opened;
  KernelParameters parameters;
  Bool wasCompiled = false;                 // by the C++ compiler, just now
  kernelruntime::KernelModule module = {};  // keeps the file where a debugger finds it
};

// Reads the kernel and, where the CPU is to run it, compiles it and loads its module into `host`: once in the life of
// the host. The GPU alone needs no C++ compiler, unless a parameter has a type that only one can explain; it prepares a
// kernel any number of times. Errors: those of OpenedKernel,
// ReadShaderParameters and MakeKernelModule, and of loading the module.
Result<PreparedKernel> PrepareKernel(const RunOptions& options, Host& host, WorkObserver& observer);

// The kernel once more, as it records what it computes (KernelReportOptions::isTraced); registered as a class of its
// own.
struct TracedKernel {
  std::string classId;
  kernelruntime::KernelModule module;
};
// Errors: those of PrepareKernel, and illegal argument with "file:line:column: error: ..." for a kernel that is not of
// the language alone.
Result<TracedKernel> PrepareTracedKernel(const RunOptions& options, Host& host, WorkObserver& observer);

// A kernel's name may name a template and what takes the place of TYPE in it: `NAME_float_T_.krn` is `NAME.krn` with
// `float`, when there is no file of the longer name. Changes the options' file and argument then. Error: out of memory.
Result<void> SplitTemplateName(RunOptions& options);

}  // namespace ostra::plans
