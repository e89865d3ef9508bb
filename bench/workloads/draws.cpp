// Ten thousand draws in one pass, each with values of its own, into a target of as many tiles.
#include <cstring>
#include <memory>

#include "bench/gpu_program.h"
#include "bench/graphics_program.h"
#include "bench/vulkan/raw_drawing.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

constexpr int kSide = 100;
constexpr int kDraws = kSide * kSide;
constexpr int kTile = 4;  // pixels
constexpr int kSize = kSide * kTile;

const std::vector<float> kSquare = {0, 0, 1, 0, 1, 1, 0, 0, 1, 1, 0, 1};

struct Tile {
  ostra::Vector4d32 place;  // left, bottom, width, height in clip space
  ostra::Vector4d32 tint;
};

Tile GetTile(int number) {
  constexpr float kStep = 2.0f / kSide;
  const int column = number % kSide, row = number / kSide;
  return {{static_cast<float>(column) * kStep - 1, static_cast<float>(row) * kStep - 1, kStep, kStep},
          {static_cast<float>(column) / kSide, static_cast<float>(row) / kSide, static_cast<float>(number % 7) / 7, 1}};
}

// Every tile is where it belongs and has its colour.
bool IsRight(const std::vector<float>& texels) {
  for (int number = 0; number < kDraws; ++number) {
    const int x = number % kSide * kTile + kTile / 2;
    const int y = kSize - 1 - (number / kSide * kTile + kTile / 2);
    const float* texel = &texels[static_cast<std::size_t>(y * kSize + x) * 4];
    const ostra::Vector4d32 tint = GetTile(number).tint;
    if (texel[0] != tint.x || texel[1] != tint.y || texel[2] != tint.z || texel[3] != tint.w) return false;
  }
  return true;
}

const char* const kVertexText = R"(#version 450
layout(set = 0, binding = 0) uniform Values { vec4 place; vec4 tint; };
layout(location = 0) in vec2 position;
void main() { gl_Position = vec4(place.x + position.x * place.z, place.y + position.y * place.w, 0.5, 1.0); }
)";
const char* const kFragmentText = R"(#version 450
layout(set = 0, binding = 0) uniform Values { vec4 place; vec4 tint; };
layout(location = 0) out vec4 color;
void main() { color = tint; }
)";

std::shared_ptr<GraphicsProgram> MakeTiles() {
  auto program = std::make_shared<GraphicsProgram>(kSize, kSize, false);
  program->Build({"net.ostra.bench.tile.vert", "net.ostra.bench.tile.frag"});
  program->SetVertices(kSquare);
  return program;
}

bool SetTile(GraphicsProgram& program, int number) {
  static const auto kPlace = Need(ostra::InternedId::Create("place")), kTint = Need(ostra::InternedId::Create("tint"));
  const Tile tile = GetTile(number);
  return program.SetUniform(kPlace, tile.place, 0) && program.SetUniform(kTint, tile.tint, 1) &&
         program.UpdateUniforms();
}

bool DrawTiles(GraphicsProgram& program) {
  if (!program.Begin()) return false;
  ostra::DrawportDrawCall call;
  for (int number = 0; number < kDraws; ++number) {
    if (!SetTile(program, number)) return false;
    if (number == 0) call = program.MakeCall(static_cast<ostra::Int>(kSquare.size() / 2));
    if (!program.Draw(call)) return false;
  }
  return program.End();
}

bool RunDrawCalls(const Options& options, const std::string& device) {
  Contest contest("draws", "10^4", "per_draw", "ns");
  const auto program = MakeTiles();
  contest.Add(
      "ours-gpu", [=] { return DrawTiles(*program); }, [=] { return IsRight(program->Read()); });
  const auto drawing = std::make_shared<RawDrawing>(
      std::make_shared<RawDevice>(device), RawStages{kVertexText, kFragmentText}, kSize, sizeof(Tile), kDraws, kSquare);
  contest.Add(
      "vulkan",
      [=] {
        drawing->Run([](int number, void* slice) {
          const Tile tile = GetTile(number);
          std::memcpy(slice, &tile, sizeof(tile));
        });
        return true;
      },
      [=] { return IsRight(drawing->Read()); });
  return contest.Run(options, [](double seconds) { return seconds / kDraws * 1e9; });
}

// What a draw spends on its values before it is recorded.
bool RunUpdates(const Options& options) {
  Contest contest("draws", "10^4", "update_uniforms", "ns");
  const auto program = MakeTiles();
  contest.Add(
      "ours-gpu",
      [=] {
        for (int number = 0; number < kDraws; ++number)
          if (!SetTile(*program, number)) return false;
        return true;
      },
      [=] { return DrawTiles(*program) && IsRight(program->Read()); });
  return contest.Run(options, [](double seconds) { return seconds / kDraws * 1e9; });
}

}  // namespace

bool RunDraws(const Options& options) {
  const std::string device = FindGpu(options);
  return device.empty() || (RunDrawCalls(options, device) && RunUpdates(options));
}

}  // namespace bench
