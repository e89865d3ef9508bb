#include "bench/workloads/tiles.h"

#include <cstring>

namespace bench {
namespace {

constexpr int kSide = 100;
static_assert(kSide * kSide == kTileCount);
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

}  // namespace

std::shared_ptr<GraphicsProgram> MakeTileTarget() { return std::make_shared<GraphicsProgram>(kSize, kSize, false); }

void BuildTiles(GraphicsProgram& program) {
  program.Build({"net.ostra.bench.tile.vert", "net.ostra.bench.tile.frag"});
  program.SetVertices(kSquare);
}

std::shared_ptr<RawDrawing> MakeRawTiles(const RawDeviceRef& device) {
  return std::make_shared<RawDrawing>(device, RawStages{kVertexText, kFragmentText}, kSize, sizeof(Tile), kTileCount,
                                      kSquare);
}

bool SetTile(GraphicsProgram& program, int number) {
  static const auto kPlace = Need(ostra::InternedId::Create("place")), kTint = Need(ostra::InternedId::Create("tint"));
  const Tile tile = GetTile(number);
  return program.SetUniform(kPlace, tile.place, 0) && program.SetUniform(kTint, tile.tint, 1) &&
         program.UpdateUniforms();
}

bool DrawTiles(GraphicsProgram& program, int count) {
  if (!program.Begin()) return false;
  ostra::DrawportDrawCall call;
  for (int number = 0; number < count; ++number) {
    if (!SetTile(program, number)) return false;
    if (number == 0) call = program.MakeCall(static_cast<ostra::Int>(kSquare.size() / 2));
    if (!program.Draw(call)) return false;
  }
  return program.End();
}

void DrawTiles(RawDrawing& drawing, int count) {
  drawing.Run(count, [](int number, void* slice) {
    const Tile tile = GetTile(number);
    std::memcpy(slice, &tile, sizeof(tile));
  });
}

bool AreTiles(const std::vector<float>& texels, int count) {
  for (int number = 0; number < count; ++number) {
    const int x = number % kSide * kTile + kTile / 2;
    const int y = kSize - 1 - (number / kSide * kTile + kTile / 2);
    const float* texel = &texels[static_cast<std::size_t>(y * kSize + x) * 4];
    const ostra::Vector4d32 tint = GetTile(number).tint;
    if (texel[0] != tint.x || texel[1] != tint.y || texel[2] != tint.z || texel[3] != tint.w) return false;
  }
  return true;
}

}  // namespace bench
