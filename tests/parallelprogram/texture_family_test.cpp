// Every member of the family against the reference, bit by bit; and the selection of members.
#include <limits>
#include <memory>
#include <set>

#include "parallelprogram/program/kernel_loops.h"
#include "parallelprogram/textures/sampler_lanes.h"
#include "tests/parallelprogram/texture_family.h"

namespace ostra::test {
namespace {

constexpr Vec3<UInt32> kExtents[3] = {{7, 1, 1}, {5, 4, 1}, {5, 4, 3}};
constexpr UInt32 kLayers = 2;

// One combination of what selects a member.
struct Member {
  Int dimensions;
  Int outputs;
  UInt32 channels;
  TextureFormat format;
  Bool normalized;
  Bool sRGB;
};

template <class Visit>
void ForEachMember(const Visit& visit) {
  for (Int dimensions = 1; dimensions <= 3; ++dimensions)
    for (Int outputs = 1; outputs <= 4; ++outputs)
      for (UInt32 channels = 1; channels <= 4; ++channels)
        for (Int format = 0; format <= 7; ++format)
          for (const Bool normalized : {false, true})
            for (const Bool sRGB : {false, true})
              visit(Member{dimensions, outputs, channels, static_cast<TextureFormat>(format), normalized, sRGB});
}

Texture MakeTexture(const Member& member, std::mt19937& random) {
  Texture texture;
  texture.bindData._dimensions = kExtents[member.dimensions - 1];
  texture.bindData._format = member.format;
  texture.bindData._numChannels = member.channels;
  texture.bindData._normalizedValues = member.normalized;
  texture.bindData._sRGB = member.sRGB;
  texture.bindData._normalizedCoordinates = random() % 2;
  for (TextureWrapMode& mode : texture.bindData._wrapModes) mode = static_cast<TextureWrapMode>(random() % 3);
  for (Float32& component : texture.bindData._borderColor) component = static_cast<Float32>(random() % 1000) / 7 - 50;
  FillTexels(texture, kLayers, random);
  return texture;
}

// Mostly inside and near the edges, sometimes far away.
Float32 MakeCoordinate(const Texture& texture, Int axis, std::mt19937& random) {
  const Float32 extent = static_cast<Float32>(texture.bindData._dimensions[static_cast<int>(axis)]);
  std::uniform_real_distribution<Float32> near(-1.0f, extent + 1.0f);
  std::uniform_real_distribution<Float32> far(-40.0f, 40.0f);
  Float32 value = random() % 4 == 0 ? far(random) : near(random);
  if (random() % 4 == 0) value = std::floor(value);
  if (random() % 8 == 0) value = std::floor(value) + 0.5f;
  return texture.bindData._normalizedCoordinates ? value / extent : value;
}

TEST(SamplerFamilyTest, EveryMemberSamplesWithTheBitsOfTheReference) {
  std::mt19937 random(1);
  ForEachMember([&](const Member& member) {
    const Texture texture = MakeTexture(member, random);
    const SamplingData data = texture.Build();
    for (int i = 0; i < 40; ++i) {
      std::vector<Float32> at;
      for (Int axis = 0; axis < member.dimensions; ++axis) at.push_back(MakeCoordinate(texture, axis, random));
      const UInt32 layer = random() % 4 == 0 ? 1 : 0;
      ASSERT_TRUE(HaveSameBits(Sample(texture, data, member.outputs, at, layer),
                               ReferenceSample(texture, member.outputs, at, layer)))
          << testing::PrintToString(at) << " layer " << layer << " format " << Int32(member.format) << " channels "
          << member.channels << " outputs " << member.outputs << " normalized " << member.normalized << " sRGB "
          << member.sRGB;
    }
  });
}

TEST(SamplerFamilyTest, EveryMemberFetchesWithTheBitsOfTheReference) {
  std::mt19937 random(2);
  ForEachMember([&](const Member& member) {
    const Texture texture = MakeTexture(member, random);
    const SamplingData data = texture.Build();
    for (int i = 0; i < 20; ++i) {
      std::vector<Int32> at;
      for (Int axis = 0; axis < member.dimensions; ++axis) at.push_back(static_cast<Int32>(random() % 24) - 10);
      const UInt32 layer = random() % 4 == 0 ? 1 : 0;
      ASSERT_TRUE(HaveSameBits(Fetch(texture, data, member.outputs, at, layer),
                               ReferenceFetch(texture, member.outputs, at, layer)))
          << testing::PrintToString(at) << " layer " << layer << " format " << Int32(member.format) << " channels "
          << member.channels << " outputs " << member.outputs;
      if (member.outputs > 1) continue;
      auto fetchByte = kSelectByteFetch[member.dimensions - 1](texture.bindData);
      ASSERT_THAT(fetchByte, IsOk());
      ASSERT_EQ(CallByte(*fetchByte, at, layer, data), ReferenceByte(texture, at, layer))
          << testing::PrintToString(at) << " format " << Int32(member.format) << " channels " << member.channels;
    }
  });
}

TEST(SamplerFamilyTest, EveryMemberReadsTheNearestTexelWithoutAFilter) {
  std::mt19937 random(3);
  ForEachMember([&](const Member& member) {
    Texture texture = MakeTexture(member, random);
    texture.bindData._filter = TextureFilter::POINT;
    const SamplingData data = texture.Build();
    for (int i = 0; i < 10; ++i) {
      std::vector<Float32> at;
      for (Int axis = 0; axis < member.dimensions; ++axis) at.push_back(MakeCoordinate(texture, axis, random));
      ASSERT_TRUE(
          HaveSameBits(Sample(texture, data, member.outputs, at), ReferenceSample(texture, member.outputs, at, 0)))
          << testing::PrintToString(at);
    }
  });
}

// A sampler with all its slots, for outputs 0 one of bytes.
std::unique_ptr<const TextureSamplerDataHelper> MakeSampler(const Texture& texture, Int dimensions, Int outputs) {
  auto made = std::make_unique<TextureSamplerDataHelper>();
  TextureSamplerDataHelper& sampler = *made;
  sampler._kind = 1;
  sampler._samplingData = texture.Build();
  if (outputs == 0) {
    sampler._fetch = *kSelectByteFetch[dimensions - 1](texture.bindData);
    sampler._sample = reinterpret_cast<SampleFunction>(sampler._fetch);
  } else {
    sampler._fetch = *kSelectFetch[dimensions - 1][outputs - 1](texture.bindData);
    sampler._sample = *kSelectSample[dimensions - 1][outputs - 1](texture.bindData);
  }
  SetSamplerLanes(sampler, dimensions, outputs, texture.bindData);
  return made;
}

// Where the lanes of a wide lookup point.
enum class Places { kInside, kNear, kOutside, kAnywhere };

Float32 MakePlace(const Texture& texture, Int axis, Places places, std::mt19937& random, Float32) {
  constexpr Float32 kInfinity = std::numeric_limits<Float32>::infinity();
  constexpr Float32 kSpecial[] = {NAN,   kInfinity, -kInfinity, -0.0f, 0.0f,        0.49999997f, 1e9f,   -1e9f, 3e38f,
                                  1e19f, -1e-30f,   1e-40f,     -2.0f, 16777216.0f, 1.0f,        1.5e8f, 0.5f};
  if (places == Places::kAnywhere && random() % 3 == 0) return kSpecial[random() % std::size(kSpecial)];
  if (places == Places::kNear || places == Places::kAnywhere) return MakeCoordinate(texture, axis, random);
  const Float32 extent = static_cast<Float32>(texture.bindData._dimensions[static_cast<int>(axis)]);
  Float32 place = std::uniform_real_distribution<Float32>(0.51f, extent - 0.51f)(random);
  if (places == Places::kOutside) place = random() % 2 ? place + extent + 0.5f : place - extent - 0.5f;
  return texture.bindData._normalizedCoordinates ? place / extent : place;
}

Int32 MakePlace(const Texture& texture, Int axis, Places places, std::mt19937& random, Int32) {
  constexpr Int32 kSpecial[] = {INT32_MIN, INT32_MAX, INT32_MIN + 1, -16777217, 16777217, 1 << 30, -12, 60};
  if (places == Places::kAnywhere && random() % 3 == 0) return kSpecial[random() % std::size(kSpecial)];
  if (places == Places::kNear || places == Places::kAnywhere) return static_cast<Int32>(random() % 24) - 10;
  const Int32 extent = static_cast<Int32>(texture.bindData._dimensions[static_cast<int>(axis)]);
  const Int32 place = static_cast<Int32>(random() % static_cast<UInt32>(extent));
  return places == Places::kInside ? place : random() % 2 ? place + extent : place - extent;
}

// Compares one wide lookup with single ones. Lanes that are off point far out of the texels.
template <class T, class Wide, class One>
testing::AssertionResult LooksUpTheSame(const Texture& texture, const TextureSamplerDataHelper& sampler, Wide wide,
                                        One one, UInt32 dimensions, UInt32 lanes, Places places, std::mt19937& random) {
  constexpr UInt32 kMax = 16, kUntouched = 0x12345678;
  const UInt32 mask = (random() % 2 ? 0xffffu : random() & random()) & ((1u << lanes) - 1);
  T coordinates[3 * kMax];
  UInt32 layers[kMax], result[4 * kMax + 1];
  std::ranges::fill(result, kUntouched);
  for (UInt32 lane = 0; lane < lanes; ++lane) {
    const Bool isOn = mask >> lane & 1;
    layers[lane] = isOn ? random() % 4 == 0 : 0x7ffffff0u;
    for (UInt32 axis = 0; axis < dimensions; ++axis) {
      coordinates[axis * lanes + lane] =
          isOn ? MakePlace(texture, axis, places, random, T()) : static_cast<T>(random() % 2 ? 2e9 : -3.0);
    }
  }
  wide(result, coordinates, layers, mask, &sampler);
  const UInt32 outputs = std::max(sampler._lanes.outputs, 1u);
  for (UInt32 i = outputs * lanes; i < std::size(result); ++i) {
    if (result[i] != kUntouched) return testing::AssertionFailure() << "wrote behind the result";
  }
  for (UInt32 lane = 0; lane < lanes; ++lane) {
    if (!(mask >> lane & 1)) continue;
    T at[3];
    for (UInt32 axis = 0; axis < dimensions; ++axis) at[axis] = coordinates[axis * lanes + lane];
    UInt32 expected[4] = {};
    one(expected, at, layers[lane], &sampler._samplingData);
    for (UInt32 i = 0; i < outputs; ++i) {
      const UInt32 actual = result[i * lanes + lane];
      const Bool isSame = sampler._lanes.outputs == 0
                              ? actual == expected[0]
                              : HaveSameBits(std::bit_cast<Float32>(actual), std::bit_cast<Float32>(expected[i]));
      if (isSame) continue;
      return testing::AssertionFailure() << lanes << " lanes with mask " << mask << ": lane " << lane << " at "
                                         << testing::PrintToString(std::vector<T>(at, at + dimensions)) << " of layer "
                                         << layers[lane] << ", component " << i << " is "
                                         << std::bit_cast<Float32>(actual) << " instead of "
                                         << std::bit_cast<Float32>(expected[i]);
    }
  }
  return testing::AssertionSuccess();
}

TEST(SamplerFamilyTest, EveryMemberHasAWideFormWithTheSameBits) {
  std::mt19937 random(4);
  const Int levels = static_cast<Int>(kernel::DetectInstructionLevel()) + 1;
  ForEachMember([&](const Member& member) {
    for (const Places places : {Places::kInside, Places::kInside, Places::kNear, Places::kOutside, Places::kAnywhere}) {
      Texture texture = MakeTexture(member, random);
      if (random() % 4 == 0) texture.bindData._borderColor[0] = random() % 2 ? -0.0f : INFINITY;
      texture.bindData._filter = random() % 4 == 0 ? TextureFilter::POINT : TextureFilter::LINEAR;
      // Mode 3 wraps nothing: what is outside must not be looked up.
      if (places == Places::kInside && random() % 4 == 0)
        texture.bindData._wrapModes[random() % 3] = static_cast<TextureWrapMode>(3);
      const auto floatSampler = MakeSampler(texture, member.dimensions, member.outputs);
      const auto byteSampler = MakeSampler(texture, member.dimensions, 0);
      const TextureSamplerDataHelper &sampler = *floatSampler, &bytes = *byteSampler;
      EXPECT_EQ(bytes.GetSampleLanes(0), nullptr);
      const UInt32 dimensions = static_cast<UInt32>(member.dimensions);
      for (Int level = 0; level < levels; ++level) {
        const UInt32 lanes = 4u << level;
        SCOPED_TRACE(testing::Message() << "dimensions " << member.dimensions << " format " << Int32(member.format)
                                        << " channels " << member.channels << " outputs " << member.outputs
                                        << " normalized " << member.normalized << " sRGB " << member.sRGB << " flags "
                                        << sampler._samplingData._flags._bits);
        ASSERT_TRUE(sampler.GetSampleLanes(level) && sampler.GetFetchLanes(level) && bytes.GetFetchLanes(level));
        ASSERT_TRUE(LooksUpTheSame<Float32>(texture, sampler, sampler.GetSampleLanes(level), sampler._sample,
                                            dimensions, lanes, places, random));
        ASSERT_TRUE(LooksUpTheSame<Int32>(texture, sampler, sampler.GetFetchLanes(level), sampler._fetch, dimensions,
                                          lanes, places, random));
        if (member.outputs > 1) continue;
        ASSERT_TRUE(LooksUpTheSame<Int32>(texture, bytes, bytes.GetFetchLanes(level), bytes._fetch, dimensions, lanes,
                                          places, random));
      }
    }
  });
}

TEST(SamplerFamilyTest, AWideFormHoldsForItsOwnSlotsOnly) {
  const Texture texture = MakeCountingTexture({5, 4, 1});
  const auto sampler = MakeSampler(texture, 2, 1);
  TextureSamplerDataHelper copy;
  copy._fetch = nullptr;
  ASSERT_THAT(copy.CopyFrom(*sampler), IsOk());
  EXPECT_NE(copy.GetSampleLanes(0), nullptr);
  EXPECT_EQ(copy.GetSampleLanes(0), sampler->GetSampleLanes(0));
  EXPECT_EQ(copy.GetFetchLanes(0), nullptr) << "a copy has no fetch function";
  copy._fetch = sampler->_fetch;
  EXPECT_EQ(copy.GetFetchLanes(0), sampler->GetFetchLanes(0));
  copy._sample = *kSelectSample[1][1](texture.bindData);
  EXPECT_EQ(copy.GetSampleLanes(0), nullptr);
  EXPECT_EQ(TextureSamplerDataHelper()._lanes.sample[0], nullptr);
}

TEST(SamplerFamilyTest, EveryCombinationHasAFunctionOfItsOwn) {
  std::set<void*> all;
  for (Int dimensions = 1; dimensions <= 3; ++dimensions) {
    std::set<void*> bytes;
    for (Int outputs = 1; outputs <= 4; ++outputs) {
      std::set<void*> samples, fetches;
      ForEachMember([&](const Member& member) {
        if (member.dimensions != dimensions || member.outputs != outputs) return;
        TextureBindData bindData;
        bindData._format = member.format;
        bindData._numChannels = member.channels;
        bindData._normalizedValues = member.normalized;
        bindData._sRGB = member.sRGB;
        samples.insert(reinterpret_cast<void*>(*kSelectSample[dimensions - 1][outputs - 1](bindData)));
        fetches.insert(reinterpret_cast<void*>(*kSelectFetch[dimensions - 1][outputs - 1](bindData)));
        bytes.insert(reinterpret_cast<void*>(*kSelectByteFetch[dimensions - 1](bindData)));
      });
      EXPECT_EQ(samples.size(), 104u);
      EXPECT_EQ(fetches.size(), 104u);
      all.insert(samples.begin(), samples.end());
      all.insert(fetches.begin(), fetches.end());
    }
    EXPECT_EQ(bytes.size(), 12u);
    all.insert(bytes.begin(), bytes.end());
  }
  EXPECT_EQ(all.size(), 3u * (8 * 104 + 12));
}

TEST(SamplerFamilyTest, WrongChannelCountsAndFormatsAreRefusedInThisOrder) {
  for (const UInt32 channels : {0u, 5u, TEXTURE_VALUE_NOT_SET}) {
    TextureBindData bindData;
    bindData._numChannels = channels;
    bindData._format = static_cast<TextureFormat>(38);
    EXPECT_THAT(kSelectSample[1][0](bindData), IsErrorWith(kIllegalStateError, "Illegal state: Invalid channel count"));
    EXPECT_THAT(kSelectFetch[2][3](bindData), IsErrorWith(kIllegalStateError, "Illegal state: Invalid channel count"));
    EXPECT_THAT(kSelectByteFetch[0](bindData), IsErrorWith(kIllegalStateError, "Illegal state: Invalid channel count"));
  }
  for (const Int32 format : {-1, 8, 38}) {
    TextureBindData bindData;
    bindData._numChannels = 2;
    bindData._format = static_cast<TextureFormat>(format);
    EXPECT_THAT(kSelectSample[1][0](bindData), IsErrorWith(kIllegalStateError, "Illegal state: Invalid format"));
    EXPECT_THAT(kSelectFetch[2][3](bindData), IsErrorWith(kIllegalStateError, "Illegal state: Invalid format"));
    EXPECT_THAT(kSelectByteFetch[0](bindData), IsErrorWith(kIllegalStateError, "Illegal state: Invalid format"));
  }
}

}  // namespace
}  // namespace ostra::test
