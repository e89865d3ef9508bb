// Any bytes: reading a scene gives an error of one line that names the file, or a scene whose values can be computed or
// say why not, and whose shapes have as many numbers for every attribute.
#include <cstdlib>

#include "plans/scene/scene_values.h"
#include "plans/scene/shapes.h"

using namespace ostra;
using namespace ostra::plans;

namespace {

// Larger ones only take time.
constexpr Int kMaxCells = 4096;

void CheckError(const Error& error) {
  const std::string_view text = error.GetMessage().GetView();
  if (!text.starts_with("scene.json:") || text.find('\n') != std::string_view::npos) std::abort();
}

void CheckDraw(const Scene& scene, const SceneDraw& draw) {
  for (const auto& [name, value] : draw.uniforms) {
    if (FindSceneGradient(value, scene.values)) continue;
    const auto numbers = EvaluateSceneValue(value, scene.values, 1.5, scene.file);
    if (!numbers) CheckError(numbers.GetError());
    if (numbers && numbers->empty()) std::abort();
  }
  if (!draw.vertices.shape) return;
  const SceneShapeSettings& shape = *draw.vertices.shape;
  if (shape.segments[0] * shape.segments[1] * shape.segments[2] > kMaxCells) return;
  const ShapeVertices vertices = MakeShape(shape, draw.topology);
  const std::size_t count = static_cast<std::size_t>(vertices.GetCount());
  if (count == 0 || vertices.positions.size() != 3 * count || vertices.normals.size() != 3 * count) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto scene = ParseScene({reinterpret_cast<const char*>(data), size}, "scene.json");
  if (!scene) {
    CheckError(scene.GetError());
    return 0;
  }
  if (scene->passes.empty() || scene->passes.back().colorFormats.empty()) std::abort();
  for (const ScenePass& pass : scene->passes)
    for (const SceneDraw& draw : pass.draws) CheckDraw(*scene, draw);
  return 0;
}
