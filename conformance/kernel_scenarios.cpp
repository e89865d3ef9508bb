#include "conformance/kernel_scenarios.h"

#include <random>

#include "ostra/render/render_noise.h"

namespace ostra::conformance {
namespace {

constexpr Int kPixelCount = Int{kWidth} * kHeight;
const Vec3<UInt32> kPicture(48, 32, 1);  // whole groups of 16 x 16
const Vec3<UInt32> kLine(kCount, 1, 1);

void SetPictureSize(ScenarioTarget& target) {
  target.SetValue<Int32>("width", kWidth);
  target.SetValue<Int32>("height", kHeight);
}

void SetPictures(ScenarioTarget& target) {
  SetPictureSize(target);
  target.SetBuffer("source", MakePixels(kPixelCount, 1.5f));
  target.SetBuffer("target", std::vector<Vec4<Float32>>(kPixelCount));
}

void PrepareSaxpy(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetValue("a", 1.7f);
  target.SetBuffer("x", MakeNumbers(kCount, -5, 5));
  target.SetBuffer("y", MakeNumbers(kCount, -9, 2));
}

void PrepareIndex(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetBuffer("values", std::vector<UInt32>(kCount, 7));
}

void PrepareBlur5(ScenarioTarget& target) {
  SetPictures(target);
  target.SetBuffer("taps", MakeNumbers(25, 0, 0.08f));
}

void PrepareBilateral(ScenarioTarget& target) {
  SetPictures(target);
  target.SetValue<Int32>("radius", 3);
  target.SetValue("sigmaSpace", 1.5f);
  target.SetValue("sigmaColor", 0.3f);
}

void PrepareTonemap(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetValue("exposure", 1.3f);
  target.SetValue("white", 4.0f);
  target.SetValue("gamma", 2.2f);
  target.SetBuffer("source", MakePixels(kCount, 8.0f));
  target.SetBuffer("target", std::vector<Vec4<Float32>>(kCount));
  target.SetCounter("clipped", 5);
}

void PrepareHistogram(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetValue<UInt32>("binCount", 16);
  target.SetValue("brightest", 3.0f);
  target.SetBuffer("source", MakePixels(kCount, 4.0f));
  target.SetBuffer("bins", std::vector<UInt32>(16));
}

void PrepareMandelbrot(ScenarioTarget& target) {
  target.SetValue<UInt32>("width", kWidth);
  target.SetValue<UInt32>("height", kHeight);
  target.SetValue("left", -2.2f);
  target.SetValue("top", -1.2f);
  target.SetValue("pixelSize", 0.1f);
  target.SetValue<UInt32>("maximum", 64);
  target.SetBuffer("steps", std::vector<UInt32>(kPixelCount));
}

void PrepareNoisePicture(ScenarioTarget& target) {
  SetPictureSize(target);
  target.SetValue("cells", 5.0f);
  target.SetValue("time", 0.25f);
  target.SetBuffer("target", std::vector<Vec4<Float32>>(kPixelCount));
}

void PrepareNoise(ScenarioTarget& target) {
  PrepareNoisePicture(target);
  target.SetNoise(kGaseousNoise, 7);
}

void PrepareTerrain(ScenarioTarget& target) {
  PrepareNoisePicture(target);
  target.SetNoise(kTurbulenceNoise, 11);
  target.SetValue("waterLevel", 0.45f);
  target.SetValue("steepness", 2.0f);
  target.SetValue("light", Vector32(-1, -1, 1));
}

void PrepareReactionDiffusion(ScenarioTarget& target) {
  SetPictureSize(target);
  target.SetValue("feed", 0.055f);
  target.SetValue("kill", 0.062f);
  target.SetValue("spreadX", 1.0f);
  target.SetValue("spreadY", 0.5f);
  target.SetValue("timeStep", 0.9f);
  std::vector<Vec2<Float32>> cells;
  for (const auto& pixel : MakePixels(kPixelCount, 1.0f)) cells.emplace_back(pixel.x, pixel.y);
  target.SetBuffer("source", cells);
  target.SetBuffer("target", std::vector<Vec2<Float32>>(kPixelCount));
}

void PrepareNBody(ScenarioTarget& target) {
  constexpr UInt32 kBodies = 256;
  target.SetValue<UInt32>("count", kBodies);
  target.SetValue("softening", 0.01f);
  target.SetValue("timeStep", 0.02f);
  target.SetBuffer("positions", MakePixels(kBodies, 1.0f));
  target.SetBuffer("velocities", MakePixels(kBodies, 0.1f));
  target.SetBuffer("nextPositions", std::vector<Vec4<Float32>>(kBodies));
  target.SetBuffer("nextVelocities", std::vector<Vec4<Float32>>(kBodies));
}

void PrepareReduction(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount);
  target.SetValue<UInt32>("run", 16);
  target.SetBuffer("values", MakeNumbers(kCount, -1, 1));
  target.SetBuffer("sums", std::vector<Float32>(64));
}

void PreparePrefixSum(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetValue<UInt32>("distance", 4);
  std::vector<UInt32> source(kCount);
  for (UInt32 i = 0; i < kCount; ++i) source[i] = i * i;
  target.SetBuffer("source", source);
  target.SetBuffer("target", std::vector<UInt32>(kCount));
}

void PrepareCompact(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetValue("limit", 0.25f);
  target.SetBuffer("values", MakeNumbers(kCount, -1, 1));
  target.SetBuffer("found", std::vector<Float32>(kCount));
  target.SetBuffer("counts", std::vector<UInt32>(1));
}

void PrepareDispatchArguments(ScenarioTarget& target) {
  target.SetValue<Int32>("groupSize", 64);
  target.SetBuffer("counts", std::vector<UInt32>{130});
  target.SetBuffer("arguments", std::vector<Vec4<Int32>>(1));
}

void PrepareSquareRoots(ScenarioTarget& target) {
  target.SetBuffer("counts", std::vector<UInt32>{kCount - 2});
  target.SetBuffer("values", MakeNumbers(kCount, 0, 100));
}

void PrepareGroupSum(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetBuffer("source", MakeNumbers(kCount, -1, 1));
  target.SetBuffer("sums", std::vector<Float32>(4));
}

void PrepareGroupScan(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  std::vector<UInt32> source(kCount);
  for (UInt32 i = 0; i < kCount; ++i) source[i] = i * i;
  target.SetBuffer("source", source);
  target.SetBuffer("target", std::vector<UInt32>(kCount));
  target.SetBuffer("totals", std::vector<UInt32>(4));
}

void PrepareGroupHistogram(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  std::vector<UInt32> values(kCount);
  for (UInt32 i = 0; i < kCount; ++i) values[i] = i * i % 300;
  target.SetBuffer("values", values);
  target.SetBuffer("bins", std::vector<UInt32>(256));
}

void PrepareBitonicSort(ScenarioTarget& target) {
  target.SetValue<UInt32>("count", kCount - 2);
  target.SetBuffer("values", MakeNumbers(kCount, -1, 1));
}

void PrepareMatrixProduct(ScenarioTarget& target) {
  target.SetValue<UInt32>("rows", kHeight);
  target.SetValue<UInt32>("inner", kInner);
  target.SetValue<UInt32>("columns", kWidth);
  target.SetBuffer("left", MakeNumbers(Int{kHeight} * kInner, -1, 1));
  target.SetBuffer("right", MakeNumbers(Int{kInner} * kWidth, -1, 1));
  target.SetBuffer("product", std::vector<Float32>(kPixelCount));
}

void PrepareDiffusion(ScenarioTarget& target) {
  SetPictureSize(target);
  target.SetValue("speed", 0.7f);
  target.SetBuffer("source", MakeNumbers(kPixelCount, 0, 100));
  target.SetBuffer("target", std::vector<Float32>(kPixelCount));
}

}  // namespace

