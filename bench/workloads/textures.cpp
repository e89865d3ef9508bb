#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "bench/gpu_program.h"
#include "bench/program.h"
#include "bench/workloads/texture_data.h"
#include "bench/workloads/workloads.h"
#include "parallelprogram/textures/sampler_family.h"
#include "parallelprogram/textures/sampler_lanes.h"
#include "parallelprogram/textures/texture_factory.h"
#include "parallelprogram/textures/texture_records.h"

namespace bench {
namespace {

struct Lookups {
  const char* workload;
  TextureKind kind;
  bool isRandom;
  const char* kernel;
};

constexpr Lookups kLookupWorkloads[] = {
    {"tex2d_rgba32f_coherent", TextureKind::Rgba32f2D, false, "net.ostra.bench.scan2d.krn"},
    {"tex2d_rgba32f_random", TextureKind::Rgba32f2D, true, "net.ostra.bench.scatter2d.krn"},
    {"tex3d_r32f_coherent", TextureKind::R32f3D, false, "net.ostra.bench.scan3d.krn"},
    {"tex3d_r32f_random", TextureKind::R32f3D, true, "net.ostra.bench.scatter3d.krn"},
    {"tex2d_srgb8_coherent", TextureKind::Srgb8Rgba2D, false, "net.ostra.bench.scan2d.krn"},
    {"tex2d_srgb8_random", TextureKind::Srgb8Rgba2D, true, "net.ostra.bench.scatter2d.krn"},
};

// Turned by a tenth of a radian, 0.4 texels a lookup; a volume is cut by a plane that leans through it.
Scan GetScan(TextureKind kind) {
  constexpr float kStep = 0.8f / 4096;
  if (kind == TextureKind::R32f3D) {
    return {{0.1f, 0.05f, 0.3f}, {kStep, 0.1f * kStep, 0.05f * kStep}, {-0.1f * kStep, kStep, 0.2f * kStep}};
  }
  constexpr float kCosine = 0.995f, kSine = 0.0998f;
  return {{0.1f, 0.05f, 0}, {kCosine * kStep, kSine * kStep, 0}, {-kSine * kStep, kCosine * kStep, 0}};
}

ostra::Vector2d32 ToVector2(const float* numbers) { return {numbers[0], numbers[1]}; }
ostra::Vector32 ToVector3(const float* numbers) { return {numbers[0], numbers[1], numbers[2]}; }

// `program` is ours for the CPU or that of the GPU.
template <class AnyProgram>
void SetScan(AnyProgram& program, const LookupWork& work) {
  const auto set = [&](const char* name, const float* numbers) {
    if (work.kind == TextureKind::R32f3D)
      program.SetUniform(name, ToVector3(numbers));
    else
      program.SetUniform(name, ToVector2(numbers));
  };
  set("corner", work.scan.corner);
  set("across", work.scan.across);
  set("down", work.scan.down);
}

// A sampler for texels that StoreTextureBindData refuses, made like those it makes: kernels see RGBA floats.
std::unique_ptr<ostra::TextureSamplerDataHelper> MakeSampler(const ostra::TextureBindData& data) {
  using namespace ostra;
  constexpr Int32 kLinearRgbaFloat2D = 254;
  auto sampler = std::make_unique<TextureSamplerDataHelper>();
  sampler->_kind = kLinearRgbaFloat2D;
  sampler->_sample = Need(SelectSampleFunction<2, 4>(data));
  sampler->_fetch = Need(SelectFetchFunction<2, 4>(data));
  sampler->_valueType = Need(GetElementType(data));
  sampler->_samplingData = Need(BuildSamplingData(data));
  SetSamplerLanes(*sampler, 2, 4, data);
  return sampler;
}

// Our program with its texture and its sums.
class LookupProgram {
 public:
  LookupProgram(const Lookups& lookups, const LookupWork& work, const ostra::TextureBindData& data)
      : _program(lookups.kernel) {
    if (work.kind == TextureKind::Srgb8Rgba2D) {
      _sampler = MakeSampler(data);
      _program.AddSampler("image", _sampler.get());
    } else {
      _program.AddTexture("image", data);
    }
    if (!work.isRandom) SetScan(_program, work);
    if (GetChannels(work.kind) == 1)
      _sums = _program.AddBuffer<float>("sums", kRuns, [](std::int64_t) { return 0.0f; });
    else
      _sums =
          &_program.AddBuffer<ostra::Vector4d32>("sums", kRuns, [](std::int64_t) { return ostra::Vector4d32(0); })->x;
    _program.Prepare();
  }

