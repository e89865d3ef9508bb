// The parts of the workload shader_compile that run in processes of their own; each prints the milliseconds that it
// took and the number of texts that the compiler worked on.
#pragma once

#include "bench/measure.h"

namespace bench {

// One kernel from its file to the result of its first dispatch, through the GPU program.
bool RunFirstDispatch(const Options& options);
// The same by hand, with the SPIR-V at hand: pipeline, command buffer, result.
bool RunRawFirstDispatch(const Options& options);
// The kernels of the library without noises, compiled by background jobs; or each when the one before it is done. And
// all of them.
bool RunCompileInJobs(const Options& options);
bool RunCompileInTurn(const Options& options);
bool RunCompileNoisesInJobs(const Options& options);
bool RunCompileNoisesInTurn(const Options& options);

}  // namespace bench
