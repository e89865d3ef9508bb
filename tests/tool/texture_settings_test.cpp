// What --texture says about a texture.
#include "plans/textures/texture_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/ostra/tool_error.h"
#include "parallelprogram/textures/sampler_types.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;

const TextureLayout& GetPicture() { return *FindTextureLayout(GetDataType<TextureSamplerObj_2D_RGBA_F32_LINEAR>()); }
const TextureLayout& GetVolume() { return *FindTextureLayout(GetDataType<TextureSamplerObj_3D_R_F32_LINEAR>()); }
const TextureLayout& GetBytes() { return *FindTextureLayout(GetDataType<TextureSamplerObj_2D_R_U8_POINT>()); }
const TextureLayout& GetPoints() { return *FindTextureLayout(GetDataType<TextureSamplerObj_1D_R_F32_POINT>()); }

Result<TextureSettings> Read(std::string_view text, const TextureLayout& layout) {
  TextureSettings settings;
  OSTRA_RETURN_IF_ERROR(AddTextureSettings(text, layout, settings));
  OSTRA_RETURN_IF_ERROR(CheckTextureSettings(layout, settings));
  return settings;
}

void ExpectRefused(std::string_view text, const TextureLayout& layout, const char* message) {
  EXPECT_THAT(Read(text, layout), IsErrorWith(kUsageError, message)) << text;
}

TEST(TextureLayoutTest, EveryDeclaredTypeHasItsLayout) {
  EXPECT_EQ(GetPicture().name, "2D RGBA F32 LINEAR");
  EXPECT_EQ(GetPicture().dimensions, 2);
  EXPECT_EQ(GetPicture().channels, 4);
  EXPECT_EQ(GetPicture().GetTexelType().GetSize(), 16);
  EXPECT_EQ(FindTextureLayout(GetDataType<TextureSamplerObj_2D_RG_F32_LINEAR>())->GetTexelType().GetSize(), 8);
  EXPECT_EQ(FindTextureLayout(GetDataType<TextureSamplerObj_2D_RGB_F32_LINEAR>())->GetTexelType().GetSize(), 12);
  EXPECT_EQ(GetVolume().GetTexelType(), GetDataType<Float32>());
  EXPECT_EQ(GetBytes().GetTexelType(), GetDataType<UInt8>());
  EXPECT_EQ(GetBytes().format, TextureFormat::U8);
  EXPECT_EQ(GetPoints().filter, TextureFilter::POINT);
  EXPECT_EQ(FindTextureLayout(GetDataType<Float32>()), nullptr);
  EXPECT_EQ(FindTextureLayout(GetDataType<TextureSamplerDataHelper>()), nullptr);
}

TEST(TextureLayoutTest, ThereAreNoTexturesOfWholeNumbersOf16And32Bits) {
  EXPECT_EQ(FindTextureLayout(GetDataType<TextureSamplerObj_2D_R_I32_POINT>()), nullptr);
  EXPECT_EQ(FindTextureLayout(GetDataType<TextureSamplerObj_3D_R_U16_POINT>()), nullptr);
}

TEST(TextureSettingsTest, WithoutAnyTheyAreThoseOfADescription) {
  const TextureSettings settings;
  const TextureBindData description;
  EXPECT_TRUE(std::equal(settings.wrapModes, settings.wrapModes + 3, description._wrapModes));
  EXPECT_TRUE(std::equal(settings.border, settings.border + 4, description._borderColor));
  EXPECT_EQ(settings.isNormalized, description._normalizedCoordinates);
  EXPECT_EQ(settings.isSrgb, description._sRGB);
  EXPECT_FALSE(settings.size.IsKnown());
}

TEST(TextureSettingsTest, AllKeysAreRead) {
  const auto settings =
      Read("wrap=border, border=1/0.5/-2/0,coordinates=texels,srgb=true,size=640x480,layers=3", GetPicture());
  ASSERT_THAT(settings, IsOk());
  EXPECT_THAT(settings->wrapModes,
              ElementsAre(TextureWrapMode::BORDER, TextureWrapMode::BORDER, TextureWrapMode::CLAMP));
  EXPECT_THAT(settings->border, ElementsAre(1.0f, 0.5f, -2.0f, 0.0f));
  EXPECT_FALSE(settings->isNormalized);
  EXPECT_TRUE(settings->isSrgb);
  EXPECT_EQ(settings->size, (Extents{640, 480, 1}));
  EXPECT_EQ(settings->layers, 3);
  const auto channels = Read("channels=bgra", GetPicture());
  ASSERT_THAT(channels, IsOk());
  EXPECT_EQ(channels->channels, "bgra");
}

