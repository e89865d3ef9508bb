// Every member of the family against the reference, bit by bit; and the selection of members.
#include <set>

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
