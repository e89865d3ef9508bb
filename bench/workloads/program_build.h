// The parts of the workload program_build that run in processes of their own: from stage files to the first picture.
// Each prints as CompilerWatch does.
#pragma once

#include "bench/measure.h"

namespace bench {

// Two stages of a few lines, by the shader loader and by hand (which has no cache and compiles always).
bool RunFirstTile(const Options& options);
bool RunRawFirstTile(const Options& options);
// Four stages of a terrain.
bool RunFirstTerrain(const Options& options);

}  // namespace bench
