#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStdIO.h>
#include <ImfTiledOutputFile.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "ostra/image/image.h"
#include "tests/image/sample_files.h"

namespace ostra {
namespace {

constexpr int kWidth = 7, kHeight = 5;

// A file with the given channels; each sample is 0.25 * x + y + 10 * number of the channel.
std::string MakeExr(const std::string& channels, Imf::PixelType type, Imath::V2i origin = {0, 0}, int sampling = 1) {
  const Imath::Box2i window(origin, origin + Imath::V2i(kWidth * sampling - 1, kHeight * sampling - 1));
  Imf::Header header(window, window);
  Imf::FrameBuffer buffer;
  std::vector<std::vector<Float32>> values;
  std::vector<std::vector<Imath::half>> halves;
  for (std::size_t c = 0; c < channels.size(); ++c) {
    values.emplace_back();
    halves.emplace_back();
    for (int i = 0; i < kWidth * kHeight; ++i) {
      values.back().push_back(0.25f * static_cast<Float32>(i % kWidth) + static_cast<Float32>(i / kWidth) +
                              10 * static_cast<Float32>(c));
      halves.back().push_back(Imath::half(values.back().back()));
    }
  }
  for (std::size_t c = 0; c < channels.size(); ++c) {
    const std::string name(1, channels[c]);
    header.channels().insert(name, Imf::Channel(type, sampling, sampling));
    const std::size_t size = type == Imf::HALF ? 2 : 4;
    const void* first = type == Imf::HALF ? static_cast<void*>(halves[c].data()) : static_cast<void*>(values[c].data());
    buffer.insert(name, Imf::Slice::Make(type, first, window, size, size * kWidth, sampling, sampling));
  }
  Imf::StdOSStream stream;
  {
    Imf::OutputFile file(stream, header);
    file.setFrameBuffer(buffer);
    file.writePixels(kHeight * sampling);
  }
  return stream.str();
}

Float32 ValueAt(Int index, Int channel) {
  return 0.25f * static_cast<Float32>(index % kWidth) + static_cast<Float32>(index / kWidth) +
         10 * static_cast<Float32>(channel);
}

TEST(ExrTest, WritingAndReadingKeepsEveryBit) {
  Image image = Image::Create(33, 21).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = std::sin(static_cast<Float32>(i)) * 1000;
  image.rgba[0] = std::numeric_limits<Float32>::infinity();
  image.rgba[1] = -0.0f;
  image.rgba[2] = std::numeric_limits<Float32>::denorm_min();
  image.rgba[3] = std::bit_cast<Float32>(0x7FC12345u);
  const BaseArray<Byte> bytes = EncodeExr(image).GetValue();
  const auto copy = DecodeExr(bytes.GetBlock());
  ASSERT_TRUE(copy.IsOk()) << copy.GetError().GetMessage().GetView();
  ASSERT_EQ(copy->width, 33);
  ASSERT_EQ(copy->height, 21);
  for (Int i = 0; i < image.rgba.GetCount(); ++i)
    ASSERT_EQ(std::bit_cast<UInt32>(copy->rgba[i]), std::bit_cast<UInt32>(image.rgba[i])) << i;
}

TEST(ExrTest, HalvesAndFewerChannelsAreWrittenWhereTheyAreAskedFor) {
  Image image = Image::Create(9, 5).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = i % 4 == 3 ? 0.5f : Float32(i / 4) / 8;
  image.rgba[0] = image.rgba[1] = image.rgba[2] = 1e6f;
  for (const Int channels : {0, 1, 2, 3, 4}) {
    const auto copy = DecodeExr(EncodeExr(image, {.bits = 16, .channels = channels})->GetBlock());
    ASSERT_TRUE(copy.IsOk()) << copy.GetError().GetMessage().GetView();
    EXPECT_EQ(copy->description.channels, channels == 0 ? 4 : channels);
    EXPECT_EQ(copy->description.bits, 16);
    EXPECT_EQ(copy->rgba[0], std::numeric_limits<Float32>::infinity());
    const Bool hasAlpha = channels != 1 && channels != 3;
    for (Int i = 3; i < image.rgba.GetCount(); ++i)
      ASSERT_EQ(copy->rgba[i], i % 4 == 3 && !hasAlpha ? 1 : image.rgba[i]) << channels << ", " << i;
  }
  EXPECT_FALSE(EncodeExr(image, {.bits = 8}).IsOk());
  EXPECT_FALSE(EncodeExr(image, {.quality = 50}).IsOk());
  image.rgba[1] = 0;  // a colour
  EXPECT_FALSE(EncodeExr(image, {.channels = 1}).IsOk());
}

TEST(ExrTest, HalfAndFloatChannelsAreReadAndMissingAlphaIsOne) {
  for (const Imf::PixelType type : {Imf::HALF, Imf::FLOAT})
    for (const char* channels : {"RGB", "RGBA", "YA", "Y"}) {
      const auto image = DecodeExr(BlockOf(MakeExr(channels, type)));
      ASSERT_TRUE(image.IsOk()) << image.GetError().GetMessage().GetView();
      EXPECT_EQ(image->description.channels, static_cast<Int>(std::string_view(channels).size()));
      EXPECT_EQ(image->description.bits, type == Imf::HALF ? 16 : 32);
      EXPECT_TRUE(image->description.isFloat);
      EXPECT_EQ(image->description.colors, PictureColors::Linear);
      const std::string names(channels);
      for (Int i = 0; i < kWidth * kHeight; ++i)
        for (Int c = 0; c < 4; ++c) {
          const std::size_t stored = names.find(c == 3 ? 'A' : names[0] == 'Y' ? 'Y' : "RGB"[c]);
          const Float32 expected = stored == std::string::npos ? 1.0f : ValueAt(i, static_cast<Int>(stored));
          ASSERT_EQ(image->rgba[4 * i + c], expected) << channels << " " << i << " " << c;
        }
    }
}

TEST(ExrTest, ADataWindowAwayFromTheOriginIsThePicture) {
  const auto image = DecodeExr(BlockOf(MakeExr("RGB", Imf::FLOAT, {-100, 40})));
  ASSERT_TRUE(image.IsOk()) << image.GetError().GetMessage().GetView();
  EXPECT_EQ(image->width, kWidth);
  EXPECT_EQ(image->height, kHeight);
  for (Int i = 0; i < kWidth * kHeight; ++i) EXPECT_EQ(image->rgba[4 * i + 2], ValueAt(i, 2));
}

TEST(ExrTest, FilesThatAreNoPlainPicturesAreRefusedWithTheReason) {
  const auto messageOf = [](const std::string& bytes) {
    const auto image = DecodeExr(BlockOf(bytes));
    return image.IsOk() ? "no error" : std::string(image.GetError().GetMessage().GetView());
  };
  EXPECT_THAT(messageOf(MakeExr("RG", Imf::FLOAT)), testing::HasSubstr("no channel B"));
  EXPECT_THAT(messageOf(MakeExr("Z", Imf::FLOAT)), testing::HasSubstr("no channel R"));
  EXPECT_THAT(messageOf(MakeExr("RGB", Imf::FLOAT, {0, 0}, 2)), testing::HasSubstr("lower resolution"));
  EXPECT_THAT(messageOf("no picture at all"), testing::HasSubstr("not an OpenEXR picture"));
}

}  // namespace
}  // namespace ostra
