#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "tests/image/sample_files.h"
#include "tests/image/sample_jpeg.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::HasSubstr;

Image MakeSmoothPicture(Int width, Int height) {
  Image image = Image::Create(width, height).GetValue();
  for (Int i = 0; i < width * height; ++i) {
    const auto x = static_cast<Float32>(i % width), y = static_cast<Float32>(i / width);
    image.rgba[4 * i] = 0.5f + 0.5f * std::sin(x * 0.1f);
    image.rgba[4 * i + 1] = 0.5f + 0.5f * std::cos(y * 0.07f);
    image.rgba[4 * i + 2] = 0.5f + 0.25f * std::sin((x + y) * 0.05f);
    image.rgba[4 * i + 3] = 0.25f;
  }
  return image;
}

Image MakeNoise(Int width, Int height, std::mt19937& random, Bool isGray) {
  Image image = Image::Create(width, height).GetValue();
  for (Int i = 0; i < width * height; ++i) {
    for (Int c = 0; c < 3; ++c) image.rgba[4 * i + c] = static_cast<Float32>(random() % 256) / 255;
    if (isGray) image.rgba[4 * i + 1] = image.rgba[4 * i + 2] = image.rgba[4 * i];
    image.rgba[4 * i + 3] = 1;
  }
  return image;
}

// Of red, green and blue.
Float32 FindLargestDifference(const Image& a, const Image& b) {
  Float32 largest = 0;
  for (Int i = 0; i < a.rgba.GetCount(); ++i)
    if (i % 4 != 3) largest = std::max(largest, std::abs(a.rgba[i] - b.rgba[i]));
  return largest;
}

Image Reread(const Image& image, Int quality) {
  const BaseArray<Byte> bytes = EncodeJpeg(image, {.quality = quality}).GetValue();
  auto copy = DecodeJpeg(bytes.GetBlock());
  EXPECT_TRUE(copy.IsOk()) << copy.GetError().GetMessage().GetView();
  return std::move(copy).GetValue();
}

template <class T>
std::string MessageOf(const Result<T>& result) {
  return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
}

TEST(JpegTest, PicturesOfAnySizeComeBackWithinABoundAtFullQuality) {
  std::mt19937 random(5);
  for (int round = 0; round < 60; ++round) {
    const Bool isGray = round % 2 == 0;
    const Image image = MakeNoise(1 + random() % 40, 1 + random() % 40, random, isGray);
    const Image copy = Reread(image, 100);
    ASSERT_EQ(copy.width, image.width);
    ASSERT_EQ(copy.height, image.height);
    // Frequencies are rounded to whole steps, and colours once more on the way to brightness and two differences.
    ASSERT_LE(FindLargestDifference(image, copy), (isGray ? 3 : 6) / 255.0f) << image.width << " x " << image.height;
    ASSERT_EQ(copy.description.channels, isGray ? 1 : 3);
    ASSERT_EQ(copy.description.bits, 8);
    for (Int i = 3; i < copy.rgba.GetCount(); i += 4) ASSERT_EQ(copy.rgba[i], 1);
  }
}

TEST(JpegTest, AHigherQualityIsNearerToThePictureAndTakesMoreBytes) {
  const Image image = MakeSmoothPicture(120, 90);
  Int size = 0;
  Float32 difference = 2;
  for (const Int quality : {10, 50, 90, 100}) {
    const Int nextSize = EncodeJpeg(image, {.quality = quality}).GetValue().GetCount();
    const Float32 nextDifference = FindLargestDifference(image, Reread(image, quality));
    EXPECT_GT(nextSize, size) << quality;
    EXPECT_LT(nextDifference, difference) << quality;
    size = nextSize;
    difference = nextDifference;
  }
  EXPECT_LE(FindLargestDifference(image, Reread(image, kDefaultJpegQuality)), 12 / 255.0f);
}

