#include "ostra/image/tiff.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tiffio.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "ostra/io/file.h"
#include "tests/image/sample_files.h"
#include "tests/image/sample_tiff.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::HasSubstr;

template <class T>
std::string MessageOf(const Result<T>& result) {
  return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
}

void ExpectPixels(const TiffKind& kind, const Image& image, Float32 tolerance = 0) {
  for (Int y = 0; y < image.height; ++y)
    for (Int x = 0; x < image.width; ++x) {
      const std::vector<Float32> expected = ExpectedTiffPixel(kind, x, y);
      for (Int c = 0; c < 4; ++c)
        ASSERT_NEAR(image.rgba[4 * (y * image.width + x) + c], expected[static_cast<std::size_t>(c)], tolerance)
            << Describe(kind) << " at " << x << ", " << y;
    }
}

TEST(TiffTest, EveryKindOfFileGivesTheStoredValues) {
  for (const TiffKind& kind : GetTiffKinds())
    for (const Int size : {1, 21}) {
      const auto image = DecodeTiff(BlockOf(MakeTiff(kind, size, size + 12)));
      ASSERT_TRUE(image.IsOk()) << Describe(kind) << ": " << MessageOf(image);
      ASSERT_EQ(image->width, size);
      ASSERT_EQ(image->height, size + 12);
      ASSERT_NO_FATAL_FAILURE(ExpectPixels(kind, *image));
      const Bool isPalette = kind.photometric == PHOTOMETRIC_PALETTE;
      EXPECT_EQ(image->description.channels, isPalette ? 3 : kind.samples);
      EXPECT_EQ(image->description.bits, isPalette ? 16 : kind.bits);
      EXPECT_EQ(image->description.isFloat, kind.sampleFormat == 3);
      EXPECT_EQ(image->description.colors, PictureColors::Unsaid);
    }
}

TEST(TiffTest, PicturesOfAnySizeComeBackWithEveryBit) {
  std::mt19937 random(5);
  for (int round = 0; round < 40; ++round) {
    Image image = Image::Create(1 + random() % 50, 1 + random() % 50).GetValue();
    for (Float32& value : image.rgba) value = std::bit_cast<Float32>(static_cast<UInt32>(random()));
    const auto bytes = EncodeTiff(image);
    ASSERT_TRUE(bytes.IsOk()) << MessageOf(bytes);
    const auto copy = DecodeTiff(bytes->GetBlock());
    ASSERT_TRUE(copy.IsOk()) << MessageOf(copy);
    ASSERT_EQ(copy->width, image.width);
    for (Int i = 0; i < image.rgba.GetCount(); ++i)
      ASSERT_EQ(std::bit_cast<UInt32>(copy->rgba[i]), std::bit_cast<UInt32>(image.rgba[i])) << i;
  }
}

TEST(TiffTest, IntegersAndFewerChannelsComeBackExactly) {
  std::mt19937 random(6);
  for (int round = 0; round < 60; ++round) {
    const Int channels = 1 + round % 4, bits = round % 3 == 0 ? 8 : round % 3 == 1 ? 16 : 32;
    const UInt32 largest = bits == 8 ? 255 : 65535;
    Image image = Image::Create(1 + random() % 30, 1 + random() % 30).GetValue();
    for (Float32& value : image.rgba)
      value = static_cast<Float32>(random() % (largest + 1)) / static_cast<Float32>(largest);
    for (Int i = 0; i < image.rgba.GetCount(); i += 4) {
      if (channels < 3) image.rgba[i + 1] = image.rgba[i + 2] = image.rgba[i];
      if (channels % 2 == 1) image.rgba[i + 3] = 1;
    }
    const auto bytes = EncodeTiff(image, {.bits = bits, .channels = channels});
    ASSERT_TRUE(bytes.IsOk()) << MessageOf(bytes);
    const auto copy = DecodeTiff(bytes->GetBlock());
    ASSERT_TRUE(copy.IsOk()) << MessageOf(copy);
    ASSERT_EQ(copy->description.bits, bits);
    ASSERT_EQ(copy->description.channels, channels);
    for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(copy->rgba[i], image.rgba[i]) << bits << " " << channels;
  }
}

TEST(TiffTest, APictureOfManyStripsComesBack) {
  Image image = Image::Create(700, 600).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = std::sin(static_cast<Float32>(i));
  const BaseArray<Byte> bytes = EncodeTiff(image).GetValue();
  const Image copy = DecodeTiff(bytes.GetBlock()).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(copy.rgba[i], image.rgba[i]) << i;
}

