#include "bench/workloads/terrain.h"

#include <cmath>

#include "bench/gpu_program.h"
#include "bench/workloads/workloads.h"
#include "ostra/math/matrix.h"
#include "ostra/render/gradient.h"

namespace bench {
namespace {

using ostra::Float32, ostra::Int, ostra::Int32, ostra::Vector32, ostra::Vector4d32;

constexpr Int kPatches = 48;  // a side
constexpr Int kCorners = 4;
constexpr float kExtent = 12;
// Numbers of the stages in the order of Build.
constexpr Int32 kControl = 1, kEvaluation = 2, kFragment = 3;
const Vector32 kEye(0, 0.95f, 3.1f), kTarget(0, 0.38f, 0);

std::vector<float> MakePatches() {
  std::vector<float> numbers;
  const auto add = [&](Int column, Int row) {
    numbers.push_back((static_cast<float>(column) / kPatches - 0.5f) * kExtent);
    numbers.push_back(0);
    numbers.push_back((static_cast<float>(row) / kPatches - 0.5f) * kExtent);
  };
  for (Int row = 0; row < kPatches; ++row) {
    for (Int column = 0; column < kPatches; ++column) {
      add(column, row);
      add(column, row + 1);
      add(column + 1, row + 1);
      add(column + 1, row);
    }
  }
  return numbers;
}

// Looks from kEye to kTarget; depths from 0 to 1.
ostra::Matrix32 MakeCamera(float aspect) {
  constexpr float kNear = 0.05f, kFar = 30, kTangent = 0.3839f;  // of half of 42 degrees
  const float y = kEye.y - kTarget.y, z = kEye.z - kTarget.z;
  const float length = std::sqrt(y * y + z * z), s = y / length, c = z / length;
  const float sx = 1 / (kTangent * aspect), sy = 1 / kTangent, depth = kFar / (kNear - kFar);
  // Of the view: right (1, 0, 0), up (0, c, -s), back (0, s, c).
  const float upAtEye = c * kEye.y - s * kEye.z, backAtEye = s * kEye.y + c * kEye.z;
  return {Vector4d32(sx, 0, 0, 0), Vector4d32(0, sy * c, depth * s, -s), Vector4d32(0, -sy * s, depth * c, -c),
          Vector4d32(0, -sy * upAtEye, -depth * backAtEye + kNear * depth, backAtEye)};
}

template <class T>
void Set(GraphicsProgram& program, const char* name, const T& value, Int32 stage) {
  if (!program.SetUniform(Need(ostra::InternedId::Create(name)), value, stage))
    throw std::runtime_error(std::string("The terrain's value \"") + name + "\" could not be set.");
}

}  // namespace

std::shared_ptr<GraphicsProgram> MakeTerrainTarget(Int width, Int height) {
  return std::make_shared<GraphicsProgram>(width, height, true);
}

void BuildTerrain(GraphicsProgram& program, float aspect) {
  program.Build({"net.ostra.stages.terrain.vert", "net.ostra.stages.terrain.tsc", "net.ostra.stages.terrain.tse",
                 "net.ostra.stages.terrain.frag"});
  program.SetVertices(MakePatches());
  Set(program, "eye", kEye, kControl);
  Set(program, "detail", Float32(120), kControl);
  Set(program, "camera", MakeCamera(aspect), kEvaluation);
  Set(program, "offset", ostra::Vector2d32(8.3f, 3.4f), kEvaluation);
  Set(program, "scale", Float32(0.9f), kEvaluation);
  Set(program, "height", Float32(0.95f), kEvaluation);
  Set(program, "eye", kEye, kFragment);
  Set(program, "sun", Vector32(-0.75f, 0.38f, 0.1f), kFragment);
  Set(program, "haze", Vector32(0.42f, 0.5f, 0.6f), kFragment);
  Set(program, "height", Float32(0.95f), kFragment);
  Set(program, "sight", Float32(5.5f), kFragment);
  Set(program, "colors", ostra::GradientRenderData(), kFragment);  // from black to white
}

bool DrawTerrain(GraphicsProgram& program) {
  if (!program.UpdateUniforms() || !program.Begin()) return false;
  ostra::DrawportDrawCall call = program.MakeCall(kPatches * kPatches * kCorners);
  call.topology = ostra::DrawportTopology::Patches;
  call.patchSize = kCorners;
  return program.Draw(call) && program.End();
}

bool IsTerrain(GraphicsProgram& program, Int width, Int height) {
  const std::vector<float> texels = program.Read();
  const auto isDrawn = [&](Int x, Int y) { return texels[static_cast<std::size_t>((y * width + x) * 4 + 3)] == 1; };
  for (Int x = 0; x < width; ++x)
    if (isDrawn(x, 0) || !isDrawn(x, height - 1)) return false;
  return true;
}

bool RunTerrain(const Options& options) {
  if (FindGpu(options).empty()) return true;
  constexpr Int kWidth = 1920, kHeight = 1080;
  const auto program = MakeTerrainTarget(kWidth, kHeight);
  BuildTerrain(*program, float{kWidth} / kHeight);
  Contest contest("terrain", "1920x1080", "frame", "ms");
  contest.Add(
      "ours-gpu", [=] { return DrawTerrain(*program); }, [=] { return IsTerrain(*program, kWidth, kHeight); });
  return contest.Run(options, [](double seconds) { return seconds * 1e3; });
}

}  // namespace bench
