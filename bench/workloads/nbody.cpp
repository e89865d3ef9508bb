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

constexpr int kCount = 4096;
constexpr float kSoftening = 0.01f;
constexpr float kTimeStep = 0.001f;

// Bodies in a cube, spread by a multiplicative sequence.
float GetPosition(std::int64_t number) {
  const std::int64_t axis = number % 4;
  if (axis == 3) return 1.0f / kCount;
  return static_cast<float>((number * 2654435761LL >> 4) & 0xffff) / 32768.0f - 1.0f;
}

// Some bodies against sums in double precision.
bool IsRight(const float* nextPositions) {
  for (int i = 0; i < kCount; i += 97) {
    double pull[3] = {0, 0, 0};
    for (int j = 0; j < kCount; ++j) {
      double way[3], squared = kSoftening;
      for (int axis = 0; axis < 3; ++axis) {
        way[axis] = double{GetPosition(j * 4 + axis)} - GetPosition(i * 4 + axis);
        squared += way[axis] * way[axis];
      }
      for (int axis = 0; axis < 3; ++axis)
        pull[axis] += way[axis] * GetPosition(j * 4 + 3) / (squared * std::sqrt(squared));
    }
    for (int axis = 0; axis < 3; ++axis) {
      const double expected = GetPosition(i * 4 + axis) + pull[axis] * kTimeStep * kTimeStep;
      if (std::fabs(nextPositions[i * 4 + axis] - expected) > 1e-5) return false;
    }
  }
  return true;
}

ostra::Vector4d32 GetBody(std::int64_t i) {
  return {GetPosition(i * 4), GetPosition(i * 4 + 1), GetPosition(i * 4 + 2), GetPosition(i * 4 + 3)};
}
ostra::Vector4d32 GetZero(std::int64_t) { return {0, 0, 0, 0}; }

void AddProgram(Contest& contest, const char* name, const char* kernel) {
  using ostra::Vector4d32;
  auto program = std::make_shared<Program>(kernel);
  program->AddBuffer<Vector4d32>("positions", kCount, GetBody);
  program->AddBuffer<Vector4d32>("velocities", kCount, GetZero);
  const auto* next = program->AddBuffer<Vector4d32>("nextPositions", kCount, GetZero);
  program->AddBuffer<Vector4d32>("nextVelocities", kCount, GetZero);
  program->SetUniform("count", ostra::UInt32{kCount});
  program->SetUniform("softening", kSoftening);
  program->SetUniform("timeStep", kTimeStep);
  program->Prepare();
  contest.Add(
      name, [program] { return program->Dispatch(kCount); }, [next] { return IsRight(&next->x); });
}

void AddGpu(Contest& contest, const Options& options) {
  using ostra::Vector4d32;
  GpuWork work("net.ostra.kernels.nbody.krn", "nextPositions");
  if (!work.Start(options)) return;
  work.AddBuffer<Vector4d32>("positions", kCount, GetBody);
  for (const char* name : {"velocities", "nextPositions", "nextVelocities"})
    work.AddBuffer<Vector4d32>(name, kCount, GetZero);
  work.SetUniform("count", ostra::UInt32{kCount});
  work.SetUniform("softening", kSoftening);
  work.SetUniform("timeStep", kTimeStep);
  work.AddPeers(contest, kCount, 1, [](const void* next) { return IsRight(static_cast<const float*>(next)); });
}

}  // namespace

bool RunNBody(const Options& options) {
  Contest contest("nbody", "4096", "throughput", "Ginteraction/s");
  AddProgram(contest, "ours", "net.ostra.kernels.nbody.krn");
  AddProgram(contest, "ours-fast", "net.ostra.kernels.nbody.fast.krn");
  AddGpu(contest, options);
  std::vector<float> positions(kCount * 4), velocities(kCount * 4), nextPositions(kCount * 4),
      nextVelocities(kCount * 4);
  for (int i = 0; i < kCount * 4; ++i) positions[static_cast<std::size_t>(i)] = GetPosition(i);
  const Bodies bodies = {
      kCount, kSoftening, kTimeStep, positions.data(), velocities.data(), nextPositions.data(), nextVelocities.data()};
  for (const NamedStyle& style : kInlinedStyles) {
    contest.Add(
        style.name,
        [&, style] {
          NBody(style.style, bodies);
          return true;
        },
        [&] { return IsRight(nextPositions.data()); });
  }
  for (const bool isFast : {false, true}) {
    if (GetShapedLanes() == 0) break;
    contest.Add(
        isFast ? "openmp-shaped-fast" : "openmp-shaped",
        [&, isFast] {
          ShapedNBody(isFast, bodies);
          return true;
        },
        [&] { return IsRight(nextPositions.data()); });
  }
  return contest.Run(options, [](double seconds) { return double{kCount} * kCount / seconds / 1e9; });
}

}  // namespace bench