TEST(JpegTest, TheQualityIsNinetyUnlessOneIsGiven) {
  const TemporaryFolder folder;
  const Image image = MakeSmoothPicture(50, 40);
  const auto write = [&](Int quality) {
    EXPECT_TRUE(WriteImage(folder.MakeUrl("a.jpg"), image, {.quality = quality}).IsOk());
    return StringOf(ReadFileToMemory(folder.MakeUrl("a.jpg")).GetValue());
  };
  EXPECT_EQ(write(0), write(90));
  EXPECT_NE(write(0), write(91));
  EXPECT_THAT(MessageOf(WriteImage(folder.MakeUrl("a.jpg"), image, {.quality = 101})), HasSubstr("1 to 100, not 101"));
  EXPECT_THAT(MessageOf(WriteImage(folder.MakeUrl("a.png"), image, {.quality = 5})),
              HasSubstr("PNG pictures have no quality"));
  EXPECT_THAT(MessageOf(WriteImage(folder.MakeUrl("a.exr"), image, {.quality = 5})), HasSubstr("no quality"));
}

TEST(JpegTest, ValuesOutsideOfZeroToOneAreClamped) {
  Image image = Image::Create(8, 8).GetValue();
  const Float32 values[] = {-3, std::nanf(""), 7, std::numeric_limits<Float32>::infinity()};
  for (const Float32 value : values) {
    for (Float32& number : image.rgba) number = value;
    // NaN is not equal to itself: the picture counts as one with colours.
    const Image copy = Reread(image, 100);
    for (Int i = 0; i < copy.rgba.GetCount(); i += 4) ASSERT_EQ(copy.rgba[i], value > 0 ? 1 : 0);
  }
}

TEST(JpegTest, AProgressiveFileHasThePixelsOfAPlainOne) {
  std::mt19937 random(9);
  for (const int channels : {1, 3}) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(37 * 23 * channels));
    for (auto& byte : bytes) byte = static_cast<unsigned char>(random());
    const Image plain = DecodeJpeg(BlockOf(MakeJpeg({.channels = channels}, 37, 23, bytes))).GetValue();
    for (const JpegKind& kind :
         {JpegKind{.channels = channels, .isProgressive = true}, JpegKind{.channels = channels, .isArithmetic = true},
          JpegKind{.channels = channels, .restartInterval = 2}}) {
      const auto image = DecodeJpeg(BlockOf(MakeJpeg(kind, 37, 23, bytes)));
      ASSERT_TRUE(image.IsOk()) << MessageOf(image);
      EXPECT_EQ(FindLargestDifference(plain, *image), 0);
    }
  }
}

// The corner of a 16 x 24 picture in which the white block of 8 x 8 pixels is: 't' or 'b', 'l' or 'r'.
std::string FindWhiteCorner(const Image& image) {
  std::string corners;
  for (const Int y : {Int(4), image.height - 4})
    for (const Int x : {Int(4), image.width - 4})
      if (image.rgba[4 * (y * image.width + x)] > 0.5f)
        corners += std::string(y == 4 ? "t" : "b") + (x == 4 ? "l" : "r");
  return corners;
}

TEST(JpegTest, APictureOfATurnedCameraIsUpright) {
  // Where the standard says that the first row and the first column of the file are.
  const struct {
    int orientation;
    const char* corner;
    Bool isTransposed;
  } kinds[] = {{1, "tl", false}, {2, "tr", false}, {3, "br", false}, {4, "bl", false},
               {5, "tl", true},  {6, "tr", true},  {7, "br", true},  {8, "bl", true}};
  std::vector<unsigned char> bytes(16 * 24, 0);
  for (std::size_t y = 0; y < 8; ++y)
    for (std::size_t x = 0; x < 8; ++x) bytes[y * 16 + x] = 255;
  for (const auto& kind : kinds)
    for (const bool isBigEndian : {false, true}) {
      SCOPED_TRACE(kind.orientation);
      const std::string file =
          MakeJpeg({.channels = 1, .exif = MakeExif(kind.orientation, isBigEndian)}, 16, 24, bytes);
      const Image image = DecodeJpeg(BlockOf(file)).GetValue();
      EXPECT_EQ(image.width, kind.isTransposed ? 24 : 16);
      EXPECT_EQ(image.height, kind.isTransposed ? 16 : 24);
      EXPECT_EQ(FindWhiteCorner(image), kind.corner);
      EXPECT_EQ(image.description.orientation, kind.orientation);
    }
}

