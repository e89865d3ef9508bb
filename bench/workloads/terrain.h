// The terrain of kernels/stages: 48 x 48 patches that the device divides the finer the nearer they are.
#pragma once

#include "bench/graphics_program.h"

namespace bench {

// A target of this size, and the program for it with everything that it reads.
std::shared_ptr<GraphicsProgram> MakeTerrainTarget(ostra::Int width, ostra::Int height);
void BuildTerrain(GraphicsProgram& program, float aspect);

// One frame, submitted and awaited.
bool DrawTerrain(GraphicsProgram& program);

// Land below, sky above: nothing was drawn into the topmost row, everything into the lowest one.
bool IsTerrain(GraphicsProgram& program, ostra::Int width, ostra::Int height);

}  // namespace bench
