// The text that shaders choose a noise with, against the noise objects of the host.
#include <gtest/gtest.h>

#include "ostra/math/scalar_functions.h"
#include "ostra/object/class.h"
#include "ostra/render/render_noise.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace text {

using uint = UInt32;
using namespace ostra::vocabulary;
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wunused-function"
namespace {
#include "ostra/render/noise/choices.h"

#include "ostra/render/noise_texts.inl"

// As shaders choose one: by the lines of the table.
Float32 NoiseOfMode(Int32 mode, uint key, int depth, float x, float y, float z, float w) {
#define OSTRA_NOISE(number, name, id) \
  if (mode == number) return Noise##name(key, depth, x, y, z, w);
#define OSTRA_DEFAULT_NOISE(number, name, id)
#include "ostra/render/noise_table.inl"
#define OSTRA_NOISE(number, name, id)
#define OSTRA_DEFAULT_NOISE(number, name, id) return Noise##name(key, depth, x, y, z, w);
#include "ostra/render/noise_table.inl"
}
}  // namespace
}  // namespace text

namespace {

// The classes by the numbers of noiseMode_0, noiseMode_1, ...
const Id* const kClasses[] = {&kPerlinNoise,
                              &kTurbulenceNoise,
                              &kTurbulenceNoise,
                              &kGaseousNoise,
                              &kElectricNoise,
                              &kBoxNoise,
                              &kBlisteredTurbulenceNoise,
                              &kDisplacedTurbulenceNoise,
                              &kBuyaNoise,
                              &kCranalNoise,
                              &kDentsNoise,
                              &kHamaNoise,
                              &kLukaNoise,
                              &kModNoise,
                              &kNakiNoise,
                              &kNutousNoise,
                              &kOberNoise,
                              &kPezoNoise,
                              &kPoxoNoise,
                              &kSemaNoise,
                              &kStuplNoise,
                              &kVlNoise,
                              &kWavyTurbulenceNoise,
                              &kZadaNoise,
                              &kCellNoise};

Float32 EvaluateText(Int32 mode, Int32 seed, Float32 x, Float32 y, Float32 z, Float32 w) {
  using namespace text;
  return NoiseOfMode(mode, NoiseKey(static_cast<UInt32>(seed), 0x5EEDu), kNoiseDepth, NoiseCoordinate(x),
                     NoiseCoordinate(y), NoiseCoordinate(z), NoiseCoordinate(w));
}

RenderNoiseRef MakeNoise(const Id& classId, Int32 seed) {
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  EXPECT_THAT(registry, IsOk());
  RenderNoiseRef noise = registry->FindEntryValue(classId).GetValue()->CreateObject<RenderNoiseInterface>().GetValue();
  EXPECT_THAT(noise->Init(seed, kNoiseDepth, classId), IsOk());
  return noise;
}

TEST(NoiseModesTest, EveryModeIsTheNoiseOfItsClassBitForBit) {
  for (Int32 mode = 0; mode < static_cast<Int32>(std::size(kClasses)); ++mode) {
    const RenderNoiseRef noise = MakeNoise(*kClasses[mode], 7 + mode);
    for (Int i = 0; i < 50; ++i) {
      const Float32 x = 0.37f * static_cast<Float32>(i) - 3.0f, y = 0.21f * static_cast<Float32>(i);
      EXPECT_EQ(EvaluateText(mode, 7 + mode, x, y, 0.7f, 0.3f), noise->Noise(Vector32(x, y, 0.7f), 0.3f))
          << "mode " << mode << " at " << x << ", " << y;
    }
  }
}

TEST(NoiseModesTest, OtherNumbersAreTurbulence) {
  for (const Int32 mode : {-1, 25, 1000})
    EXPECT_EQ(EvaluateText(mode, 3, 0.3f, 0.4f, 0.5f, 0.6f), EvaluateText(1, 3, 0.3f, 0.4f, 0.5f, 0.6f));
}

}  // namespace
}  // namespace ostra::test
