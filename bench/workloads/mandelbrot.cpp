#include <memory>
#include <vector>

#include "bench/gpu_program.h"
#include "bench/references/shaped.h"
#include "bench/workloads/styles.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

constexpr int kSize = 1024;
constexpr std::int64_t kPixels = std::int64_t{kSize} * kSize;
constexpr std::uint32_t kLimit = 256;
constexpr Plane kPlane = {kSize, kSize, -2.0f, -1.25f, 2.5f / kSize};

// The points of known answers: c = 0 and c = -1 never leave the circle, the corner does at once.
bool IsRight(const std::uint32_t* iterations) {
  auto at = [&](double x, double y) {
    const auto column = static_cast<std::int64_t>((x - kPlane.left) / kPlane.pixel);
    const auto row = static_cast<std::int64_t>((y - kPlane.top) / kPlane.pixel);
    return iterations[row * kSize + column];
  };
  std::uint64_t sum = 0;
  for (std::int64_t i = 0; i < kPixels; ++i) sum += iterations[i];
  const double mean = static_cast<double>(sum) / kPixels;
  return at(0, 0) == kLimit && at(-1, 0) == kLimit && at(-2, -1.25) <= 2 && mean > 60 && mean < 90;
}

void AddProgram(Contest& contest, const char* name, const char* kernel) {
  auto program = std::make_shared<Program>(kernel);
  const auto* steps = program->AddBuffer<ostra::UInt32>("steps", kPixels, [](std::int64_t) { return 0u; });
  program->SetUniform("width", ostra::UInt32{kSize});
  program->SetUniform("height", ostra::UInt32{kSize});
  program->SetUniform("left", kPlane.left);
  program->SetUniform("top", kPlane.top);
  program->SetUniform("pixelSize", kPlane.pixel);
  program->SetUniform("maximum", ostra::UInt32{kLimit});
  program->Prepare();
  contest.Add(
      name, [program] { return program->Dispatch(kSize, kSize); }, [steps] { return IsRight(steps); });
}

void AddGpu(Contest& contest, const Options& options) {
  GpuWork work("net.ostra.kernels.mandelbrot.krn", "steps");
  if (!work.Start(options)) return;
  work.AddBuffer<ostra::UInt32>("steps", kPixels, [](std::int64_t) { return 0u; });
  work.SetUniform("width", ostra::UInt32{kSize});
  work.SetUniform("height", ostra::UInt32{kSize});
  work.SetUniform("left", kPlane.left);
  work.SetUniform("top", kPlane.top);
  work.SetUniform("pixelSize", kPlane.pixel);
  work.SetUniform("maximum", ostra::UInt32{kLimit});
  work.AddPeers(contest, kSize, kSize,
                [](const void* steps) { return IsRight(static_cast<const std::uint32_t*>(steps)); });
}

}  // namespace

bool RunMandelbrot(const Options& options) {
  Contest contest("mandelbrot", "1024^2", "throughput", "Mpixel/s");
  AddProgram(contest, "ours", "net.ostra.kernels.mandelbrot.krn");
  AddProgram(contest, "ours-fast", "net.ostra.kernels.mandelbrot.fast.krn");
  AddGpu(contest, options);
  std::vector<std::uint32_t> iterations(kPixels);
  for (const NamedStyle& style : kInlinedStyles) {
    contest.Add(
        style.name,
        [&, style] {
          Mandelbrot(style.style, kPlane, kLimit, iterations.data());
          return true;
        },
        [&] { return IsRight(iterations.data()); });
  }
  for (const int lanes : {8, 16}) {
    if (lanes > GetShapedLanes()) continue;
    contest.Add(
        lanes == 8 ? "openmp-shaped" : "openmp-shaped-16",
        [&, lanes] {
          ShapedMandelbrot(lanes, kPlane, kLimit, iterations.data());
          return true;
        },
        [&] { return IsRight(iterations.data()); });
  }
  return contest.Run(options, [](double seconds) { return kPixels / seconds / 1e6; });
}

}  // namespace bench
