#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "bench/gpu_program.h"
#include "bench/references/shaped.h"
#include "bench/workloads/styles.h"
#include "bench/workloads/workloads.h"
#include "ostra/math/data_types.h"

namespace bench {
namespace {

constexpr int kSize = 2048;
constexpr std::int64_t kPixels = std::int64_t{kSize} * kSize;

// The outer product of the binomial weights 1 4 6 4 1.
float GetTap(std::int64_t index) {
  constexpr std::array<float, 5> kWeights = {1, 4, 6, 4, 1};
  return kWeights[static_cast<std::size_t>(index / 5)] * kWeights[static_cast<std::size_t>(index % 5)] / 256.0f;
}

float GetChannel(std::int64_t index) { return static_cast<float>((index * 2654435761LL >> 7) & 255) / 255.0f; }

// Compares some pixels, corners included, with sums in double precision.
bool IsRight(const float* target) {
  auto clamp = [](int value) { return value < 0 ? 0 : value >= kSize ? kSize - 1 : value; };
  for (int y = 0; y < kSize; y += 89) {
    for (int x = 0; x < kSize; x += 23) {
      for (int channel = 0; channel < 4; ++channel) {
        double sum = 0;
        for (int tap = 0; tap < 25; ++tap) {
          const std::int64_t sample = std::int64_t{clamp(y + tap / 5 - 2)} * kSize + clamp(x + tap % 5 - 2);
          sum += double{GetTap(tap)} * GetChannel(sample * 4 + channel);
        }
        if (std::fabs(target[(std::int64_t{y} * kSize + x) * 4 + channel] - sum) > 1e-5) return false;
      }
    }
  }
  return true;
}

ostra::Vector4d32 GetPixel(std::int64_t i) {
  return {GetChannel(i * 4), GetChannel(i * 4 + 1), GetChannel(i * 4 + 2), GetChannel(i * 4 + 3)};
}

void AddProgram(Contest& contest, const char* name, const char* kernel) {
  using ostra::Vector4d32;
  auto program = std::make_shared<Program>(kernel);
  program->AddBuffer<float>("taps", 25, GetTap);
  program->AddBuffer<Vector4d32>("source", kPixels, GetPixel);
  const auto* target =
      program->AddBuffer<Vector4d32>("target", kPixels, [](std::int64_t) { return Vector4d32(0, 0, 0, 0); });
  program->SetUniform("width", kSize);
  program->SetUniform("height", kSize);
  program->Prepare();
  contest.Add(
      name, [program] { return program->Dispatch(kSize, kSize); }, [target] { return IsRight(&target->x); });
}

void AddGpu(Contest& contest, const Options& options) {
  using ostra::Vector4d32;
  GpuWork work("net.ostra.kernels.blur5.krn", "target");
  if (!work.Start(options)) return;
  work.AddBuffer<float>("taps", 25, GetTap);
  work.AddBuffer<Vector4d32>("source", kPixels, GetPixel);
  work.AddBuffer<Vector4d32>("target", kPixels, [](std::int64_t) { return Vector4d32(0, 0, 0, 0); });
  work.SetUniform("width", kSize);
  work.SetUniform("height", kSize);
  work.AddPeers(contest, kSize, kSize, [](const void* target) { return IsRight(static_cast<const float*>(target)); });
}

}  // namespace

bool RunBlur5(const Options& options) {
  Contest contest("blur5", "2048^2", "throughput", "Mpixel/s");
  AddProgram(contest, "ours", "net.ostra.kernels.blur5.krn");
  AddProgram(contest, "ours-fast", "net.ostra.kernels.blur5.fast.krn");
  AddGpu(contest, options);
  std::vector<float> taps(25), source(kPixels * 4), target(kPixels * 4);
  for (int i = 0; i < 25; ++i) taps[static_cast<std::size_t>(i)] = GetTap(i);
  for (std::int64_t i = 0; i < kPixels * 4; ++i) source[static_cast<std::size_t>(i)] = GetChannel(i);
  for (const NamedStyle& style : kInlinedStyles) {
    contest.Add(
        style.name,
        [&, style] {
          Blur5(style.style, kSize, kSize, taps.data(), source.data(), target.data());
          return true;
        },
        [&] { return IsRight(target.data()); });
  }
  if (GetShapedLanes() != 0) {
    contest.Add(
        "openmp-shaped",
        [&] {
          ShapedBlur5(kSize, kSize, taps.data(), source.data(), target.data());
          return true;
        },
        [&] { return IsRight(target.data()); });
  }
  return contest.Run(options, [](double seconds) { return kPixels / seconds / 1e6; });
}

}  // namespace bench