std::string GetKernelId(const char* name) { return std::string("net.ostra.kernels.") + name + ".krn"; }

const std::vector<KernelScenario>& GetKernelScenarios() {
  static const std::vector<KernelScenario> scenarios = {
      {"saxpy", kLine, PrepareSaxpy},
      {"index", kLine, PrepareIndex},
      {"blur5", kPicture, PrepareBlur5},
      {"bilateral", kPicture, PrepareBilateral, 1e-5f, "exponentials"},
      {"tonemap", kLine, PrepareTonemap, 1e-5f, "powers and quotients"},
      {"histogram", kLine, PrepareHistogram},
      {"mandelbrot", kPicture, PrepareMandelbrot},
      {"reactiondiffusion", kPicture, PrepareReactionDiffusion},
      {"nbody", {256, 1, 1}, PrepareNBody, 1e-5f, "quotients and square roots over 256 bodies"},
      {"reduction", {64, 1, 1}, PrepareReduction},
      {"prefixsum", kLine, PreparePrefixSum},
      {"compact", kLine, PrepareCompact},
      {"dispatcharguments", {1, 1, 1}, PrepareDispatchArguments},
      {"squareroots", {1024, 1, 1}, PrepareSquareRoots, 1e-6f, "square roots"},
      {"groupsum", kLine, PrepareGroupSum},
      {"groupscan", kLine, PrepareGroupScan},
      {"grouphistogram", kLine, PrepareGroupHistogram},
      {"bitonicsort", kLine, PrepareBitonicSort},
      {"matrixproduct", kPicture, PrepareMatrixProduct},
      {"diffusion", kPicture, PrepareDiffusion},
      {"noise", kPicture, PrepareNoise},
      {"terrain", kPicture, PrepareTerrain, 1e-5f, "vectors of length 1"},
  };
  return scenarios;
}

std::vector<Float32> MakeNumbers(Int count, Float32 low, Float32 high) {
  std::mt19937 engine(static_cast<UInt32>(count) + 17);
  std::uniform_real_distribution<Float32> distribution(low, high);
  std::vector<Float32> numbers;
  for (Int i = 0; i < count; ++i) numbers.push_back(distribution(engine));
  return numbers;
}

std::vector<Vec4<Float32>> MakePixels(Int count, Float32 brightest) {
  const std::vector<Float32> numbers = MakeNumbers(count * 4, 0.01f, brightest);
  std::vector<Vec4<Float32>> pixels;
  for (Int i = 0; i < count; ++i)
    pixels.emplace_back(numbers[i * 4], numbers[i * 4 + 1], numbers[i * 4 + 2], numbers[i * 4 + 3]);
  return pixels;
}

}  // namespace ostra::conformance