TEST(TextureSettingsTest, EveryAxisMayHaveItsMode) {
  const auto settings = Read("wrap=repeat/clamp/border", GetVolume());
  ASSERT_THAT(settings, IsOk());
  EXPECT_THAT(settings->wrapModes,
              ElementsAre(TextureWrapMode::REPEAT, TextureWrapMode::CLAMP, TextureWrapMode::BORDER));
  ExpectRefused("wrap=repeat/clamp", GetVolume(), "wrap: \"repeat/clamp\" has 2 modes, and the texture has 3 axes");
}

TEST(TextureSettingsTest, SeveralTextsAddUp) {
  TextureSettings settings;
  ASSERT_THAT(AddTextureSettings("wrap=repeat", GetPicture(), settings), IsOk());
  ASSERT_THAT(AddTextureSettings("srgb=1", GetPicture(), settings), IsOk());
  EXPECT_TRUE(settings.isSrgb);
  EXPECT_EQ(settings.wrapModes[1], TextureWrapMode::REPEAT);
  EXPECT_THAT(AddTextureSettings("wrap=clamp", GetPicture(), settings),
              IsErrorWith(kUsageError, "\"wrap\" is set twice"));
}

TEST(TextureSettingsTest, WrongKeysAndValuesAreExplained) {
  ExpectRefused("warp=repeat", GetPicture(), "there is no setting \"warp\"; did you mean \"wrap\"?");
  ExpectRefused("repeat", GetPicture(), "a setting is KEY=VALUE, but got \"repeat\"");
  ExpectRefused("", GetPicture(), "a setting is KEY=VALUE, but got \"\"");
  ExpectRefused("wrap=clamp,", GetPicture(), "a setting is KEY=VALUE, but got \"\"");
  ExpectRefused("wrap=repaet", GetPicture(), "wrap: \"repaet\" is not known; did you mean \"repeat\"?");
  ExpectRefused("wrap=3", GetPicture(), "wrap: \"3\" is not known; there are \"repeat\", \"clamp\" and \"border\"");
  ExpectRefused("coordinates=pixels", GetPicture(), "coordinates: \"pixels\" is not known; did you mean \"texels\"?");
  ExpectRefused("srgb=perhaps", GetPicture(), "srgb: \"perhaps\" is neither true nor false, and the type is bool");
  ExpectRefused("wrap=border,border=red/0/0/1", GetPicture(),
                "border: \"red\" is not a number, and the type is float32");
  ExpectRefused("wrap=border,border=1/2/3", GetPicture(),
                "border: \"1/2/3\" has 3 numbers, and the texture has 4 channels");
  ExpectRefused("wrap=border,border=1/2", GetVolume(), "border: \"1/2\" has 2 numbers, and the texture has 1 channels");
  ExpectRefused("layers=0", GetPicture(), "layers: \"0\" is no number of layers: there is at least 1");
  ExpectRefused("layers=two", GetPicture(), "layers: \"two\" is not a whole number, and the type is int32");
  ExpectRefused("size=64x64x64", GetPicture(), "size: \"64x64x64\" has 3 sides, and the texture has 2 axes");
  ExpectRefused("channels=rgb", GetPicture(),
                "channels: \"rgb\" must be 4 of the letters r, g, b and a, one for each channel of the texture");
  ExpectRefused("channels=x", GetVolume(),
                "channels: \"x\" must be 1 of the letters r, g, b and a, one for each channel of the texture");
}

TEST(TextureSettingsTest, SettingsWithoutAMeaningAreRefused) {
  ExpectRefused("coordinates=texels", GetPoints(),
                "coordinates: a 1D R F32 POINT texture is read at the numbers of its texels");
  ExpectRefused("srgb=true", GetBytes(), "srgb: a 2D R U8 POINT texture gives its bytes as they are");
  ExpectRefused("border=1", GetVolume(), "border: only wrap=border shows a border");
  EXPECT_THAT(Read("border=1,wrap=clamp/border/clamp", GetVolume()), IsOk());
  EXPECT_THAT(Read("wrap=border,border=7,size=4x4", GetBytes()), IsOk());
  EXPECT_THAT(Read("wrap=border,border=255", GetBytes()), IsOk());
  for (const char* value : {"300", "-1", "0.5", "256"})
    ExpectRefused(std::string("wrap=border,border=") + value, GetBytes(),
                  (std::string("border: ") + value +
                   " is no texel of a 2D R U8 POINT texture, which are whole numbers from 0 to 255")
                      .c_str());
}

}  // namespace
}  // namespace ostra::tool
