// What a scene needs on a device, checked and read completely before anything is drawn.
#pragma once

#include <optional>

#include "ostra/core/array.h"
#include "ostra/core/data.h"
#include "plans/scene/stage_files.h"
#include "plans/textures/load_texture.h"

namespace ostra::plans {

// A value for a parameter of one stage.
struct PlannedStageValue {
  Int32 stage = 0;  // place in the list of stage files
  InternedId name;
  Data value;
};

// Texels from files, once for all stages and draws that name the same.
struct PlannedFileTexture {
  InternedId name;  // in the loader's table
  TextureContents contents;
  TextureBindData description;  // of `contents`, without the address of the texels
};

struct PlannedStageTexture {
  Int32 stage = 0;
  InternedId name;
  InternedId source;  // in the loader's table
  // Of what an earlier pass has drawn: where it is, and how it is read.
  Int pass = -1;
  Bool isDepth = false;
  Int target = 0;
  Bool isLinear = false;
  Bool hasSamples = false;  // the stage reads them one by one
};

struct PlannedStageBuffer {
  Int32 stage = 0;
  InternedId name;
  InternedId source;  // in the loader's table
  std::optional<SceneKernelBuffer> kernelBuffer;
  DataType elementType;                      // no type: that of the kernel
  std::optional<GenericBaseArray> elements;  // without a kernel
};

struct PlannedDraw {
  const SceneDraw* scene = nullptr;
  std::vector<StageFile> stages;
  InternedId program;
  // Numbers of 4 bytes, vertex after vertex; empty for the buffer of a kernel.
  BaseArray<UInt32> vertexNumbers;
  Int stride = 0;       // bytes of a vertex
  Int vertexCount = 0;  // 0: as many as the kernel's buffer has
  std::vector<PlannedStageValue> uniforms;
  std::vector<PlannedStageTexture> textures;
  std::vector<PlannedStageBuffer> buffers;
  std::vector<PlannedStageValue> counters;  // without values
};

struct PlannedPass {
  const ScenePass* scene = nullptr;
  Extents size;
  std::vector<PlannedDraw> draws;
};

struct RenderPlan {
  std::vector<PlannedFileTexture> textures;
  std::vector<PlannedPass> passes;
};

// Reads stage files, textures, attributes and buffers, which lie beside the scene file in `folder`, and computes
// values. `scene` must outlive the plan. Errors: illegal argument "FILE: PATH: ..." for names that the stages do not
// declare, parameters without a value, values of another type, and files that cannot be read; "file:line: error: ..."
// for stage files.
Result<RenderPlan> MakeRenderPlan(const Scene& scene, const Url& folder);

}  // namespace ostra::plans
