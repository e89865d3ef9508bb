#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <limits>
#include <random>

#include "ostra/image/image.h"
#include "tests/image/sample_files.h"

namespace ostra {
namespace {

TEST(PngTest, EveryKindOfFileGivesTheStoredValuesDividedByTheLargest) {
  for (const PngKind& kind : GetPngKinds()) {
    SCOPED_TRACE(testing::Message() << kind.name << " " << kind.bits << (kind.isInterlaced ? " interlaced" : ""));
    for (const Int size : {1, 5, 19}) {
      const auto image = DecodePng(BlockOf(MakePng(kind, size, size + 2)));
      ASSERT_TRUE(image.IsOk()) << image.GetError().GetMessage().GetView();
      ASSERT_EQ(image->width, size);
      ASSERT_EQ(image->height, size + 2);
      for (Int y = 0; y < image->height; ++y)
        for (Int x = 0; x < image->width; ++x) {
          const Float32* pixel = image->rgba.GetFirst() + 4 * (y * image->width + x);
          ASSERT_THAT(std::vector<Float32>(pixel, pixel + 4),
                      testing::Pointwise(testing::FloatEq(), ExpectedPngPixel(kind, x, y)))
              << x << ", " << y;
        }
    }
  }
}

TEST(PngTest, WritingAndReadingKeepsEveryEightBitValue) {
  Image image = Image::Create(64, 16).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i)
    image.rgba[i] = static_cast<Float32>((i * 7 + i / 256) % 256) / 255.0f;
  const auto bytes = EncodePng(image);
  ASSERT_TRUE(bytes.IsOk());
  const auto copy = DecodePng(static_cast<const BaseArray<Byte>&>(*bytes).GetBlock());
  ASSERT_TRUE(copy.IsOk());
  ASSERT_EQ(copy->width, 64);
  ASSERT_EQ(copy->height, 16);
  for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(copy->rgba[i], image.rgba[i]) << i;
}

TEST(PngTest, PicturesOfAnySizeDepthAndNumberOfChannelsComeBackExactly) {
  std::mt19937 random(7);
  for (int round = 0; round < 80; ++round) {
    const Int channels = 1 + round % 4, bits = round / 4 % 2 == 0 ? 8 : 16;
    const UInt32 largest = (1u << bits) - 1;
    Image image = Image::Create(1 + random() % 30, 1 + random() % 30).GetValue();
    for (Int i = 0; i < image.rgba.GetCount(); ++i)
      image.rgba[i] = static_cast<Float32>(random() % (largest + 1)) / static_cast<Float32>(largest);
    for (Int i = 0; i < image.rgba.GetCount(); i += 4) {
      if (channels < 3) image.rgba[i + 1] = image.rgba[i + 2] = image.rgba[i];
      if (channels % 2 == 1) image.rgba[i + 3] = 1;
    }
    const auto bytes = EncodePng(image, {.bits = bits, .channels = channels});
    ASSERT_TRUE(bytes.IsOk()) << bytes.GetError().GetMessage().GetView();
    const auto copy = DecodePng(bytes->GetBlock());
    ASSERT_TRUE(copy.IsOk()) << copy.GetError().GetMessage().GetView();
    ASSERT_EQ(copy->width, image.width);
    ASSERT_EQ(copy->description.bits, bits);
    ASSERT_EQ(copy->description.channels, channels);
    ASSERT_FALSE(copy->description.isFloat);
    for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(copy->rgba[i], image.rgba[i]) << bits << " " << channels;
  }
}

TEST(PngTest, SettingsThatPngDoesNotKnowAreRefused) {
  const auto messageOf = [](const Image& image, const PictureSettings& settings) {
    const auto bytes = EncodePng(image, settings);
    return bytes.IsOk() ? "no error" : std::string(bytes.GetError().GetMessage().GetView());
  };
  Image image = Image::Create(2, 2).GetValue();
  EXPECT_EQ(messageOf(image, {.bits = 12}), "PNG pictures cannot have 12 bits: possible are 8 and 16.");
  EXPECT_EQ(messageOf(image, {.channels = 5}), "PNG pictures cannot have 5 channels: possible are 1, 2, 3 and 4.");
  EXPECT_EQ(messageOf(image, {.quality = 50}), "PNG pictures have no quality: it is for JPEG.");
  EXPECT_EQ(messageOf(image, {.channels = 1}), "no error");
  image.rgba[9] = 1;
  for (const Int channels : {1, 2})
    EXPECT_THAT(messageOf(image, {.channels = channels}), testing::HasSubstr("the picture has colours"));
}

// A file with what `change` says of its colours.
template <class Change>
PictureDescription DescribePng(const Change& change) {
  std::string bytes;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  const auto write = [](png_structp target, png_bytep data, std::size_t size) {
    static_cast<std::string*>(png_get_io_ptr(target))->append(reinterpret_cast<const char*>(data), size);
  };
  png_set_write_fn(png, &bytes, write, nullptr);
  png_set_IHDR(png, info, 1, 1, 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  change(png, info);
  png_write_info(png, info);
  const png_byte row[] = {9};
  png_write_row(png, row);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return DecodePng(BlockOf(bytes)).GetValue().description;
}

TEST(PngTest, TheDescriptionSaysWhatTheFileSaysOfItsColours) {
  EXPECT_EQ(DescribePng([](png_structp, png_infop) {}).colors, PictureColors::Unsaid);
  const auto isSrgb = [](png_structp png, png_infop info) { png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL); };
  EXPECT_EQ(DescribePng(isSrgb).colors, PictureColors::Srgb);
  const auto isLinear = [](png_structp png, png_infop info) { png_set_gAMA_fixed(png, info, PNG_FP_1); };
  EXPECT_EQ(DescribePng(isLinear).colors, PictureColors::Linear);
  const PictureDescription gamma =
      DescribePng([](png_structp png, png_infop info) { png_set_gAMA_fixed(png, info, 55000); });
  EXPECT_EQ(gamma.colors, PictureColors::Gamma);
  EXPECT_FLOAT_EQ(gamma.gamma, 0.55f);
  EXPECT_EQ(gamma.channels, 1);
}

TEST(PngTest, WrittenValuesAreClampedAndRounded) {
  const Float32 infinity = std::numeric_limits<Float32>::infinity();
  const Float32 values[] = {-1, -infinity, std::nanf(""), 1.5f, infinity, 0.49f / 255, 0.51f / 255, 254.6f / 255};
  const Float32 expected[] = {0, 0, 0, 1, 1, 0, 1.0f / 255, 1};
  Image image = Image::Create(2, 1).GetValue();
  for (Int i = 0; i < 8; ++i) image.rgba[i] = values[i];
  const BaseArray<Byte> bytes = EncodePng(image).GetValue();
  const Image copy = DecodePng(bytes.GetBlock()).GetValue();
  for (Int i = 0; i < 8; ++i) EXPECT_EQ(copy.rgba[i], expected[i]) << values[i];
}

TEST(PngTest, APictureWhoseValuesDoNotFitItsSizeIsNotWritten) {
  Image image = Image::Create(4, 4).GetValue();
  image.width = 5;
  EXPECT_EQ(EncodePng(image).GetError().GetKind(), kIllegalArgumentError);
  EXPECT_EQ(EncodePng(Image()).GetError().GetKind(), kIllegalArgumentError);
  EXPECT_EQ(EncodeExr(image).GetError().GetKind(), kIllegalArgumentError);
}

}  // namespace
}  // namespace ostra
