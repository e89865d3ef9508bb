// Many small tiles, one draw each, with values of their own: through the shader loader and by hand.
#pragma once

#include <memory>
#include <vector>

#include "bench/graphics_program.h"
#include "bench/vulkan/raw_drawing.h"

namespace bench {

inline constexpr int kTileCount = 10000;

// A target for them, and the program for it.
std::shared_ptr<GraphicsProgram> MakeTileTarget();
void BuildTiles(GraphicsProgram& program);
std::shared_ptr<RawDrawing> MakeRawTiles(const RawDeviceRef& device);

// Sets the values of a tile, as before a draw.
bool SetTile(GraphicsProgram& program, int number);
// The first `count` tiles, in one pass over a cleared target.
bool DrawTiles(GraphicsProgram& program, int count);
void DrawTiles(RawDrawing& drawing, int count);

// Whether each of these tiles is where it belongs and has its colour.
bool AreTiles(const std::vector<float>& texels, int count);

}  // namespace bench