TEST(TiffTest, PagesAreReadByTheirNumber) {
  const TemporaryFolder folder;
  const TiffKind kind{.pages = 3, .hasThumbnail = true};
  const std::string file = MakeTiff(kind, 20, 10);
  for (Int page = 1; page <= 3; ++page) {
    const auto image = DecodeTiff(BlockOf(file), std::to_string(page));
    ASSERT_TRUE(image.IsOk()) << MessageOf(image);
    EXPECT_EQ(image->width, 19 + page);
    ASSERT_NO_FATAL_FAILURE(ExpectPixels(kind, *image));
  }
  EXPECT_THAT(MessageOf(DecodeTiff(BlockOf(file))), HasSubstr("has 3 pages: name one, from #1 to #3"));
  for (const char* page : {"0", "4", "-1", "x", "1x", "99999999999999999999"})
    EXPECT_THAT(MessageOf(DecodeTiff(BlockOf(file), page)), HasSubstr("counted from 1")) << page;
  folder.Write("a.tiff", file);
  EXPECT_EQ(ReadImage(folder.MakeUrl("a.tiff#2"))->width, 21);
  EXPECT_THAT(MessageOf(ReadImage(folder.MakeUrl("a.tiff#4"))), HasSubstr("a.tiff#4 cannot be read: the TIFF file"));
}

TEST(TiffTest, AThumbnailIsNoPage) {
  const auto image = DecodeTiff(BlockOf(MakeTiff({.hasThumbnail = true}, 20, 10)));
  ASSERT_TRUE(image.IsOk()) << MessageOf(image);
  EXPECT_EQ(image->width, 20);
}

TEST(TiffTest, ATurnedPictureIsUprightAndAProfileIsTold) {
  const auto image = DecodeTiff(BlockOf(MakeTiff({.orientation = 6, .hasProfile = true}, 20, 10)));
  ASSERT_TRUE(image.IsOk()) << MessageOf(image);
  EXPECT_EQ(image->width, 10);
  EXPECT_EQ(image->height, 20);
  // The first stored pixel is at the top right.
  EXPECT_EQ(image->rgba[4 * 9], ExpectedTiffPixel({}, 0, 0)[0]);
  EXPECT_EQ(image->description.orientation, 6);
  EXPECT_EQ(image->description.colors, PictureColors::Profile);
}

TEST(TiffTest, ColoursThatAreStoredAsJpegAreRead) {
  if (!TIFFIsCODECConfigured(COMPRESSION_JPEG)) GTEST_SKIP() << "this libtiff knows no JPEG";
  const TiffKind kind{.photometric = PHOTOMETRIC_YCBCR, .compression = COMPRESSION_JPEG, .isTiled = true};
  const auto image = DecodeTiff(BlockOf(MakeTiff(kind, 32, 12)));
  ASSERT_TRUE(image.IsOk()) << MessageOf(image);
  EXPECT_EQ(image->width, 32);
  EXPECT_EQ(image->description.channels, 3);
}

TEST(TiffTest, KindsThatAreNotSupportedAreRefusedWithTheReason) {
  const auto messageOf = [](const TiffKind& kind) { return MessageOf(DecodeTiff(BlockOf(MakeTiff(kind, 4, 4)))); };
  EXPECT_THAT(messageOf({.photometric = PHOTOMETRIC_SEPARATED, .samples = 4}), HasSubstr("colours of the kind 5"));
  EXPECT_THAT(messageOf({.photometric = PHOTOMETRIC_CIELAB}), HasSubstr("colours of the kind 8"));
  EXPECT_THAT(messageOf({.sampleFormat = 2}), HasSubstr("signed"));
  EXPECT_THAT(messageOf({.photometric = PHOTOMETRIC_MINISBLACK, .samples = 3}),
              HasSubstr("has 3 channels where 1 and 2"));
  EXPECT_THAT(messageOf({.samples = 5}), HasSubstr("has 5 channels where 3 and 4"));
  EXPECT_THAT(MessageOf(EncodeTiff(Image::Create(1, 1).GetValue(), {.bits = 64})), HasSubstr("8, 16 and 32"));
  EXPECT_THAT(MessageOf(EncodeTiff(Image::Create(1, 1).GetValue(), {.quality = 50})), HasSubstr("no quality"));
}

TEST(TiffTest, AFileOnDiskIsWrittenAndRead) {
  const TemporaryFolder folder;
  Image image = Image::Create(3, 2).GetValue();
  image.rgba[5] = -17.25f;
  for (const char* name : {"a.tif", "b.TIFF"}) {
    ASSERT_TRUE(WriteImage(folder.MakeUrl(name), image).IsOk());
    const auto copy = ReadImage(folder.MakeUrl(name));
    ASSERT_TRUE(copy.IsOk()) << MessageOf(copy);
    EXPECT_EQ(copy->rgba[5], -17.25f);
    EXPECT_STREQ(copy->description.format, "TIFF");
  }
}

}  // namespace
}  // namespace ostra
