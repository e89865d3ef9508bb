// Noise classes and objects: which there are, Init, and the exact values.
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>

#include "ostra/math/lane_levels.h"
#include "tests/render/noise_fixture.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

TEST(RenderNoiseTest, TheRegistryHoldsExactlyTheKnownClasses) {
  const std::string prefix = "net.ostra.render.rendernoiseclass.";
  std::vector<std::string> names;
  for (const Id& id : GetNoiseIds()) {
    EXPECT_TRUE(id.GetString().StartsWith(prefix)) << id.GetView();
    names.emplace_back(GetNoiseName(id));
  }
  EXPECT_THAT(names, testing::ElementsAre("blisteredturbulence", "box", "buya", "cell", "cranal", "dents",
                                          "displacedturbulence", "electric", "gaseous", "hama", "luka", "mod", "naki",
                                          "nutous", "ober", "perlin", "pezo", "poxo", "sema", "stupl", "turbulence",
                                          "vl", "wavyturbulence", "zada"));
}

TEST(RenderNoiseTest, AnUnknownClassIsAnError) {
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  ASSERT_THAT(registry, IsOk());
  EXPECT_THAT(registry->FindEntryValue("net.ostra.render.rendernoiseclass.wood"_id),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST(RenderNoiseTest, ProgramsMakeTheirNoisesWithADepthOfTen) {
  static_assert(kNoiseDepth == 10);
  EXPECT_THAT(CreateNoise(kPerlinNoise)->Init(1, kNoiseDepth, kPerlinNoise), IsOk());
}

TEST(RenderNoiseTest, InitRefusesADepthOutsideTheLimits) {
  const RenderNoiseRef noise = CreateNoise(kPerlinNoise);
  EXPECT_THAT(noise->Init(1, 0, kPerlinNoise),
              IsErrorWith(kIllegalArgumentError, "The depth 0 of a noise must be between 1 and 16."));
  EXPECT_THAT(noise->Init(1, 17, kPerlinNoise),
              IsErrorWith(kIllegalArgumentError, "The depth 17 of a noise must be between 1 and 16."));
  EXPECT_THAT(noise->Init(1, 16, kPerlinNoise), IsOk());
}

TEST(RenderNoiseTest, InitRefusesAnotherClass) {
  const RenderNoiseRef noise = CreateNoise(kPerlinNoise);
  EXPECT_THAT(noise->Init(1, kNoiseDepth, kCellNoise),
              IsErrorWith(kIllegalArgumentError,
                          "A noise of the class \"net.ostra.render.rendernoiseclass.perlin\" cannot become a "
                          "\"net.ostra.render.rendernoiseclass.cell\"."));
}

TEST(RenderNoiseTest, InitRefusesToRunTwice) {
  const RenderNoiseRef noise = MakeNoise(kPerlinNoise, 1);
  const Float32 before = noise->Noise(Vector32(0.3f, 0.4f, 0.5f), 0);
  EXPECT_THAT(noise->Init(2, kNoiseDepth, kPerlinNoise),
              IsErrorWith(kIllegalStateError,
                          "The noise \"net.ostra.render.rendernoiseclass.perlin\" was initialized already."));
  EXPECT_EQ(noise->Noise(Vector32(0.3f, 0.4f, 0.5f), 0), before);
}

TEST(RenderNoiseTest, WithoutInitANoiseHasTheSeedZero) {
  const RenderNoiseRef plain = CreateNoise(kTurbulenceNoise);
  const RenderNoiseRef zero = MakeNoise(kTurbulenceNoise, 0);
  for (const Vector4d32& p : MakePositions(100)) EXPECT_EQ(plain->Noise(p, 0), zero->Noise(p, 0));
}

TEST(RenderNoiseTest, ANoiseIsNotCopied) {
  const RenderNoiseRef source = MakeNoise(kPerlinNoise, 1);
  const DiagnosticRecorder diagnostics;
  EXPECT_THAT(CreateNoise(kPerlinNoise)->CopyFrom(*source), IsErrorOfKind(kNotImplementedError));
  EXPECT_EQ(diagnostics.GetLines().size(), 1u);
}

TEST(RenderNoiseTest, SeveralPlacesAtOnceHaveTheBitsOfEach) {
  constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
  std::vector<Vector4d32> positions = MakePositions(512);
  // Behind places of all kinds, some of one kind that lie together.
  for (Int kind = 0; kind < 4; ++kind)
    for (std::size_t i = 0; i < 32; ++i) positions.push_back(positions[4 * i + static_cast<std::size_t>(kind)]);
  positions[5] = Vector4d32(NAN, 1, kInfinity, -0.0f);
  positions[10] = Vector4d32(1e-30f, -1e-9f, 3e38f, -kInfinity);
  for (const Id& id : GetNoiseIds()) {
    const RenderNoiseRef noise = MakeNoise(id, 1234);
    for (Int level = 0; level < CountLaneLevels(); ++level) {
      const std::size_t count = std::size_t{4} << level;
      for (std::size_t first = 0; first < positions.size(); first += count) {
        Float32 values[16 + 1], places[4 * 16];
        values[count] = -1;
        for (std::size_t i = 0; i < count; ++i)
          for (std::size_t axis = 0; axis < 4; ++axis)
            places[axis * count + i] = positions[first + i][static_cast<int>(axis)];
        ASSERT_TRUE(noise->NoiseLanes(level, values, places));
        ASSERT_EQ(values[count], -1);
        for (std::size_t i = 0; i < count; ++i) {
          const Float32 expected = noise->Noise(positions[first + i], 0);
          ASSERT_EQ(std::bit_cast<UInt32>(values[i]), std::bit_cast<UInt32>(expected))
              << GetNoiseName(id) << ", place " << first + i << " of " << count << " at once: " << values[i]
              << " instead of " << expected;
        }
      }
    }
    EXPECT_FALSE(noise->NoiseLanes(3, nullptr, nullptr)) << "there is no such level";
  }
}

// Bits at one position off and one on the lattice planes. Shaders run the same text and must give them, too.
struct ExpectedBits {
  const char* name;
  UInt32 inside;
  UInt32 onPlane;
};

constexpr ExpectedBits kExpectedBits[] = {
    {"blisteredturbulence", 0x3E4B80A0u, 0x3EA30FC5u},
    {"box", 0x3EE03D1Fu, 0x3F104CDAu},
    {"buya", 0x3DA2D8F4u, 0x3EB80CDCu},
    {"cell", 0x3D98FA7Au, 0x3F0353A2u},
    {"cranal", 0x3F253D9Eu, 0x3F5DA1EEu},
    {"dents", 0x3F72B97Bu, 0x3F7200B4u},
    {"displacedturbulence", 0x3EC369AFu, 0x3EA621D7u},
    {"electric", 0x3E1467F7u, 0x3E12679Fu},
    {"gaseous", 0x3E808F98u, 0x3E4F241Eu},
    {"hama", 0x3DDE4F83u, 0x3F2BB875u},
    {"luka", 0x3ED28C83u, 0x3F722F2Fu},
    {"mod", 0x3F2CF302u, 0x3E46AE3Cu},
    {"naki", 0x3F07B8A6u, 0x3EC6CCC0u},
    {"nutous", 0x3F768413u, 0x3F271417u},
    {"ober", 0x3E86C38Cu, 0x3E000000u},
    {"perlin", 0x3EB53985u, 0x3EC3B1E2u},
    {"pezo", 0x3EE038E5u, 0x3F1D1153u},
    {"poxo", 0x3DBE0474u, 0x3F0F6296u},
    {"sema", 0x3EE86B45u, 0x3EC5F135u},
    {"stupl", 0x00000000u, 0x00000000u},
    {"turbulence", 0x3EB8620Au, 0x3E6593CEu},
    {"vl", 0x00000000u, 0x3D9F4602u},
    {"wavyturbulence", 0x3F13A382u, 0x3EB11D30u},
    {"zada", 0x3EDBB69Du, 0x3EE6E77Bu},
};

class GoldenNoiseTest : public testing::TestWithParam<ExpectedBits> {};

TEST_P(GoldenNoiseTest, TheBitsAreTheSameEverywhere) {
  const auto name = Format("net.ostra.render.rendernoiseclass.@", GetParam().name);
  ASSERT_THAT(name, IsOk());
  const RenderNoiseRef noise = MakeNoise(Id(*name), 1234);
  const UInt32 inside = std::bit_cast<UInt32>(noise->Noise(Vector4d32(3.7f, -12.2f, 0.4f, 8.1f), 0.25f));
  const UInt32 onPlane = std::bit_cast<UInt32>(noise->Noise(Vec2<Float32>(5.3f, 1.9f), 0));
  EXPECT_EQ(inside, GetParam().inside) << std::hex << "0x" << inside;
  EXPECT_EQ(onPlane, GetParam().onPlane) << std::hex << "0x" << onPlane;
}

INSTANTIATE_TEST_SUITE_P(, GoldenNoiseTest, testing::ValuesIn(kExpectedBits),
                         [](const auto& bitsInfo) { return std::string(bitsInfo.param.name); });

TEST(RenderNoiseTest, EveryClassHasItsBitsChecked) { EXPECT_EQ(GetNoiseIds().size(), std::size(kExpectedBits)); }

}  // namespace
}  // namespace ostra::test
