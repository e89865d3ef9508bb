// The textures of a run: which inputs are textures, because the kernel declares them, and how they are read.
#pragma once

#include "plans/run/run_plan.h"

namespace ostra::plans {

// Reads the inputs of all texture parameters. The names of inputs are those of parameters. Errors: usage errors for the
// names and settings of how textures are read, for textures without an input and for several layers on the GPU; those
// of LoadTexture.
Result<std::vector<PlannedTexture>> PlanTextures(const RunOptions& options, const KernelParameters& parameters);

}  // namespace ostra::plans
