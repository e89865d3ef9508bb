#include "ostra/image/exr_layers.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <ImfStdIO.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/image/sample_files.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::AllOf;
using testing::HasSubstr;

constexpr int kWidth = 3, kHeight = 2;

// The value of pixel i in channel c, counted as they are given.
Float32 ValueAt(std::size_t channel, Int index) {
  return static_cast<Float32>(100 * channel) + static_cast<Float32>(index);
}

std::string MakeExr(const std::vector<std::string>& names, Imf::PixelType type = Imf::FLOAT) {
  Imf::Header header(kWidth, kHeight);
  Imf::FrameBuffer buffer;
  std::vector<std::vector<Float32>> floats(names.size());
  std::vector<std::vector<Imath::half>> halves(names.size());
  for (std::size_t c = 0; c < names.size(); ++c) {
    for (Int i = 0; i < kWidth * kHeight; ++i) {
      floats[c].push_back(ValueAt(c, i));
      halves[c].emplace_back(ValueAt(c, i));
    }
    header.channels().insert(names[c], Imf::Channel(type));
    const std::size_t size = type == Imf::HALF ? 2 : 4;
    const void* first = type == Imf::HALF ? static_cast<void*>(halves[c].data()) : static_cast<void*>(floats[c].data());
    buffer.insert(names[c], Imf::Slice::Make(type, first, header.dataWindow(), size, size * kWidth));
  }
  Imf::StdOSStream stream;
  {
    Imf::OutputFile file(stream, header);
    file.setFrameBuffer(buffer);
    file.writePixels(kHeight);
  }
  return stream.str();
}

std::string MessageOf(const std::string& bytes, std::string_view layer) {
  const auto image = DecodeExrLayer(BlockOf(bytes), layer);
  return image.IsOk() ? "no error" : std::string(image.GetError().GetMessage().GetView());
}

// `channels`: which of the file are red, green, blue and alpha; -1 for alpha of 1.
void ExpectChannels(const std::string& bytes, std::string_view layer, const std::vector<int>& channels) {
  SCOPED_TRACE(layer);
  const auto image = DecodeExrLayer(BlockOf(bytes), layer);
  ASSERT_TRUE(image.IsOk()) << image.GetError().GetMessage().GetView();
  ASSERT_EQ(image->width, kWidth);
  for (Int i = 0; i < kWidth * kHeight; ++i)
    for (std::size_t c = 0; c < 4; ++c)
      ASSERT_EQ(image->rgba[4 * i + static_cast<Int>(c)],
                channels[c] < 0 ? 1 : ValueAt(static_cast<std::size_t>(channels[c]), i))
          << i << " " << c;
}

TEST(ExrLayersTest, ALayerIsReadByItsName) {
  for (const Imf::PixelType type : {Imf::HALF, Imf::FLOAT}) {
    const std::string file = MakeExr({"diffuse.R", "diffuse.G", "diffuse.B", "key.light.R", "key.light.G",
                                      "key.light.B", "key.light.A", "mask.Y", "depth.Z", "R", "G", "B", "id"},
                                     type);
    ExpectChannels(file, "diffuse", {0, 1, 2, -1});
    ExpectChannels(file, "key.light", {3, 4, 5, 6});
    ExpectChannels(file, "mask", {7, 7, 7, -1});
    ExpectChannels(file, "depth", {8, 8, 8, -1});
    ExpectChannels(file, "diffuse.G", {1, 1, 1, -1});
    ExpectChannels(file, "id", {12, 12, 12, -1});
    ExpectChannels(file, "", {9, 10, 11, -1});
    EXPECT_EQ(DecodeExrLayer(BlockOf(file), "depth")->description.channels, 1);
    EXPECT_EQ(DecodeExrLayer(BlockOf(file), "key.light")->description.channels, 4);
  }
}

TEST(ExrLayersTest, AMissingLayerIsAnErrorThatListsWhatThereIs) {
  const std::string file = MakeExr({"b.R", "b.G", "b.B", "a.U", "a.V", "Z"});
  EXPECT_THAT(MessageOf(file, ""), AllOf(HasSubstr("has no channel R; it has a, b, Z"), HasSubstr("such as #a")));
  EXPECT_EQ(MessageOf(file, "c"), "the OpenEXR picture has no layer \"c\"; it has a, b, Z.");
  EXPECT_EQ(MessageOf(file, "a"),
            "the layer \"a\" of the OpenEXR picture has no channel R; its channels are a.U, a.V.");
  EXPECT_THAT(MessageOf(file, "b."), HasSubstr("no layer \"b.\""));
  EXPECT_THAT(MessageOf(MakeExr({"b.R", "b.G"}), "b"), HasSubstr("no channel B; its channels are b.G, b.R"));
  std::vector<std::string> many;
  for (int i = 0; i < 30; ++i) many.push_back("layer" + std::to_string(i) + ".X");
  EXPECT_THAT(MessageOf(MakeExr(many), "none"), HasSubstr(" and 10 more."));
}

TEST(ExrLayersTest, TheNameOfALayerStandsBehindThatOfTheFile) {
  const TemporaryFolder folder;
  folder.Write("a#b.exr", MakeExr({"diffuse.R", "diffuse.G", "diffuse.B"}));
  const auto messageOf = [](const auto& result) {
    return result.IsOk() ? "no error" : std::string(result.GetError().GetMessage().GetView());
  };
  const auto image = ReadImage(folder.MakeUrl("a#b.exr#diffuse"));
  ASSERT_TRUE(image.IsOk()) << messageOf(image);
  EXPECT_EQ(image->rgba[2], 200);
  EXPECT_THAT(messageOf(ReadImage(folder.MakeUrl("a#b.exr"))), HasSubstr("it has diffuse."));
  EXPECT_THAT(messageOf(ReadImage(folder.MakeUrl("a#b.exr#none"))), HasSubstr("a#b.exr#none cannot be read"));
  EXPECT_THAT(messageOf(WriteImage(folder.MakeUrl("a.exr#x"), *image)), HasSubstr("cannot be written"));
  ASSERT_TRUE(WriteImage(folder.MakeUrl("a.png"), *image).IsOk());
  EXPECT_THAT(messageOf(ReadImage(folder.MakeUrl("a.png#x"))), HasSubstr("PNG pictures have no layers, and \"x\""));
}

}  // namespace
}  // namespace ostra