  bool Dispatch() { return _program.Dispatch(kRuns); }
  const float* GetSums() const { return _sums; }

 private:
  std::unique_ptr<ostra::TextureSamplerDataHelper> _sampler;  // outlives the program that has its address
  Program _program;
  const float* _sums = nullptr;
};

// Compares some runs with sums in double precision.
bool AreRight(const TextureData& texture, const LookupWork& work, const float* sums, double bound) {
  const std::uint32_t channels = static_cast<std::uint32_t>(GetChannels(work.kind));
  for (std::uint32_t run = 0; run < kRuns; run += 97) {
    double expected[4];
    texture.SumRun(work, run, expected);
    for (std::uint32_t i = 0; i < channels; ++i) {
      if (!(std::fabs(sums[run * channels + i] - expected[i]) <= bound)) return false;
    }
  }
  return true;
}

// Sums of 64 numbers below 1 that were added in another order.
bool AreClose(const std::vector<float>& sums, const std::vector<float>& expected) {
  return std::ranges::equal(sums, expected, [](float a, float b) { return std::fabs(a - b) <= 1e-4f; });
}

// A device weighs neighbours in steps of 1/256 and rounds once more: for texels of 0 to 1 that is less than this a
// lookup.
constexpr double kDeviceBound = 3.0 / 256 * kRunLength;

void AddGpu(Contest& contest, const Options& options, const Lookups& lookups, const TextureData& texture,
            const LookupWork& work) {
  if (work.kind == TextureKind::Srgb8Rgba2D) {
    std::fprintf(stderr, "%s: the GPU is skipped: the GPU program hands sRGB bytes to kernels as they are.\n",
                 lookups.workload);
    return;
  }
  GpuWork gpu(lookups.kernel, "sums");
  if (!gpu.Start(options)) return;
  gpu.AddTexture("image", texture.GetBindData());
  if (!work.isRandom) SetScan(gpu, work);
  if (GetChannels(work.kind) == 1)
    gpu.AddBuffer<float>("sums", kRuns, [](std::int64_t) { return 0.0f; });
  else
    gpu.AddBuffer<ostra::Vector4d32>("sums", kRuns, [](std::int64_t) { return ostra::Vector4d32(0); });
  gpu.AddPeers(contest, kRuns, 1, [&](const void* sums) {
    return AreRight(texture, work, static_cast<const float*>(sums), kDeviceBound);
  });
}

}  // namespace

bool RunTextures(const Options& options) {
  const Lookups& lookups = *std::ranges::find(kLookupWorkloads, options.workload, &Lookups::workload);
  const TextureData texture(lookups.kind);
  // The references read texels in memory of the same sort as ours.
  const ostra::SamplingData texels = Need(ostra::BuildSamplingData(texture.GetBindData()));
  const LookupWork work = {lookups.kind, lookups.isRandom, texture.GetExtent(), texels._texels, GetScan(lookups.kind)};

  std::vector<float> expected(kRuns * static_cast<std::size_t>(GetChannels(work.kind))), sums(expected.size());
  SumInlined(work, expected.data());
  if (!AreRight(texture, work, expected.data(), 1e-4)) {
    std::fprintf(stderr, "%s: the result of \"inlined\" is wrong.\n", lookups.workload);
    return false;
  }

  Contest contest(lookups.workload, "2^24", "throughput", "Mlookup/s");
  LookupProgram program(lookups, work, texture.GetBindData());
  contest.Add(
      "ours", [&] { return program.Dispatch(); },
      [&] { return std::memcmp(program.GetSums(), expected.data(), expected.size() * sizeof(float)) == 0; });
  const auto addReference = [&](const char* name, void (*sum)(const LookupWork&, float*), auto&& isRight) {
    contest.Add(
        name,
        [&, sum] {
          sum(work, sums.data());
          return true;
        },
        [&, isRight] { return isRight(sums, expected); });
  };
  addReference("inlined", &SumInlined, std::equal_to<>());
  if (HasEightWide())
    addReference("eight-wide", &SumEightWide, &AreClose);
  else
    std::fputs("ostra-bench: no \"eight-wide\", which needs a processor with AVX2.\n", stderr);
  AddGpu(contest, options, lookups, texture, work);
  return contest.Run(options, [](double seconds) { return kLookups / seconds / 1e6; });
}

}  // namespace bench
