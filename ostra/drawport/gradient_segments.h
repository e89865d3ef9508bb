// Gradients in the form in which shaders read them.
#pragma once

#include "ostra/drawport/shader_assembly.h"
#include "ostra/render/gradient.h"

namespace ostra {

// Appends the segments of a gradient, in the order of their positions; an empty gradient has none. Error: out of
// memory.
OSTRA_API Result<void> AppendGradientSegments(const GradientRenderData& gradient,
                                              BaseArray<ShaderGradientSegment>& segments);

}  // namespace ostra
