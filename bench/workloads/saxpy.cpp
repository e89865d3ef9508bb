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

// After the one run that is checked, of so many passes. The numbers are such that nothing is rounded.
bool IsRight(const float* y, int passes) {
  for (std::int64_t i = 0; i < kCount; ++i) {
    if (y[i] != GetY(i) + kFactor * GetX(i) * static_cast<float>(passes)) return false;
  }
  return true;
}

void AddProgram(Contest& contest, const char* name, const char* kernel, int passes = 1) {
  auto program = std::make_shared<Program>(kernel);
  program->AddBuffer<float>("x", kCount, GetX);
  const float* y = program->AddBuffer<float>("y", kCount, GetY);
  program->SetUniform("a", kFactor);
  program->SetUniform("count", static_cast<ostra::UInt32>(kCount));
  program->Prepare();
  contest.Add(
      name,
      [program, passes] {
        for (int pass = 0; pass < passes; ++pass)
          if (!program->Dispatch(kCount)) return false;
        return true;
      },
      [y, passes] { return IsRight(y, passes); });
}

void AddReference(Contest& contest, const NamedStyle& style, int passes = 1) {
  auto x = std::make_shared<std::vector<float>>(kCount);
  auto y = std::make_shared<std::vector<float>>(kCount);
  for (std::int64_t i = 0; i < kCount; ++i) {
    (*x)[static_cast<std::size_t>(i)] = GetX(i);
    (*y)[static_cast<std::size_t>(i)] = GetY(i);
  }
  contest.Add(
      style.name,
      [x, y, style, passes] {
        for (int pass = 0; pass < passes; ++pass) Saxpy(style.style, kCount, kFactor, x->data(), y->data());
        return true;
      },
      [y, passes] { return IsRight(y->data(), passes); });
}

void AddGpu(Contest& contest, const Options& options) {
  GpuWork work("net.ostra.kernels.saxpy.krn", "y");
  if (!work.Start(options)) return;
  work.AddBuffer<float>("x", kCount, GetX);
  work.AddBuffer<float>("y", kCount, GetY);
  work.SetUniform("a", kFactor);
  work.SetUniform("count", static_cast<ostra::UInt32>(kCount));
  work.AddPeers(contest, kCount, 1, [](const void* y) { return IsRight(static_cast<const float*>(y), 1); });
}

}  // namespace

bool RunSaxpy(const Options& options) {
  Contest contest("saxpy", "2^24", "throughput", "GB/s");
  AddProgram(contest, "ours", "net.ostra.kernels.saxpy.krn");
  AddProgram(contest, "ours-virtual", kVirtualSaxpy);
  for (const NamedStyle& style : kInlinedStyles) AddReference(contest, style);
  AddReference(contest, kStaticStyle);
  AddReference(contest, kVirtualStyle);
  AddGpu(contest, options);
  return contest.Run(options, [](double seconds) { return 12.0 * kCount / seconds / 1e9; });
}

bool RunSaxpyAgain(const Options& options) {
  constexpr int kPasses = 16;
  Contest contest("saxpy_again", "16 x 2^24", "throughput", "GB/s");
  AddProgram(contest, "ours", "net.ostra.kernels.saxpy.krn", kPasses);
  for (const NamedStyle& style : kInlinedStyles) AddReference(contest, style, kPasses);
  AddReference(contest, kStaticStyle, kPasses);
  return contest.Run(options, [](double seconds) { return 12.0 * kPasses * kCount / seconds / 1e9; });
}

}  // namespace bench
