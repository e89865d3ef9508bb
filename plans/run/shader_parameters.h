// The parameters of a kernel as the GPU program finds them in its text, without compiling it for the CPU.
#pragma once

#include <optional>
#include <string>

#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "plans/run/kernel_parameters.h"

namespace ostra::plans {

// Nothing when a type is one that only the C++ compiler can explain, such as a name that a host's header has.
// `templateArgument` takes the place of TYPE. `opened`: the file. Error: illegal argument with "file:line: error: ..."
// for what the translator refuses.
Result<std::optional<KernelParameters>> ReadShaderParameters(const Url& kernelFile, const std::string& templateArgument,
                                                             const kernelruntime::OpenedKernel& opened);

}  // namespace ostra::plans
