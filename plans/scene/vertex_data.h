// Vertices of a draw as the vertex stage reads them: the attributes in the order in which it declares them, without
// gaps, one vertex after the other.
#pragma once

#include "plans/scene/stage_files.h"

namespace ostra::plans {

struct VertexData {
  BaseArray<UInt32> numbers;  // 4 bytes each; none for the buffer of a kernel
  Int stride = 0;             // bytes of a vertex
  Int count = 0;
};

// What is wrong with so many vertices, of which a topology would leave some away or draw nothing; empty when all are
// drawn.
std::string DescribeWrongCount(const SceneDraw& draw, Int count);

// Errors: illegal argument "FILE: PATH: ..." for attributes that are missing, not declared, of another length than
// others, or of types that vertices cannot have; those of LoadBuffer, worded so.
Result<VertexData> MakeVertexData(const Scene& scene, const SceneDraw& draw, const StageFile& vertexStage,
                                  const Url& folder);

}  // namespace ostra::plans
