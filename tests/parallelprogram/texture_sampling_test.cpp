// Reading textures: fixed cases of decoding, addressing and filtering.
#include <limits>
#include <thread>

#include "tests/parallelprogram/texture_family.h"

namespace ostra::test {
namespace {

constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
constexpr Float32 kNan = std::numeric_limits<Float32>::quiet_NaN();

// One texel (and one more, so that there is an axis) with all bytes given.
Texture MakeTexel(TextureFormat format, UInt32 channels, const std::vector<Byte>& bytes, Bool normalized,
                  Bool sRGB = false) {
  Texture texture;
  texture.bindData._dimensions = {2, 1, 1};
  texture.bindData._format = format;
  texture.bindData._numChannels = channels;
  texture.bindData._normalizedValues = normalized;
  texture.bindData._sRGB = sRGB;
  texture.texels = bytes;
  texture.texels.resize(2 * bytes.size());
  return texture;
}

template <class T>
Texture MakeNumber(TextureFormat format, T value, Bool normalized, Bool sRGB = false) {
  std::vector<Byte> bytes(sizeof(T));
  MemCopy(bytes.data(), &value, sizeof(T));
  return MakeTexel(format, 1, bytes, normalized, sRGB);
}

Float32 Decode(const Texture& texture) { return Fetch(texture, texture.Build(), 1, {0})[0]; }

TEST(TextureDecodeTest, NumbersBecomeFloats) {
  EXPECT_EQ(Decode(MakeNumber<UInt8>(TextureFormat::U8, 200, false)), 200.0f);
  EXPECT_EQ(Decode(MakeNumber<Int8>(TextureFormat::I8, -128, false)), -128.0f);
  EXPECT_EQ(Decode(MakeNumber<UInt16>(TextureFormat::U16, 65535, false)), 65535.0f);
  EXPECT_EQ(Decode(MakeNumber<Int16>(TextureFormat::I16, -32768, false)), -32768.0f);
  EXPECT_EQ(Decode(MakeNumber<UInt32>(TextureFormat::U32, 4294967295u, false)), 4294967296.0f);
  EXPECT_EQ(Decode(MakeNumber<Int32>(TextureFormat::I32, -5, false)), -5.0f);
}

TEST(TextureDecodeTest, NormalizedNumbersReachTheEndsOfTheirRange) {
  EXPECT_EQ(Decode(MakeNumber<UInt8>(TextureFormat::U8, 255, true)), 1.0f);
  EXPECT_EQ(Decode(MakeNumber<Int8>(TextureFormat::I8, -128, true)), -1.0f);
  EXPECT_EQ(Decode(MakeNumber<Int8>(TextureFormat::I8, 127, true)), 1.0f);
  EXPECT_EQ(Decode(MakeNumber<Int8>(TextureFormat::I8, 0, true)), 2.0f * (128.0f / 255.0f) - 1.0f);
  EXPECT_EQ(Decode(MakeNumber<UInt16>(TextureFormat::U16, 65535, true)), 1.0f);
  EXPECT_EQ(Decode(MakeNumber<Int16>(TextureFormat::I16, -32768, true)), -1.0f);
  EXPECT_NEAR(Decode(MakeNumber<Int16>(TextureFormat::I16, 0, true)), 0.0000152588f, 1e-10);
  EXPECT_EQ(Decode(MakeNumber<UInt32>(TextureFormat::U32, 4294967295u, true)), 1.0f);
  EXPECT_EQ(Decode(MakeNumber<Int32>(TextureFormat::I32, 0, true)), 0.0f);
  EXPECT_EQ(Decode(MakeNumber<Int32>(TextureFormat::I32, 2147483647, true)), 1.0f);
  EXPECT_EQ(Decode(MakeNumber<Int32>(TextureFormat::I32, -2147483647 - 1, true)), -1.0f);
}

TEST(TextureDecodeTest, TheSrgbCurveIsAppliedToEveryNumberAndEveryChannel) {
  EXPECT_EQ(Decode(MakeNumber<UInt8>(TextureFormat::U8, 255, true, true)), 1.0f);
  EXPECT_EQ(Decode(MakeNumber<UInt8>(TextureFormat::U8, 10, true, true)), 10.0f / 255.0f / 12.92f);
  EXPECT_EQ(Decode(MakeNumber<UInt8>(TextureFormat::U8, 200, false, true)), powf((200.0f + 0.055f) / 1.055f, 2.4f));
  EXPECT_EQ(Decode(MakeNumber<Float32>(TextureFormat::F32, 0.04045f, false, true)), 0.04045f / 12.92f);
  EXPECT_EQ(Decode(MakeNumber<Float32>(TextureFormat::F32, -2.0f, false, true)), -2.0f / 12.92f);
  EXPECT_TRUE(std::isnan(Decode(MakeNumber<Float32>(TextureFormat::F32, kNan, false, true))));
  const Texture colour = MakeTexel(TextureFormat::U8, 4, {0, 0, 0, 128}, true, true);
  EXPECT_NEAR(Fetch(colour, colour.Build(), 4, {0})[3], 0.2158605f, 1e-7);
}

TEST(TextureDecodeTest, MissingChannelsAreZeroAndFurtherOnesAreIgnored) {
  const Texture two = MakeFloatTexture({2, 1, 1}, 2, {0.25f, 0.5f, 9, 9});
  EXPECT_EQ(Fetch(two, two.Build(), 4, {0}), (Values{0.25f, 0.5f, 0, 0}));
  EXPECT_EQ(Fetch(two, two.Build(), 1, {0}), (Values{0.25f}));
  const Texture one = MakeTexel(TextureFormat::I8, 1, {0x80}, true);
  EXPECT_EQ(Fetch(one, one.Build(), 4, {0}), (Values{-1, 0, 0, 0}));
}

TEST(TextureDecodeTest, FloatsKeepTheirBits) {
  const UInt32 bits[] = {0x7FC12345u, 0x7F812345u, 0x80000000u, 1u};
  for (const UInt32 pattern : bits) {
    const Texture texture = MakeNumber<UInt32>(TextureFormat::F32, pattern, true);
    EXPECT_EQ(std::bit_cast<UInt32>(Decode(texture)), pattern);
  }
}

TEST(TextureDecodeTest, BytesAreTheLowByteOfTheWholeNumber) {
  const auto read = [](Float32 value) {
    const Texture texture = MakeNumber<Float32>(TextureFormat::F32, value, false);
    return Int{CallByte(*SelectByteFetchFunction<1>(texture.bindData), {0}, 0, texture.Build())};
  };
  EXPECT_EQ(read(300.7f), 44);
  EXPECT_EQ(read(-1.5f), 255);
  EXPECT_EQ(read(2147483648.0f), 0);
  EXPECT_EQ(read(-3e9f), 0);
  EXPECT_EQ(read(kNan), 0);
  EXPECT_EQ(read(-kInfinity), 0);
}

TEST(TextureDecodeTest, TheBorderIsNotDecoded) {
  Texture texture = MakeTexel(TextureFormat::U8, 2, {1, 2}, true, true);
  texture.bindData._wrapModes[0] = TextureWrapMode::BORDER;
  texture.bindData._borderColor[0] = 258.75f;
  texture.bindData._borderColor[1] = 0.5f;
  const SamplingData data = texture.Build();
  EXPECT_EQ(Fetch(texture, data, 2, {-1}), (Values{258.75f, 0.5f}));
  EXPECT_EQ(CallByte(*SelectByteFetchFunction<1>(texture.bindData), {2}, 0, data), 2);
}

class FetchAddressTest : public testing::Test {
 protected:
  void SetMode(Int axis, TextureWrapMode mode) { texture.bindData._wrapModes[axis] = mode; }
  Float32 FetchAt(const std::vector<Int32>& at, UInt32 layer = 0) {
    return Fetch(texture, texture.Build(), 1, at, layer)[0];
  }
  Texture texture = MakeCountingTexture({4, 1, 1});
};

TEST_F(FetchAddressTest, RepeatWrapsButNegativeMultiplesAreOnePastTheRow) {
  texture = MakeCountingTexture({4, 1, 1}, 1, 2);
  SetMode(0, TextureWrapMode::REPEAT);
  EXPECT_EQ(FetchAt({5}), 1);
  EXPECT_EQ(FetchAt({-1}), 3);
  EXPECT_EQ(FetchAt({-4}), 4);
  EXPECT_EQ(FetchAt({-8}), 4);
}

TEST_F(FetchAddressTest, ClampTakesTheEnds) {
  EXPECT_EQ(FetchAt({-7}), 0);
  EXPECT_EQ(FetchAt({9}), 3);
}

TEST_F(FetchAddressTest, EveryAxisHasItsMode) {
  texture = MakeCountingTexture({4, 3, 1});
  SetMode(1, TextureWrapMode::BORDER);
  texture.bindData._borderColor[0] = 77;
  EXPECT_EQ(FetchAt({1, -1}), 77);
  EXPECT_EQ(FetchAt({-1, 1}), 4);
}

TEST_F(FetchAddressTest, LayersFollowOneAnother) {
  texture = MakeCountingTexture({8, 4, 1}, 1, 3);
  EXPECT_EQ(FetchAt({0, 0}, 2), 64);
  texture = MakeCountingTexture({3, 2, 2}, 1, 3);
  EXPECT_EQ(FetchAt({2, 1, 1}, 2), 35);
  texture = MakeCountingTexture({1, 64, 1});
  EXPECT_EQ(FetchAt({0}, 17), 17);
}

TEST_F(FetchAddressTest, WithoutAModeTheCoordinateIsUsedAsItIs) {
  texture = MakeCountingTexture({4, 3, 1});
  SetMode(0, static_cast<TextureWrapMode>(3));
  EXPECT_EQ(FetchAt({5, 0}), 5);
  EXPECT_EQ(FetchAt({-1, 1}), 3);
}

TEST_F(FetchAddressTest, TheLargestCoordinatesStayInside) {
  texture = MakeCountingTexture({5, 3, 2});
  const Int32 kLeast = std::numeric_limits<Int32>::min(), kMax = std::numeric_limits<Int32>::max();
  for (const Int32 mode : {0, 1, 2}) {
    for (Int axis = 0; axis < 3; ++axis) SetMode(axis, static_cast<TextureWrapMode>(mode));
    const SamplingData data = texture.Build();
    for (const Int32 x : {kLeast, kLeast + 1, -1, 0, 4, kMax})
      for (const Int32 y : {kLeast, -16777217, 1, kMax - 1, kMax})
        for (const Int32 z : {kLeast, -1, 16777217, kMax}) {
          EXPECT_TRUE(HaveSameBits(Fetch(texture, data, 1, {x, y, z}), ReferenceFetch(texture, 1, {x, y, z}, 0)))
              << x << " " << y << " " << z << " mode " << mode;
        }
  }
}

class SampleTest : public FetchAddressTest {
 protected:
  Values SampleAt(const std::vector<Float32>& at, Int outputs = 1, UInt32 layer = 0) {
    return Sample(texture, texture.Build(), outputs, at, layer);
  }
};

TEST_F(SampleTest, TexelCentresAreAtHalves) {
  EXPECT_EQ(SampleAt({0.5f}), Values{1.5f});
  EXPECT_EQ(SampleAt({0.375f}), Values{1.0f});
  EXPECT_EQ(SampleAt({0.0f}), Values{0.0f});
  EXPECT_EQ(SampleAt({1.0f}), Values{3.0f});
  texture.bindData._normalizedCoordinates = false;
  EXPECT_EQ(SampleAt({2.0f}), Values{1.5f});
}

TEST_F(SampleTest, PointsTakeTheTexelTheyAreIn) {
  texture.bindData._filter = TextureFilter::POINT;
  SetMode(0, TextureWrapMode::REPEAT);
  EXPECT_EQ(SampleAt({1.0f}), Values{0.0f});
  EXPECT_EQ(SampleAt({0.99f}), Values{3.0f});
  EXPECT_EQ(SampleAt({kNan}), Values{0.0f});
}

TEST_F(SampleTest, OneNeighbourCanBeTheBorder) {
  texture = MakeCountingTexture({4, 1, 1}, 2);
  SetMode(0, TextureWrapMode::BORDER);
  texture.bindData._borderColor[0] = 100;
  texture.bindData._borderColor[1] = 200;
  EXPECT_EQ(SampleAt({0.0f}, 2), (Values{50.0f, 100.5f}));
  EXPECT_EQ(SampleAt({-1.0f}, 2), (Values{100, 200}));
}

TEST_F(SampleTest, AllChannelsAreBlendedAlike) {
  texture = MakeCountingTexture({4, 2, 1}, 3);
  EXPECT_EQ(SampleAt({0.5f, 0.5f}, 3), (Values{10.5f, 11.5f, 12.5f}));
  texture = MakeCountingTexture({2, 2, 2}, 4);
  EXPECT_EQ(SampleAt({0.5f, 0.5f, 0.5f}, 4), (Values{14, 15, 16, 17}));
}

TEST_F(SampleTest, FilterBitsOtherThanLinearGiveTheNearestTexel) {
  SetMode(2, static_cast<TextureWrapMode>(8));  // spills into the filter
  EXPECT_EQ(SampleAt({0.5f}), Values{2.0f});
}

// Coordinates that are no numbers, infinite, huge or close to edges, with every wrap mode, in all dimensions: bits of
// the reference, and under the address sanitizer nothing but the texels and their slack is read.
TEST_F(SampleTest, StrangeCoordinatesStayInside) {
  const Float32 strange[] = {kNan,        -kNan,    kInfinity,     -kInfinity,  3e38f, -3e38f,
                             9.3e18f,     -9.3e18f, 2147483648.0f, -1e-30f,     -1.0f, -4.0f,
                             0.99999994f, 4.0f,     1e-45f,        16777217.0f, 0.25f};
  std::mt19937 random(7);
  for (Int dimensions = 1; dimensions <= 3; ++dimensions) {
    for (int i = 0; i < 4000; ++i) {
      texture = MakeCountingTexture({4, dimensions > 1 ? 3u : 1u, dimensions > 2 ? 5u : 1u});
      texture.bindData._filter = static_cast<TextureFilter>(random() % 2);
      texture.bindData._normalizedCoordinates = random() % 2;
      for (Int axis = 0; axis < 3; ++axis) SetMode(axis, static_cast<TextureWrapMode>(random() % 3));
      std::vector<Float32> at;
      for (Int axis = 0; axis < dimensions; ++axis) at.push_back(strange[random() % std::size(strange)]);
      ASSERT_TRUE(HaveSameBits(SampleAt(at), ReferenceSample(texture, 1, at, 0))) << testing::PrintToString(at);
    }
  }
}

// The sum of a coordinate just below a whole number and 1 can be rounded up to the texel after the next.
TEST_F(SampleTest, CoordinatesJustBelowWholeNumbersUseTheRoundedNeighbour) {
  texture.bindData._normalizedCoordinates = false;
  for (const Float32 at : {1.4999999f, 2.4999998f, 0.49999997f}) {
    EXPECT_TRUE(HaveSameBits(SampleAt({at}), ReferenceSample(texture, 1, {at}, 0))) << at;
  }
}

// Lookups one period away take another way than those that are further outside; both give the bits of the reference.
TEST_F(SampleTest, RepeatedTexturesGoOnFarAwayAndNearby) {
  std::mt19937 random(11);
  for (Int dimensions = 1; dimensions <= 3; ++dimensions) {
    texture = MakeCountingTexture({5, dimensions > 1 ? 3u : 1u, dimensions > 2 ? 4u : 1u}, 2);
    for (const Float32 reach : {0.01f, 1.0f, 2.0f, 50.0f, 1e6f}) {
      std::uniform_real_distribution<Float32> distribution(-reach, 1 + reach);
      for (int i = 0; i < 600; ++i) {
        for (Int axis = 0; axis < 3; ++axis) SetMode(axis, static_cast<TextureWrapMode>(i % 7 == 0 ? random() % 3 : 0));
        std::vector<Float32> at;
        for (Int axis = 0; axis < dimensions; ++axis) at.push_back(distribution(random));
        ASSERT_TRUE(HaveSameBits(SampleAt(at, 2), ReferenceSample(texture, 2, at, 0))) << testing::PrintToString(at);
      }
    }
  }
}

// Beyond 2^24 texels floats do not reach every texel.
TEST_F(SampleTest, AxesMayBeLongerThanFloatsCount) {
  texture.bindData._dimensions = {(1u << 25) + 3, 1, 1};
  texture.bindData._format = TextureFormat::U8;
  texture.bindData._normalizedCoordinates = false;
  texture.texels.resize((1u << 25) + 3);
  for (std::size_t i = 0; i < texture.texels.size(); ++i) texture.texels[i] = static_cast<Byte>(i * 7);
  const SamplingData data = texture.Build();
  const auto function = SelectSampleFunction<1, 1>(texture.bindData);
  ASSERT_THAT(function, IsOk());
  for (Int i = -40; i <= 8; ++i) {
    for (const Int middle : {Int{1} << 23, Int{1} << 24, Int{1} << 25}) {
      for (const Float32 part : {0.0f, 0.5f}) {
        const std::vector<Float32> at = {static_cast<Float32>(middle + i) + part};
        ASSERT_TRUE(HaveSameBits(Call(*function, 1, at, 0, data), ReferenceSample(texture, 1, at, 0))) << at[0];
      }
    }
  }
}

TEST_F(SampleTest, BordersAllAroundGiveTheBorder) {
  for (Int dimensions = 1; dimensions <= 3; ++dimensions) {
    texture = MakeCountingTexture({4, dimensions > 1 ? 3u : 1u, dimensions > 2 ? 2u : 1u}, 4);
    for (Int axis = 0; axis < 3; ++axis) SetMode(axis, TextureWrapMode::BORDER);
    const Float32 border[] = {-0.0f, kInfinity, 3.5f, kNan};
    MemCopy(texture.bindData._borderColor, border, sizeof(border));
    for (const Float32 first : {-3.0f, -0.3f, 1.4f, 70.0f, kNan}) {
      std::vector<Float32> at(static_cast<std::size_t>(dimensions), 0.4f);
      at.back() = first;
      ASSERT_TRUE(HaveSameBits(SampleAt(at, 4), ReferenceSample(texture, 4, at, 0))) << dimensions << " " << first;
    }
  }
}

TEST_F(SampleTest, CoordinatesOnePastTheEndReadZeros) {
  for (const Vec3<UInt32>& extent : {Vec3<UInt32>{4, 1, 1}, Vec3<UInt32>{4, 3, 1}, Vec3<UInt32>{4, 3, 2}}) {
    texture = MakeCountingTexture(extent);
    for (Int axis = 0; axis < 3; ++axis) SetMode(axis, TextureWrapMode::REPEAT);
    const std::vector<Int32> all = {-4, -3, -2};
    const std::vector<Int32> at(all.begin(), all.begin() + (extent.z > 1 ? 3 : extent.y > 1 ? 2 : 1));
    EXPECT_EQ(FetchAt(at), 0) << testing::PrintToString(at);
  }
}

TEST_F(SampleTest, ManyThreadsReadOneTexture) {
  texture = MakeCountingTexture({16, 16, 1}, 4);
  const SamplingData data = texture.Build();
  const SampleFunction sample = *SelectSampleFunction<2, 4>(texture.bindData);
  std::vector<std::thread> threads;
  std::array<int, 4> differences{};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 2000; ++i) {
        const std::vector<Float32> at = {static_cast<Float32>(i) / 1500 - 0.1f, static_cast<Float32>(t) / 4};
        Float32 result[4];
        sample(result, at.data(), 0, &data);
        differences[static_cast<std::size_t>(t)] +=
            !HaveSameBits(Values(result, result + 4), ReferenceSample(texture, 4, at, 0));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(differences, testing::Each(0));
}

}  // namespace
}  // namespace ostra::test
