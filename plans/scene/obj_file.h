// Models in .obj files: triangles with positions, normals and texture coordinates.
//
// Read are the lines v, vt, vn and f, with polygons of any number of corners and indices that count from the end;
// others (materials, groups, curves) are passed over.
#pragma once

#include <string_view>

#include "ostra/core/result.h"
#include "plans/scene/shapes.h"

namespace ostra::plans {

// Polygons are divided from their first corner. Corners without a normal get that of their polygon; without texture
// coordinates 0, 0. Those of the file count from below, here from above. Errors: illegal argument with the line,
// without the name of the file, for numbers and indices that are none, and for more than kMaxSceneVertices; a model
// without faces.
Result<ShapeVertices> DecodeObj(std::string_view text);

}  // namespace ostra::plans
