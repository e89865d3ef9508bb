// Classes of kernels that are loaded for their parameters alone.
#pragma once

#include <string>

#include "ostra/host.h"
#include "parallelprogram/kernelruntime/kernel_cache.h"

namespace ostra::plans {

struct ParameterClass {
  std::string classId;
  kernelruntime::KernelModule module = {};  // empty if an earlier call has loaded the class
};

// Loads the kernel of `options`, of which `opened` must be given and `classId` is replaced: the name of the file, or
// the first unused one of "NAME-2.krn" and so on. The class stays loaded until the host ends, because data types of
// parameters belong to its module; later calls for the same text return it. For one thread at a time. Errors: those of
// LoadKernelModule.
Result<ParameterClass> LoadParameterClass(kernelruntime::KernelModuleOptions options, Host& host);

}  // namespace ostra::plans
