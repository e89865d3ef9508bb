// One draw, and how targets are cleared before the first one; see DrawportCommandList::BeginDrawPass.
#pragma once

#include "ostra/drawport/graphics_objects.h"
#include "ostra/drawport/resources.h"
#include "ostra/math/vector.h"

namespace ostra {

class DrawportParameterValueSet;
class DrawportProgramFactory;

struct DrawportClearValues {
  Bool clearsColor = true;
  Vector4d32 colors[kMaxColorTargets] = {};  // by target; integer targets take the whole numbers
  Bool clearsDepth = true;
  Float32 depth = 1;
};

struct DrawportDrawCall {
  DrawportProgramFactory* program = nullptr;
  DrawportParameterValueSet* values = nullptr;
  const DrawportStateObject* state = nullptr;              // null: the default state
  const DrawportVertexAttributeSet* attributes = nullptr;  // null for a program without attributes
  DrawportDeviceBuffer* vertices = nullptr;                // null: that of `attributes`
  Int count = 0;                                           // vertices
  Int first = 0;                                           // vertex
  Int instanceCount = 1;
  DrawportTopology topology = DrawportTopology::Triangles;
  Int patchSize = 3;  // control points, for DrawportTopology::Patches
};

}  // namespace ostra