TEST(JpegTest, ARowOfATurnedPictureIsAColumn) {
  // Brightness grows along the row that the camera has stored first.
  std::vector<unsigned char> bytes(24 * 8);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i % 24 * 10);
  const auto read = [&](int orientation) {
    return DecodeJpeg(BlockOf(MakeJpeg({.channels = 1, .exif = MakeExif(orientation, true)}, 24, 8, bytes))).GetValue();
  };
  const Image down = read(6), up = read(8);
  ASSERT_EQ(down.height, 24);
  for (Int y = 1; y < 24; ++y) {
    EXPECT_GT(down.rgba[4 * 8 * y], down.rgba[4 * 8 * (y - 1)]);
    EXPECT_LT(up.rgba[4 * 8 * y], up.rgba[4 * 8 * (y - 1)]);
  }
}

TEST(JpegTest, TheDescriptionSaysWhatTheFileSaysOfItsColours) {
  const std::vector<unsigned char> bytes(3 * 64, 100);
  const auto read = [&](const JpegKind& kind) {
    return DecodeJpeg(BlockOf(MakeJpeg(kind, 8, 8, bytes))).GetValue().description.colors;
  };
  EXPECT_EQ(read({}), PictureColors::Unsaid);
  EXPECT_EQ(read({.exif = MakeExif(1, false)}), PictureColors::Unsaid);
  EXPECT_EQ(read({.exif = MakeExif(1, false, true)}), PictureColors::Srgb);
  EXPECT_EQ(read({.exif = MakeExif(1, true, true)}), PictureColors::Srgb);
  EXPECT_EQ(read({.exif = MakeExif(1, false, true), .profile = "a profile"}), PictureColors::Profile);
}

TEST(JpegTest, PicturesForPrintersAndOfUnknownChannelsAreRefused) {
  const std::vector<unsigned char> bytes(4 * 64, 100);
  EXPECT_THAT(MessageOf(DecodeJpeg(BlockOf(MakeJpeg({.channels = 4}, 8, 8, bytes)))), HasSubstr("CMYK"));
  EXPECT_THAT(MessageOf(DecodeJpeg(BlockOf(MakeJpeg({.channels = 2}, 8, 8, bytes)))), HasSubstr("has 2 channels"));
}

TEST(JpegTest, WhatJpegCannotHoldIsNotWritten) {
  EXPECT_THAT(MessageOf(EncodeJpeg(Image::Create(65501, 1).GetValue())), HasSubstr("sides are at most 65500"));
  EXPECT_THAT(MessageOf(EncodeJpeg(Image::Create(1, 1).GetValue(), {.bits = 16})),
              HasSubstr("JPEG pictures cannot have 16 bits: possible are 8."));
  EXPECT_THAT(MessageOf(EncodeJpeg(Image::Create(1, 1).GetValue(), {.channels = 4})),
              HasSubstr("JPEG pictures cannot have 4 channels: possible are 1 and 3."));
  EXPECT_TRUE(EncodeJpeg(Image::Create(1, 65500).GetValue()).IsOk());
  EXPECT_THAT(MessageOf(EncodeJpeg(Image::Create(1, 1).GetValue(), {.quality = -1})), HasSubstr("1 to 100, not -1"));
  Image image = Image::Create(4, 4).GetValue();
  image.width = 5;
  EXPECT_EQ(EncodeJpeg(image).GetError().GetKind(), kIllegalArgumentError);
}

}  // namespace
}  // namespace ostra
