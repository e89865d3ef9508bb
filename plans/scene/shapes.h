// Shapes that scenes are drawn with, as lists of vertices without an index.
//
// Surfaces are seen from outside, where their triangles turn counterclockwise; their patches have four corners in the
// same order. Texture coordinates begin in the upper left corner.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "plans/scene/scene.h"

namespace ostra::plans {

struct ShapeVertices {
  std::vector<Float32> positions;  // 3 numbers a vertex
  std::vector<Float32> normals;    // 3
  std::vector<Float32> uvs;        // 2

  Int GetCount() const { return static_cast<Int>(uvs.size()) / 2; }
  // The numbers of an attribute and how many a vertex has; none for a name that no shape has.
  const std::vector<Float32>* Find(std::string_view attribute, Int& componentCount) const;
};

// The attributes that shapes have.
std::vector<std::string> ListShapeAttributes();

// Patches: four vertices a cell; points: each corner once; lines: each side of a cell once; else triangles. Lengths of
// 0 are not asked for.
ShapeVertices MakeShape(const SceneShapeSettings& settings, SceneTopology topology);

// The sides of triangles as lines.
ShapeVertices MakeWireframe(const ShapeVertices& triangles);

}  // namespace ostra::plans
