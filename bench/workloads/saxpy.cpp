#include <cmath>
#include <memory>
#include <vector>

#include "bench/gpu_program.h"
#include "bench/workloads/styles.h"
#include "bench/workloads/virtual_kernels.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

constexpr std::int64_t kCount = 1 << 24;
constexpr float kFactor = 0.25f;

float GetX(std::int64_t index) { return static_cast<float>(index % 1000); }
float GetY(std::int64_t index) { return static_cast<float>(index % 77); }

// After the one run that is checked.
bool IsRight(const float* y) {
  for (std::int64_t i = 0; i < kCount; ++i) {
    if (y[i] != GetY(i) + kFactor * GetX(i)) return false;
  }
  return true;
}

void AddProgram(Contest& contest, const char* name, const char* kernel) {
  auto program = std::make_shared<Program>(kernel);
  program->AddBuffer<float>("x", kCount, GetX);
  const float* y = program->AddBuffer<float>("y", kCount, GetY);
  program->SetUniform("a", kFactor);
  program->SetUniform("count", static_cast<ostra::UInt32>(kCount));
  program->Prepare();
  contest.Add(
      name, [program] { return program->Dispatch(kCount); }, [y] { return IsRight(y); });
}

void AddReference(Contest& contest, const NamedStyle& style) {
  auto x = std::make_shared<std::vector<float>>(kCount);
  auto y = std::make_shared<std::vector<float>>(kCount);
  for (std::int64_t i = 0; i < kCount; ++i) {
    (*x)[static_cast<std::size_t>(i)] = GetX(i);
    (*y)[static_cast<std::size_t>(i)] = GetY(i);
  }
  contest.Add(
      style.name,
      [x, y, style] {
        Saxpy(style.style, kCount, kFactor, x->data(), y->data());
        return true;
      },
      [y] { return IsRight(y->data()); });
}

void AddGpu(Contest& contest, const Options& options) {
  GpuWork work("net.ostra.kernels.saxpy.krn", "y");
  if (!work.Start(options)) return;
  work.AddBuffer<float>("x", kCount, GetX);
  work.AddBuffer<float>("y", kCount, GetY);
  work.SetUniform("a", kFactor);
  work.SetUniform("count", static_cast<ostra::UInt32>(kCount));
  work.AddPeers(contest, kCount, 1, [](const void* y) { return IsRight(static_cast<const float*>(y)); });
}

}  // namespace

bool RunSaxpy(const Options& options) {
  Contest contest("saxpy", "2^24", "throughput", "GB/s");
  AddProgram(contest, "ours", "net.ostra.kernels.saxpy.krn");
  AddProgram(contest, "ours-virtual", kVirtualSaxpy);
  for (const NamedStyle& style : kInlinedStyles) AddReference(contest, style);
  AddReference(contest, kVirtualStyle);
  AddGpu(contest, options);
  return contest.Run(options, [](double seconds) { return 12.0 * kCount / seconds / 1e9; });
}

}  // namespace bench
