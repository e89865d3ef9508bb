// From stage files to the first picture, with nothing in any cache and with everything there.
#include "bench/workloads/program_build.h"

#include "bench/child.h"
#include "bench/gpu_program.h"
#include "bench/workloads/compiler_watch.h"
#include "bench/workloads/terrain.h"
#include "bench/workloads/tiles.h"
#include "bench/workloads/workloads.h"

namespace bench {

bool RunFirstTile(const Options&) {
  CompilerWatch watch;
  const auto program = MakeTileTarget();
  watch.Start();
  BuildTiles(*program);
  const bool isDrawn = DrawTiles(*program, 1);
  watch.Stop();
  watch.Print();
  return isDrawn && AreTiles(program->Read(), 1);
}

bool RunRawFirstTile(const Options& options) {
  const auto device = std::make_shared<RawDevice>(FindGpu(options));
  CompilerWatch watch;
  watch.Start();
  const auto drawing = MakeRawTiles(device);
  DrawTiles(*drawing, 1);
  watch.Stop();
  watch.Print();
  return AreTiles(drawing->Read(), 1);
}

bool RunFirstTerrain(const Options&) {
  constexpr ostra::Int kWidth = 192, kHeight = 108;
  CompilerWatch watch;
  const auto program = MakeTerrainTarget(kWidth, kHeight);
  watch.Start();
  BuildTerrain(*program, float{kWidth} / kHeight);
  const bool isDrawn = DrawTerrain(*program);
  watch.Stop();
  watch.Print();
  return isDrawn && IsTerrain(*program, kWidth, kHeight);
}

bool RunProgramBuild(const Options& options) {
  if (FindGpu(options).empty()) return true;
  ColdAndWarm tile("first_tile"), raw("raw_first_tile"), terrain("first_terrain");
  for (int run = 0; run < options.runs; ++run)
    for (ColdAndWarm* part : {&tile, &raw, &terrain}) part->RunRound();
  if (!tile.IsRight() || !terrain.IsRight()) return false;
  const auto print = [&](const char* peer, const char* size, const ColdAndWarm& part) {
    if (!Wants(options, peer)) return;
    PrintFigure(peer, "program_build", size, "first_picture_cold", "ms", part.GetCold());
    PrintFigure(peer, "program_build", size, "first_picture_warm", "ms", part.GetWarm());
  };
  print("ours-gpu", "2 stages", tile);
  print("vulkan", "2 stages", raw);
  print("ours-gpu", "4 stages", terrain);
  return true;
}

}  // namespace bench
