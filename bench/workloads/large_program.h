// The parts of the workload large_program that run in processes of their own; each prints the milliseconds that it took
// and the MiB of memory that its process had at most.
#pragma once

#include "bench/measure.h"

namespace bench {

// As `ostra check` compiles: GLSL and HLSL, not optimised.
bool RunCheck200(const Options& options);
bool RunCheck1000(const Options& options);
// As AddKernel compiles: GLSL for the device.
bool RunDevice200(const Options& options);
bool RunDevice1000(const Options& options);

}  // namespace bench
