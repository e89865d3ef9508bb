// Radiance HDR pictures: written ones come back, those of others are read, damaged ones are errors.
#include "ostra/image/hdr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "tests/image/decode_checks.h"
#include "tests/image/sample_files.h"

namespace ostra {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;

constexpr const char* kHeader = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";

std::string MessageOf(const std::string& file) {
  const auto image = DecodeHdr(BlockOf(file));
  return image.IsOk() ? "no error" : std::string(image.GetError().GetMessage().GetView());
}

// Of the red channel.
std::vector<Float32> ReadReds(const std::string& file) {
  const auto image = DecodeHdr(BlockOf(file));
  if (!image.IsOk()) return {};
  std::vector<Float32> reds;
  for (Int i = 0; i < image->rgba.GetCount(); i += 4) reds.push_back(image->rgba[i]);
  return reds;
}

Image MakeImage(Int width, Int height, const std::function<Float32(Int)>& value) {
  Image image = Image::Create(width, height).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = i % 4 == 3 ? 1 : value(i);
  return image;
}

TEST(HdrTest, EachChannelIsNearToTheWrittenOneAndASecondCopyIsTheSame) {
  std::mt19937 random(7);
  std::lognormal_distribution<Float32> values(0, 6);
  for (const Int width : {1, 3, 7, 8, 9, 130, 1000}) {
    const Image image = MakeImage(width, 5, [&](Int) { return values(random); });
    const auto bytes = EncodeHdr(image);
    ASSERT_TRUE(bytes.IsOk());
    const auto copy = DecodeHdr(bytes->GetBlock());
    ASSERT_TRUE(copy.IsOk()) << copy.GetError().GetMessage().GetView();
    for (Int i = 0; i < image.rgba.GetCount(); i += 4) {
      const Float32 largest = std::max({image.rgba[i], image.rgba[i + 1], image.rgba[i + 2]});
      for (Int c = 0; c < 3; ++c) ASSERT_NEAR(copy->rgba[i + c], image.rgba[i + c], largest / 256) << width;
      ASSERT_EQ(copy->rgba[i + 3], 1);
    }
    const auto again = EncodeHdr(*copy);
    ASSERT_TRUE(again.IsOk());
    ASSERT_TRUE(std::equal(again->begin(), again->end(), bytes->begin(), bytes->end())) << width;
  }
}

TEST(HdrTest, NumbersOfEightBitsComeBackWithEveryBit) {
  const Float32 exact[] = {0, 1, 0.5f, 255, 3.25f, 1024, 0x1p-100f, 255 * 0x1p119f, 0x1p-128f};
  const Image image = MakeImage(9, 1, [&](Int i) { return exact[i / 4]; });
  const auto copy = DecodeHdr(EncodeHdr(image)->GetBlock());
  for (Int i = 0; i < 9; ++i) EXPECT_EQ(copy->rgba[4 * i], exact[i]) << i;
  EXPECT_EQ(copy->description.channels, 3);
  EXPECT_TRUE(copy->description.isFloat);
  EXPECT_EQ(copy->description.colors, PictureColors::Linear);
}

TEST(HdrTest, ValuesThatTheFormatDoesNotHaveBecomeTheNearest) {
  const Float32 infinity = std::numeric_limits<Float32>::infinity();
  const Float32 given[] = {-1, std::nanf(""), infinity, -infinity, 3e38f, 1e-42f, 255.6f};
  const Float32 kept[] = {0, 0, 255 * 0x1p119f, 0, 255 * 0x1p119f, 0, 256};
  const Image image = MakeImage(7, 1, [&](Int i) { return given[i / 4]; });
  const auto copy = DecodeHdr(EncodeHdr(image)->GetBlock());
  for (Int i = 0; i < 7; ++i) EXPECT_EQ(copy->rgba[4 * i], kept[i]) << i;
}

TEST(HdrTest, RunsMakeFilesSmallAndComeBack) {
  std::mt19937 random(3);
  for (int round = 0; round < 50; ++round) {
    const Int width = 8 + random() % 600;
    std::vector<Float32> row;
    while (std::ssize(row) < width) row.insert(row.end(), 1 + random() % 300, Float32(random() % 3));
    const Image image = MakeImage(width, 3, [&](Int i) { return row[static_cast<std::size_t>(i / 4 % width)]; });
    const auto bytes = EncodeHdr(image);
    const auto copy = DecodeHdr(bytes->GetBlock());
    ASSERT_TRUE(copy.IsOk()) << copy.GetError().GetMessage().GetView();
    for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(copy->rgba[i], image.rgba[i]) << width;
  }
  const Image flat = MakeImage(1000, 100, [](Int) { return 0.25f; });
  EXPECT_LT(EncodeHdr(flat)->GetCount(), 100 * 80);
}

TEST(HdrTest, FlatFilesAndRunsOfPixelsAreRead) {
  const std::string one("\x80\x80\x80\x81", 4), two("\x80\x80\x80\x82", 4);
  EXPECT_THAT(ReadReds(kHeader + "-Y 1 +X 3\n"s + one + two + one), testing::ElementsAre(1, 2, 1));
  EXPECT_THAT(ReadReds(kHeader + "-Y 1 +X 4\n"s + two + "\1\1\1\3"), testing::ElementsAre(2, 2, 2, 2));
  // The second run counts 256 times as much, beyond what fits a packed line.
  const auto reds = ReadReds(kHeader + "-Y 1 +X 40000\n"s + one + "\1\1\1\x3F" + "\1\1\1\x9C"s);
  EXPECT_EQ(reds.size(), 40000u);
  EXPECT_EQ(std::count(reds.begin(), reds.end(), 1), 40000);
}

TEST(HdrTest, LinesOfVariablesAreReadAndAnExposureIsNotAppliedToValues) {
  const std::string pixel("\x80\x40\x20\x81", 4);
  for (const char* header : {"#?RGBE\n\n", "#?RADIANCE\r\n# a comment\r\nEXPOSURE=2\r\n\r\n",
                             "#?RADIANCE\nmade by a program\nFORMAT=32-bit_rle_rgbe\nGAMMA=1\n\n"}) {
    const auto image = DecodeHdr(BlockOf(header + "-Y 1 +X 1\n"s + pixel));
    ASSERT_TRUE(image.IsOk()) << header;
    EXPECT_EQ(image->rgba[0], 1);
    EXPECT_EQ(image->rgba[1], 0.5f);
    EXPECT_EQ(image->rgba[2], 0.25f);
  }
}

TEST(HdrTest, TheEightOrdersOfPixelsAreTurnedUpright) {
  // Upright: 1 2 / 3 4 / 5 6.
  const auto pixels = [](std::initializer_list<int> numbers) {
    std::string bytes;
    for (const int number : numbers) bytes += {static_cast<char>(number), 0, '\x80' - 0, '\x88' - 0};
    return bytes;
  };
  const std::pair<const char*, std::string> files[] = {
      {"-Y 3 +X 2", pixels({1, 2, 3, 4, 5, 6})}, {"-Y 3 -X 2", pixels({2, 1, 4, 3, 6, 5})},
      {"+Y 3 -X 2", pixels({6, 5, 4, 3, 2, 1})}, {"+Y 3 +X 2", pixels({5, 6, 3, 4, 1, 2})},
      {"+X 2 -Y 3", pixels({1, 3, 5, 2, 4, 6})}, {"-X 2 -Y 3", pixels({2, 4, 6, 1, 3, 5})},
      {"-X 2 +Y 3", pixels({6, 4, 2, 5, 3, 1})}, {"+X 2 +Y 3", pixels({5, 3, 1, 6, 4, 2})}};
  Int orientation = 0;
  for (const auto& [size, bytes] : files) {
    const auto image = DecodeHdr(BlockOf(kHeader + std::string(size) + "\n" + bytes));
    ASSERT_TRUE(image.IsOk()) << size << ": " << image.GetError().GetMessage().GetView();
    EXPECT_EQ(image->width, 2) << size;
    EXPECT_EQ(image->description.orientation, ++orientation) << size;
    for (Int i = 0; i < 6; ++i) EXPECT_EQ(image->rgba[4 * i], Float32(i + 1)) << size << ", " << i;
  }
}

TEST(HdrTest, WhatIsWrongWithAFileIsSaid) {
  const std::string pixel("\x80\x80\x80\x81", 4);
  EXPECT_THAT(MessageOf("#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n" + pixel),
              HasSubstr("its pixels are \"32-bit_rle_xyze\"; known is 32-bit_rle_rgbe: convert the picture to RGB"));
  EXPECT_THAT(MessageOf("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n"), HasSubstr("its header does not end"));
  for (const char* size : {"", "-Y 1", "-Y 1 +Y 1", "-Z 1 +X 1", "Y 1 +X 1", "-Y one +X 1", "-Y 1 +X 1 more",
                           "-Y 99999999999999999999 +X 1"})
    EXPECT_THAT(MessageOf(kHeader + std::string(size) + "\n" + pixel), HasSubstr("the line of its size is none"))
        << size;
  EXPECT_THAT(MessageOf(kHeader + "-Y 0 +X 1\n"s + pixel), HasSubstr("its size is 1 x 0"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X -5\n"s + pixel), HasSubstr("its size is -5 x 1"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 100000 +X 100000\n"s + pixel), HasSubstr("too large"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 100000\n"s + pixel), HasSubstr("4 bytes cannot hold 100000 x 1 pixels"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 5 +X 1\n"s + pixel), HasSubstr("4 bytes cannot hold 1 x 5 pixels"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 2\n"s + pixel), HasSubstr("it ends too early"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 2\n"s + pixel + "\1\1\1\5"),
              HasSubstr("5 pixels do not fit behind the first 1"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 2\n"s + "\1\1\1\1" + pixel), HasSubstr("do not fit behind the first 0"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 9\n"s + "\2\2\0\x0A"s),
              HasSubstr("a line says that it has 10 pixels, not 9"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 9\n"s + "\2\2\0\x09\x8A\0"s),
              HasSubstr("10 values do not fit behind the first 0"));
  EXPECT_THAT(MessageOf(kHeader + "-Y 1 +X 9\n"s + "\2\2\0\x09\0\0"s), HasSubstr("0 values do not fit"));
}

TEST(HdrTest, SettingsAreRefused) {
  const Image image = MakeImage(2, 2, [](Int) { return 1.0f; });
  for (const PictureSettings& settings :
       {PictureSettings{.quality = 5}, PictureSettings{.bits = 8}, PictureSettings{.channels = 3}})
    EXPECT_FALSE(EncodeHdr(image, settings).IsOk());
}

std::vector<std::string> MakeFiles() {
  std::mt19937 random(11);
  std::vector<std::string> files;
  for (const Int width : {5, 40, 300}) {
    const Image image = MakeImage(width, 6, [&](Int) { return Float32(random() % 4); });
    const auto bytes = EncodeHdr(image);
    files.emplace_back(reinterpret_cast<const char*>(bytes->GetFirst()), static_cast<std::size_t>(bytes->GetCount()));
  }
  return files;
}

TEST(HdrTest, AFileThatEndsAtAnyByteIsAnError) {
  for (const std::string& file : MakeFiles()) {
    ASSERT_TRUE(IsDecoded(DecodeHdr, file));
    for (std::size_t size = 0; size < file.size(); ++size)
      ASSERT_FALSE(IsDecoded(DecodeHdr, file.substr(0, size))) << size;
  }
}

TEST(HdrTest, RandomDamageNeverCrashes) {
  std::mt19937 random(3);
  Int failures = 0;
  for (const std::string& file : MakeFiles())
    for (int round = 0; round < 3000; ++round) {
      std::string damaged = file;
      for (int i = 0; i < 3; ++i) damaged[random() % damaged.size()] = static_cast<char>(random());
      failures += !IsDecoded(DecodeHdr, damaged);
    }
  EXPECT_GT(failures, 1000);
}

TEST(HdrTest, MemoryThatRunsOutIsAnErrorAndNothingLeaks) {
  const std::string file = MakeFiles().back();
  const Image image = MakeImage(50, 20, [](Int i) { return Float32(i % 7); });
  ExpectOutOfMemoryAtEveryAllocation([&] { return DecodeHdr(BlockOf(file)); });
  ExpectOutOfMemoryAtEveryAllocation([&] { return EncodeHdr(image); });
}

}  // namespace
}  // namespace ostra
