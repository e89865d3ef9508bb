// Ten thousand draws in one pass, each with values of its own, into a target of as many tiles.
#include "bench/gpu_program.h"
#include "bench/workloads/tiles.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

double GetNanoseconds(double seconds) { return seconds / kTileCount * 1e9; }

bool RunDrawCalls(const Options& options, const std::string& device) {
  Contest contest("draws", "10^4", "per_draw", "ns");
  const auto program = MakeTileTarget();
  BuildTiles(*program);
  contest.Add(
      "ours-gpu", [=] { return DrawTiles(*program, kTileCount); },
      [=] { return AreTiles(program->Read(), kTileCount); });
  const auto drawing = MakeRawTiles(std::make_shared<RawDevice>(device));
  contest.Add(
      "vulkan",
      [=] {
        DrawTiles(*drawing, kTileCount);
        return true;
      },
      [=] { return AreTiles(drawing->Read(), kTileCount); });
  return contest.Run(options, &GetNanoseconds);
}

// What a draw spends on its values before it is recorded.
bool RunUpdates(const Options& options) {
  Contest contest("draws", "10^4", "update_uniforms", "ns");
  const auto program = MakeTileTarget();
  BuildTiles(*program);
  contest.Add(
      "ours-gpu",
      [=] {
        for (int number = 0; number < kTileCount; ++number)
          if (!SetTile(*program, number)) return false;
        return true;
      },
      [=] { return DrawTiles(*program, kTileCount) && AreTiles(program->Read(), kTileCount); });
  return contest.Run(options, &GetNanoseconds);
}

}  // namespace

bool RunDraws(const Options& options) {
  const std::string device = FindGpu(options);
  return device.empty() || (RunDrawCalls(options, device) && RunUpdates(options));
}

}  // namespace bench
