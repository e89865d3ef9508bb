#include "tests/kernels/kernel_scenarios.h"

#include <random>

namespace ostra::test {
namespace {

constexpr Int kPixelCount = Int{kWidth} * kHeight;
const Vec3<UInt32> kPicture(48, 32, 1);  // whole groups of 16 x 16
const Vec3<UInt32> kLine(kCount, 1, 1);

void SetPictureSize(KernelRunner& runner) {
  runner.SetValue<Int32>("width", kWidth);
  runner.SetValue<Int32>("height", kHeight);
}

void SetPictures(KernelRunner& runner) {
  SetPictureSize(runner);
  runner.SetBuffer("source", MakePixels(kPixelCount, 1.5f));
  runner.SetBuffer("target", std::vector<Vec4<Float32>>(kPixelCount));
}

void PrepareSaxpy(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount - 2);
  runner.SetValue("a", 1.7f);
  runner.SetBuffer("x", MakeNumbers(kCount, -5, 5));
  runner.SetBuffer("y", MakeNumbers(kCount, -9, 2));
}

void PrepareIndex(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount - 2);
  runner.SetBuffer("values", std::vector<UInt32>(kCount, 7));
}

void PrepareBlur5(KernelRunner& runner) {
  SetPictures(runner);
  runner.SetBuffer("taps", MakeNumbers(25, 0, 0.08f));
}

void PrepareBilateral(KernelRunner& runner) {
  SetPictures(runner);
  runner.SetValue<Int32>("radius", 3);
  runner.SetValue("sigmaSpace", 1.5f);
  runner.SetValue("sigmaColor", 0.3f);
}

void PrepareTonemap(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount - 2);
  runner.SetValue("exposure", 1.3f);
  runner.SetValue("white", 4.0f);
  runner.SetValue("gamma", 2.2f);
  runner.SetBuffer("source", MakePixels(kCount, 8.0f));
  runner.SetBuffer("target", std::vector<Vec4<Float32>>(kCount));
  runner.SetCounter("clipped", 5);
}

void PrepareHistogram(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount - 2);
  runner.SetValue<UInt32>("binCount", 16);
  runner.SetValue("brightest", 3.0f);
  runner.SetBuffer("source", MakePixels(kCount, 4.0f));
  runner.SetBuffer("bins", std::vector<UInt32>(16));
}

void PrepareMandelbrot(KernelRunner& runner) {
  runner.SetValue<UInt32>("width", kWidth);
  runner.SetValue<UInt32>("height", kHeight);
  runner.SetValue("left", -2.2f);
  runner.SetValue("top", -1.2f);
  runner.SetValue("pixelSize", 0.1f);
  runner.SetValue<UInt32>("maximum", 64);
  runner.SetBuffer("steps", std::vector<UInt32>(kPixelCount));
}

void PrepareNoisePicture(KernelRunner& runner) {
  SetPictureSize(runner);
  runner.SetValue("cells", 5.0f);
  runner.SetValue("time", 0.25f);
  runner.SetBuffer("target", std::vector<Vec4<Float32>>(kPixelCount));
}

void PrepareNoise(KernelRunner& runner) {
  PrepareNoisePicture(runner);
  runner.SetNoise(kGaseousNoise, 7);
}

void PrepareTerrain(KernelRunner& runner) {
  PrepareNoisePicture(runner);
  runner.SetNoise(kTurbulenceNoise, 11);
  runner.SetValue("waterLevel", 0.45f);
  runner.SetValue("steepness", 2.0f);
  runner.SetValue("light", Vector32(-1, -1, 1));
}

void PrepareReactionDiffusion(KernelRunner& runner) {
  SetPictureSize(runner);
  runner.SetValue("feed", 0.055f);
  runner.SetValue("kill", 0.062f);
  runner.SetValue("spreadX", 1.0f);
  runner.SetValue("spreadY", 0.5f);
  runner.SetValue("timeStep", 0.9f);
  std::vector<Vec2<Float32>> cells;
  for (const auto& pixel : MakePixels(kPixelCount, 1.0f)) cells.emplace_back(pixel.x, pixel.y);
  runner.SetBuffer("source", cells);
  runner.SetBuffer("target", std::vector<Vec2<Float32>>(kPixelCount));
}

void PrepareNBody(KernelRunner& runner) {
  constexpr UInt32 kBodies = 256;
  runner.SetValue<UInt32>("count", kBodies);
  runner.SetValue("softening", 0.01f);
  runner.SetValue("timeStep", 0.02f);
  runner.SetBuffer("positions", MakePixels(kBodies, 1.0f));
  runner.SetBuffer("velocities", MakePixels(kBodies, 0.1f));
  runner.SetBuffer("nextPositions", std::vector<Vec4<Float32>>(kBodies));
  runner.SetBuffer("nextVelocities", std::vector<Vec4<Float32>>(kBodies));
}

void PrepareReduction(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount);
  runner.SetValue<UInt32>("run", 16);
  runner.SetBuffer("values", MakeNumbers(kCount, -1, 1));
  runner.SetBuffer("sums", std::vector<Float32>(64));
}

void PreparePrefixSum(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount - 2);
  runner.SetValue<UInt32>("distance", 4);
  std::vector<UInt32> source(kCount);
  for (UInt32 i = 0; i < kCount; ++i) source[i] = i * i;
  runner.SetBuffer("source", source);
  runner.SetBuffer("target", std::vector<UInt32>(kCount));
}

void PrepareCompact(KernelRunner& runner) {
  runner.SetValue<UInt32>("count", kCount - 2);
  runner.SetValue("limit", 0.25f);
  runner.SetBuffer("values", MakeNumbers(kCount, -1, 1));
  runner.SetBuffer("found", std::vector<Float32>(kCount));
  runner.SetBuffer("counts", std::vector<UInt32>(1));
}

void PrepareDispatchArguments(KernelRunner& runner) {
  runner.SetValue<Int32>("groupSize", 64);
  runner.SetBuffer("counts", std::vector<UInt32>{130});
  runner.SetBuffer("arguments", std::vector<Vec4<Int32>>(1));
}

void PrepareSquareRoots(KernelRunner& runner) {
  runner.SetBuffer("counts", std::vector<UInt32>{kCount - 2});
  runner.SetBuffer("values", MakeNumbers(kCount, 0, 100));
}

}  // namespace

std::string GetKernelId(const char* name) { return std::string("net.ostra.kernels.") + name + ".krn"; }

const std::vector<KernelScenario>& GetKernelScenarios() {
  static const std::vector<KernelScenario> scenarios = {
      {"saxpy", kLine, PrepareSaxpy},
      {"index", kLine, PrepareIndex},
      {"blur5", kPicture, PrepareBlur5},
      {"bilateral", kPicture, PrepareBilateral},
      {"tonemap", kLine, PrepareTonemap},
      {"histogram", kLine, PrepareHistogram},
      {"mandelbrot", kPicture, PrepareMandelbrot},
      {"reactiondiffusion", kPicture, PrepareReactionDiffusion},
      {"nbody", {256, 1, 1}, PrepareNBody},
      {"reduction", {64, 1, 1}, PrepareReduction},
      {"prefixsum", kLine, PreparePrefixSum},
      {"compact", kLine, PrepareCompact},
      {"dispatcharguments", {1, 1, 1}, PrepareDispatchArguments},
      {"squareroots", {1024, 1, 1}, PrepareSquareRoots},
      {"noise", kPicture, PrepareNoise},
      {"terrain", kPicture, PrepareTerrain},
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

}  // namespace ostra::test
