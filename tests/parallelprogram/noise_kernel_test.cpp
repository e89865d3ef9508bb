// Noises and gradients in kernel files.
#include <algorithm>
#include <cmath>

#include "ostra/render/gradient.h"
#include "tests/parallelprogram/noise_fixture.h"

namespace ostra::test {
namespace {

TEST_F(NoiseTest, KernelFilesEvaluateNoisesOfEveryDimension) {
  AddKernelFile("net.ostra.test.fournoises.krn");
  constexpr Int kCount = 300;
  StoreBuffer<Vec4<Float32>>("values"_iid, std::vector<Vec4<Float32>>(kCount));
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  const Id ids[] = {kPerlinNoise, kGaseousNoise, kCellNoise, kBuyaNoise};
  const Int32 modes[] = {0, 3, 24, 8};
  std::vector<RenderNoiseRef> noises;
  for (Int32 i = 0; i < 4; ++i) {
    SetNoise(i, modes[i], 100 + i);
    noises.push_back(MakeNoise(ids[i], 100 + i));
  }
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
  const auto values = ReadBuffer<Vec4<Float32>>("values"_iid);
  for (Int i = 0; i < kCount; ++i) {
    const Float32 x = 0.1f * static_cast<Float32>(i) + 0.05f;
    ASSERT_EQ(values[i].x, noises[0]->Noise(x, 0.5f)) << i;
    ASSERT_EQ(values[i].y, noises[1]->Noise(Vec2<Float32>(x, 0.3f), 0.5f)) << i;
    ASSERT_EQ(values[i].z, noises[2]->Noise(Vec3<Float32>(x, 0.3f, 0.7f), 0.5f)) << i;
    ASSERT_EQ(values[i].w, noises[3]->Noise(Vec4<Float32>(x, 0.3f, 0.7f, 0.2f), 0.5f)) << i;
  }
}

TEST_F(NoiseTest, KernelFilesWithoutNoisesReadZeros) {
  AddKernelFile("net.ostra.test.fournoises.krn");
  StoreBuffer<Vec4<Float32>>("values"_iid, {Vec4<Float32>(9, 9, 9, 9)});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_THAT(ReadBuffer<Vec4<Float32>>("values"_iid), testing::ElementsAre(Vec4<Float32>(0, 0, 0, 0)));
}

TEST_F(NoiseTest, KernelFilesReadGradients) {
  auto gradient = CreateObject<GradientInterface>(kGradientClass);
  ASSERT_THAT(gradient, IsOk());
  ASSERT_THAT((*gradient)->InsertKnot({.color = Vector32(0, 0, 0), .position = 0}), IsOk());
  ASSERT_THAT((*gradient)->InsertKnot({.color = Vector32(1, 0.5f, 0.25f), .position = 1}), IsOk());
  auto ramp = (*gradient)->InitRender();
  ASSERT_THAT(ramp, IsOk());
  AddKernelFile("net.ostra.test.gradient.krn");
  constexpr Int kCount = 257;
  StoreBuffer<Vec4<Float32>>("colors"_iid, std::vector<Vec4<Float32>>(kCount));
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("colors"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("count"_iid, UInt32(kCount)), IsOk());
  ASSERT_THAT(program->SetUniform("ramp"_iid, *ramp), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
  const auto colors = ReadBuffer<Vec4<Float32>>("colors"_iid);
  for (Int i = 0; i < kCount; ++i) {
    const Vector32 expected = ramp->Sample(static_cast<Float32>(i) / static_cast<Float32>(kCount));
    ASSERT_EQ(colors[i], Vec4<Float32>(expected.x, expected.y, expected.z, 1)) << i;
  }
}

// Kernel files that draw a picture named "target".
class NoisePictureTest : public NoiseTest {
 protected:
  static constexpr Int32 kWidth = 37;
  static constexpr Int32 kHeight = 19;
  static constexpr Float32 kScale = 5.0f / 37.0f;

  // Draws noise number 0 at the time 0.25 with a kernel of the library.
  std::vector<Vec4<Float32>> Draw(std::string_view kernel, Int32 mode, Int32 seed) {
    AddKernelFile(kernel);
    StoreBuffer<Vec4<Float32>>("target"_iid, std::vector<Vec4<Float32>>(kWidth * kHeight));
    EXPECT_THAT(program->SetBufferToActiveKernelSameId("target"_iid), IsOk());
    EXPECT_THAT(program->SetUniform("width"_iid, Int32(kWidth)), IsOk());
    EXPECT_THAT(program->SetUniform("height"_iid, Int32(kHeight)), IsOk());
    EXPECT_THAT(program->SetUniform("cells"_iid, Float32(5)), IsOk());
    EXPECT_THAT(program->SetUniform("time"_iid, Float32(0.25f)), IsOk());
    EXPECT_THAT(program->SetUniform("waterLevel"_iid, Float32(0.45f)), IsOk());
    EXPECT_THAT(program->SetUniform("steepness"_iid, Float32(2)), IsOk());
    EXPECT_THAT(program->SetUniform("light"_iid, Vector32(-1, -1, 1)), IsOk());
    SetNoise(0, mode, seed);
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_THAT(program->DispatchKernel(kWidth, kHeight, 1, false), IsOk());
    return ReadBuffer<Vec4<Float32>>("target"_iid);
  }
};

struct Color {
  Float64 r = 0, g = 0, b = 0;
};

Color Mix(const Color& a, const Color& b, Float64 part) {
  return {a.r + (b.r - a.r) * part, a.g + (b.g - a.g) * part, a.b + (b.b - a.b) * part};
}

Float64 SmoothStep(Float64 low, Float64 high, Float64 x) {
  const Float64 t = std::clamp((x - low) / (high - low), 0.0, 1.0);
  return 3 * t * t - 2 * t * t * t;
}

TEST_F(NoisePictureTest, NoiseDrawsTheNoiseInGray) {
  const RenderNoiseRef noise = MakeNoise(kGaseousNoise, 7);
  const auto target = Draw("net.ostra.kernels.noise.krn", 3, 7);
  for (Int32 y = 0; y < kHeight; ++y) {
    for (Int32 x = 0; x < kWidth; ++x) {
      const Vector32 place(static_cast<Float32>(x) * kScale, static_cast<Float32>(y) * kScale, 0.375f);
      const Float32 value = noise->Noise(place, 0.25f);
      ASSERT_EQ(target[y * kWidth + x], Vec4<Float32>(value, value, value, 1)) << x << ", " << y;
    }
  }
}

// The colour of the ground at a level above the water, by the slopes along x and y.
Color ComputeGround(Float64 level, Float64 slopeX, Float64 slopeY) {
  const Float64 flatness = 1 / std::sqrt(slopeX * slopeX + slopeY * slopeY + 1);
  const Color meadow = Mix({0.16, 0.32, 0.1}, {0.36, 0.4, 0.18}, SmoothStep(0, 0.5, level));
  const Color ground = Mix({0.36, 0.33, 0.3}, meadow, SmoothStep(0.5, 0.8, flatness));
  return Mix(ground, {0.95, 0.96, 1}, SmoothStep(0.5, 0.7, level) * SmoothStep(0.4, 0.7, flatness));
}

TEST_F(NoisePictureTest, TerrainColoursAndLightsTheHeights) {
  const RenderNoiseRef noise = MakeNoise(kTurbulenceNoise, 11);
  const auto getHeight = [&](Float32 x, Float32 y) { return Float64{noise->Noise(Vec2<Float32>(x, y), 0.25f)}; };
  const Float64 water = Float64{0.45f};
  const auto target = Draw("net.ostra.kernels.terrain.krn", 1, 11);
  Int waterCount = 0;
  for (Int32 i = 0; i < kWidth * kHeight; ++i) {
    const Float32 x = static_cast<Float32>(i % kWidth) * kScale;
    const Float32 y = static_cast<Float32>(i / kWidth) * kScale;
    const Float64 height = getHeight(x, y);
    const Bool isLand = height > water;
    const Float64 slopeX = isLand ? (height - getHeight(x + kScale, y)) * 2 / Float64{kScale} : 0;
    const Float64 slopeY = isLand ? (height - getHeight(x, y + kScale)) * 2 / Float64{kScale} : 0;
    const Color color = isLand ? ComputeGround((height - water) / (1 - water), slopeX, slopeY)
                               : Mix({0.18, 0.36, 0.5}, {0.03, 0.1, 0.25}, (water - height) / water);
    const Float64 length = std::sqrt(slopeX * slopeX + slopeY * slopeY + 1) * std::sqrt(3.0);
    const Float64 shade = 0.25 + 0.85 * std::max((1 - slopeX - slopeY) / length, 0.0);
    ASSERT_NEAR(target[i].x, color.r * shade, 2e-4) << i;
    ASSERT_NEAR(target[i].y, color.g * shade, 2e-4) << i;
    ASSERT_NEAR(target[i].z, color.b * shade, 2e-4) << i;
    ASSERT_EQ(target[i].w, 1) << i;
    waterCount += !isLand;
  }
  EXPECT_GT(waterCount, 20);
  EXPECT_LT(waterCount, kWidth * kHeight - 20);
}

}  // namespace
}  // namespace ostra::test
