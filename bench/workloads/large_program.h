// The parts of the workload large_program that run in processes of their own; each prints the milliseconds that it
// took, those of the processor, and the MiB of memory that its process had at most.
#pragma once

#include "bench/measure.h"

namespace bench {

// As `ostra check` compiles: GLSL and HLSL, not optimised.
bool RunCheck200(const Options& options);
bool RunCheck1000(const Options& options);
// The same for 1 MB of functions with loops, that call each other, of vectors, and with INOUT parameters.
bool RunCheckLoops(const Options& options);
bool RunCheckChains(const Options& options);
bool RunCheckVectors(const Options& options);
bool RunCheckReferences(const Options& options);
// As AddKernel compiles: GLSL for the device.
bool RunDevice200(const Options& options);
bool RunDevice1000(const Options& options);
// AddKernel and the first dispatch; 1 MB is refused.
bool RunAdd100(const Options& options);
bool RunAdd200(const Options& options);
bool RunAdd1000(const Options& options);

}  // namespace bench
