// What holds for every noise at every position.
#include <cmath>
#include <limits>
#include <thread>

#include "ostra/core/memory.h"
#include "tests/render/noise_fixture.h"

namespace ostra::test {
namespace {

Vector4d32 Mix(const Vector4d32& a, const Vector4d32& b, Float32 part) { return a + (b - a) * part; }

// Walks into the half of a line in which the value changes more, until the line is `length` long, and returns the
// change over what is left: small for continuous noises, however steep; a jump stays a jump.
Float32 FindGreatestJump(const RenderNoiseInterface& noise, Vector4d32 from, Vector4d32 to, Float32 length) {
  while (std::abs(to.x - from.x) + std::abs(to.y - from.y) + std::abs(to.w - from.w) > length) {
    const Vector4d32 middle = Mix(from, to, 0.5f);
    const Float32 value = noise.Noise(middle, 0);
    const Bool isFirst = std::abs(value - noise.Noise(from, 0)) > std::abs(noise.Noise(to, 0) - value);
    (isFirst ? to : from) = middle;
  }
  return std::abs(noise.Noise(to, 0) - noise.Noise(from, 0));
}

// The greatest jump on `count` lines that lead a twentieth along all axes, but near 0, where coordinates are finest.
Float32 FindGreatestJump(const RenderNoiseInterface& noise, Int count) {
  std::mt19937 random(11);
  std::uniform_real_distribution<Float32> near(0.001f, 3);
  std::uniform_real_distribution<Float32> step(-0.05f, 0.05f);
  Float32 greatest = 0;
  for (Int i = 0; i < count; ++i) {
    const Vector4d32 from(near(random), near(random), near(random), near(random));
    const Vector4d32 to = from + Vector4d32(step(random), step(random), step(random), step(random));
    greatest = std::max(greatest, FindGreatestJump(noise, from, to, 4e-6f));
  }
  return greatest;
}

TEST_P(EachNoiseTest, ValuesLieBetweenZeroAndOne) {
  const RenderNoiseRef noise = MakeNoise(GetParam(), 1234);
  Float32 least = 1;
  Float32 greatest = 0;
  for (const Vector4d32& p : MakePositions(20000)) {
    const Float32 value = noise->Noise(p, 0);
    ASSERT_TRUE(value >= 0 && value <= 1) << value << " at " << p.x << " " << p.y << " " << p.z << " " << p.w;
    least = std::min(least, value);
    greatest = std::max(greatest, value);
  }
  EXPECT_LT(least, 0.2f);
  EXPECT_GT(greatest, 0.8f);
}

TEST_P(EachNoiseTest, StrangeCoordinatesGiveValuesToo) {
  using Limits = std::numeric_limits<Float32>;
  const RenderNoiseRef noise = MakeNoise(GetParam(), 1);
  const Float32 atZero = noise->Noise(Vector4d32(0, 0, 0, 0), 0);
  for (const Float32 strange : {Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::max(),
                                Limits::lowest(), Limits::denorm_min(), 1e-30f, 8388609.0f, -0.0f}) {
    EXPECT_EQ(noise->Noise(Vector4d32(strange, strange, strange, strange), 0), atZero) << strange;
    EXPECT_EQ(noise->Noise(Vec2<Float32>(0, 0), strange), atZero) << strange;
  }
  for (const Float32 large : {8388608.0f, -8388608.0f, 8388607.0f, -4194303.5f}) {
    const Float32 value = noise->Noise(Vector4d32(large, large, large, large), 0);
    EXPECT_TRUE(value >= 0 && value <= 1) << value << " at " << large;
  }
}

TEST_P(EachNoiseTest, FewerCoordinatesMeanZerosAndTimeIsTheFourth) {
  const RenderNoiseRef noise = MakeNoise(GetParam(), 5);
  for (const Vector4d32& p : MakePositions(200)) {
    EXPECT_EQ(noise->Noise(p.x, p.w), noise->Noise(Vector4d32(p.x, 0, 0, p.w), 0));
    EXPECT_EQ(noise->Noise(Vec2<Float32>(p.x, p.y), p.w), noise->Noise(Vector4d32(p.x, p.y, 0, p.w), 0));
    EXPECT_EQ(noise->Noise(Vec3<Float32>(p.x, p.y, p.z), p.w), noise->Noise(p, 0));
    EXPECT_EQ(noise->Noise(Vector4d32(p.x, p.y, p.z, 0), p.w), noise->Noise(p, 0));
  }
}

// Coordinates and periods are multiples of a power of two here, so that adding them rounds nothing.
TEST_P(EachNoiseTest, TheNoiseRepeatsAfter65536OnEveryAxis) {
  const RenderNoiseRef noise = MakeNoise(GetParam(), 5);
  std::mt19937 random(3);
  const auto draw = [&random] { return static_cast<Float32>(random() % 65536) / 64 - 300; };
  for (Int i = 0; i < 300; ++i) {
    const Vector4d32 p(draw(), draw(), draw(), draw());
    for (int axis = 0; axis < 4; ++axis) {
      Vector4d32 moved = p;
      moved[axis] += 65536;
      EXPECT_EQ(noise->Noise(moved, 0), noise->Noise(p, 0));
    }
  }
}

TEST_P(EachNoiseTest, NoValueJumpsUnlessTheClassSaysSo) {
  const RenderNoiseRef noise = MakeNoise(GetParam(), 9);
  const Float32 jump = FindGreatestJump(*noise, 400);
  if (GetParam() == kBoxNoise)
    EXPECT_GT(jump, 0.5f);
  else
    EXPECT_LT(jump, 0.01f);
}

TEST_P(EachNoiseTest, EveryAxisAndTheSeedMatter) {
  const RenderNoiseRef noise = MakeNoise(GetParam(), 1);
  const RenderNoiseRef neighbour = MakeNoise(GetParam(), 2);
  Int differentSeed = 0;
  std::vector<Int> differentAxis(4);
  for (const Vector4d32& p : MakePositions(1000)) {
    const Float32 value = noise->Noise(p, 0);
    differentSeed += value != neighbour->Noise(p, 0);
    for (int axis = 0; axis < 4; ++axis) {
      Vector4d32 moved = p;
      moved[axis] += 1.3f;
      differentAxis[static_cast<std::size_t>(axis)] += value != noise->Noise(moved, 0);
    }
  }
  // Some classes have large even parts.
  EXPECT_GT(differentSeed, 200);
  EXPECT_THAT(differentAxis, testing::Each(testing::Gt(200)));
}

TEST_P(EachNoiseTest, TheSameSeedGivesTheSameNoise) {
  const RenderNoiseRef one = MakeNoise(GetParam(), -77);
  const RenderNoiseRef two = MakeNoise(GetParam(), -77);
  for (const Vector4d32& p : MakePositions(500)) EXPECT_EQ(one->Noise(p, 0.5f), two->Noise(p, 0.5f));
}

TEST_P(EachNoiseTest, NothingIsAllocated) {
  const RenderNoiseRef noise = MakeNoise(GetParam(), 1);
  const Int before = AllocationFaults::GetCount();
  Float32 sum = 0;
  for (Int i = 0; i < 100; ++i) sum += noise->Noise(Vec2<Float32>(0.1f * static_cast<Float32>(i), 0.7f), 0.3f);
  EXPECT_EQ(AllocationFaults::GetCount(), before);
  EXPECT_GT(sum, 0);
}

OSTRA_TEST_EACH_NOISE(EachNoiseTest);

TEST(RenderNoisesTest, AnyTwoClassesDiffer) {
  const std::vector<Vector4d32> positions = MakePositions(200);
  std::vector<std::vector<Float32>> values;
  for (const Id& id : GetNoiseIds()) {
    const RenderNoiseRef noise = MakeNoise(id, 1);
    std::vector<Float32>& row = values.emplace_back();
    for (const Vector4d32& p : positions) row.push_back(noise->Noise(p, 0));
  }
  for (std::size_t a = 0; a < values.size(); ++a) {
    for (std::size_t b = 0; b < a; ++b) {
      Int different = 0;
      for (std::size_t i = 0; i < positions.size(); ++i) different += values[a][i] != values[b][i];
      EXPECT_GT(different, 100) << GetNoiseIds()[a].GetView() << " and " << GetNoiseIds()[b].GetView();
    }
  }
}

TEST(RenderNoisesTest, MoreDepthAddsDetail) {
  const RenderNoiseRef shallow = MakeNoise(kTurbulenceNoise, 1, 1);
  const RenderNoiseRef deep = MakeNoise(kTurbulenceNoise, 1, kNoiseDepth);
  const auto measureRoughness = [](const RenderNoiseInterface& noise) {
    Float32 sum = 0;
    for (Int i = 0; i < 2000; ++i) {
      const Float32 x = static_cast<Float32>(i) / 64;
      sum += std::abs(noise.Noise(x + 0.015625f, 0) - noise.Noise(x, 0));
    }
    return sum;
  };
  EXPECT_GT(measureRoughness(*deep), 2 * measureRoughness(*shallow));
}

TEST(RenderNoisesTest, PerlinIsHalfwayAtLatticePoints) {
  const RenderNoiseRef noise = MakeNoise(kPerlinNoise, 99);
  for (Int32 i = -50; i < 50; ++i) {
    const auto x = static_cast<Float32>(i);
    EXPECT_EQ(noise->Noise(Vector4d32(x, x * 3, 7 - x, x), 0), 0.5f);
  }
}

// Leaving corners out must not show: just beside a lattice plane they count almost nothing.
TEST(RenderNoisesTest, PlanesFitTheirSurroundings) {
  const RenderNoiseRef noise = MakeNoise(kTurbulenceNoise, 3);
  for (const Vector4d32& p : MakePositions(500)) {
    const Vector4d32 on(p.x, p.y, 2, 3);
    const Vector4d32 beside(p.x, p.y, 2.000001f, 3.000001f);
    EXPECT_NEAR(noise->Noise(on, 0), noise->Noise(beside, 0), 1e-3f);
  }
}

TEST(RenderNoisesTest, ManyThreadsMayEvaluateOneNoise) {
  const std::vector<Vector4d32> positions = MakePositions(300);
  std::vector<RenderNoiseRef> noises;
  for (const Id& id : GetNoiseIds()) noises.push_back(MakeNoise(id, 8));
  const auto evaluate = [&] {
    std::vector<Float32> values;
    for (const RenderNoiseRef& noise : noises)
      for (const Vector4d32& p : positions) values.push_back(noise->Noise(p, 0.1f));
    return values;
  };
  const std::vector<Float32> expected = evaluate();
  std::vector<std::vector<Float32>> results(4);
  std::vector<std::thread> threads;
  for (std::vector<Float32>& result : results) threads.emplace_back([&] { result = evaluate(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(results, testing::Each(testing::Eq(expected)));
}

}  // namespace
}  // namespace ostra::test
