// Draws in scene files. A part of ParseScene.
#pragma once

#include "plans/scene/json_place.h"
#include "plans/scene/scene.h"

namespace ostra::plans {

// A draw of the pass that comes after those of `scene`, whose values, kernels and passes it may name.
Result<SceneDraw> ReadSceneDraw(const JsonPlace& place, const Scene& scene);

// What a draw is made of.
Result<SceneVertices> ReadSceneVertices(const JsonPlace& place, const Scene& scene);
Result<SceneKernelBuffer> ReadSceneKernelBuffer(const JsonPlace& place, const Scene& scene);

// A name of a file: not empty.
Result<std::string> ReadFileName(const JsonPlace& place);

// "1,2.5,3": every number reads back as the same one.
std::string FormatNumbers(const std::vector<Float64>& numbers);

}  // namespace ostra::plans
