// Texels of textures from files: which sizes and channels come out, what is refused, and what thin textures become.
#include "plans/textures/load_texture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/ostra/tool_error.h"
#include "ostra/arrays/npy.h"
#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "parallelprogram/textures/sampler_types.h"
#include "parallelprogram/textures/texture_records.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Line = TextureSamplerObj_1D_R_F32_LINEAR;
using Gray = TextureSamplerObj_2D_R_F32_LINEAR;
using Pair = TextureSamplerObj_2D_RG_F32_LINEAR;
using Color = TextureSamplerObj_2D_RGB_F32_LINEAR;
using Picture = TextureSamplerObj_2D_RGBA_F32_LINEAR;
using Marks = TextureSamplerObj_2D_R_U8_POINT;
using Volume = TextureSamplerObj_3D_R_F32_LINEAR;

class LoadTextureTest : public testing::Test {
 protected:
  template <class Sampler>
  Result<TextureContents> Load(const std::vector<std::string>& files, std::string_view settings = "") {
    const TextureLayout& layout = *FindTextureLayout(GetDataType<Sampler>());
    TextureSettings read;
    if (!settings.empty()) OSTRA_RETURN_IF_ERROR(AddTextureSettings(settings, layout, read));
    OSTRA_RETURN_IF_ERROR(CheckTextureSettings(layout, read));
    std::vector<std::string> sources;
    for (const std::string& file : files)
      sources.push_back(file.find(':') == std::string::npos ? _folder / file : file);
    OSTRA_ASSIGN_OR_RETURN(TextureContents contents,
                           LoadTexture("t", sources, layout, read, {.input = "--in", .texture = "--texture"}));
    // Whatever comes out, a program takes it for a texture of the declared dimensions, with all of its texels.
    TextureBindData description;
    description._dimensions = {static_cast<UInt32>(contents.size.width), static_cast<UInt32>(contents.size.height),
                               static_cast<UInt32>(contents.size.depth)};
    description._numChannels = static_cast<UInt32>(layout.channels);
    EXPECT_EQ(*CheckBindData(description), layout.dimensions);
    EXPECT_EQ(contents.texels.GetCount(), contents.size.GetCount() * contents.layers * layout.GetTexelType().GetSize());
    return contents;
  }

  template <class Sampler>
  void ExpectRefused(const Id& kind, const std::string& text, const std::vector<std::string>& files,
                     std::string_view settings = "") {
    const auto result = Load<Sampler>(files, settings);
    ASSERT_FALSE(result.IsOk()) << text;
    EXPECT_THAT(std::string(result.GetError().GetMessage().GetView()), HasSubstr(text));
    EXPECT_EQ(result.GetError().GetKind(), kind) << text;
  }

  // A picture whose numbers are multiples of 1/255: red counts pixels, green and blue are 0.2 and 0.4, alpha is 0.6.
  void WritePicture(const char* name, Int width, Int height, Bool isGray = false) {
    Image image = *Image::Create(width, height);
    for (Int i = 0; i < width * height; ++i) {
      const Float32 count = static_cast<Float32>(i) / 255;
      const Float32 pixel[] = {count, isGray ? count : 0.2f, isGray ? count : 0.4f, 0.6f};
      MemCopy(&image.rgba[4 * i], pixel, sizeof(pixel));
    }
    ASSERT_THAT(WriteImage(_folder.MakeUrl(name), image), IsOk());
  }

  // An array of the numbers 0, 1, 2, ...
  template <class T = Float32>
  void WriteArray(const char* name, const std::vector<Int>& shape) {
    std::vector<T> numbers;
    Int count = 1;
    for (const Int side : shape) count *= side;
    for (Int i = 0; i < count; ++i) numbers.push_back(static_cast<T>(i));
    _folder.Write(name, EncodeNpyHeader(*FindNumberType(GetDataType<T>()), shape) +
                            std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(T)));
  }

  static std::vector<Float32> GetFloats(const TextureContents& contents) {
    std::vector<Float32> floats(static_cast<std::size_t>(contents.texels.GetCount()) / sizeof(Float32));
    MemCopy(floats.data(), contents.texels.GetFirst(), contents.texels.GetCount());
    return floats;
  }
  static std::vector<int> GetBytes(const TextureContents& contents) {
    return std::vector<int>(contents.texels.GetFirst(), contents.texels.GetFirst() + contents.texels.GetCount());
  }

  TemporaryFolder _folder;
};

TEST_F(LoadTextureTest, PicturesGiveTheChannelsThatAreDeclared) {
  WritePicture("a.png", 3, 2);
  const auto picture = Load<Picture>({"a.png"});
  ASSERT_THAT(picture, IsOk());
  EXPECT_EQ(picture->size, (Extents{3, 2, 1}));
  EXPECT_EQ(picture->layers, 1);
  EXPECT_THAT(picture->notes, IsEmpty());
  EXPECT_EQ(GetFloats(*picture)[4], 1.0f / 255);
  EXPECT_EQ(GetFloats(*picture)[7], 153.0f / 255);
  const auto getSecond = [](const Result<TextureContents>& contents) {
    const std::vector<Float32> floats = GetFloats(*contents);
    return std::vector<Float32>(floats.begin() + 3, floats.begin() + 6);
  };
  const auto color = Load<Color>({"a.png"});
  ASSERT_THAT(color, IsOk());
  EXPECT_THAT(getSecond(color), ElementsAre(1.0f / 255, 51.0f / 255, 102.0f / 255));
  const auto swapped = Load<Color>({"a.png"}, "channels=abr");
  ASSERT_THAT(swapped, IsOk());
  EXPECT_THAT(getSecond(swapped), ElementsAre(153.0f / 255, 102.0f / 255, 1.0f / 255));
}

TEST_F(LoadTextureTest, OneChannelIsTakenFromGrayPicturesAndOtherwiseNamed) {
  WritePicture("gray.png", 3, 2, true);
  WritePicture("color.png", 3, 2);
  const auto gray = Load<Gray>({"gray.png"});
  ASSERT_THAT(gray, IsOk());
  EXPECT_THAT(GetFloats(*gray), ElementsAre(0.0f, 1.0f / 255, 2.0f / 255, 3.0f / 255, 4.0f / 255, 5.0f / 255));
  ExpectRefused<Gray>(kIllegalArgumentError,
                      "color.png does not fit the texture \"t\" (2D R F32 LINEAR): a picture with colours has 3 "
                      "channels, and the texture takes 1: say which, such as channels=g.",
                      {"color.png"});
  const auto blue = Load<Gray>({"color.png"}, "channels=b");
  ASSERT_THAT(blue, IsOk());
  EXPECT_THAT(GetFloats(*blue), testing::Each(102.0f / 255));
  ExpectRefused<Pair>(kUsageError, "the texture takes 2: say which, such as channels=rg", {"gray.png"});
  EXPECT_THAT(Load<Pair>({"gray.png"}, "channels=ra"), IsOk());
}

TEST_F(LoadTextureTest, TexturesOfBytesGetTheBytesOfThePicture) {
  WritePicture("gray.png", 16, 16, true);
  const auto marks = Load<Marks>({"gray.png"});
  ASSERT_THAT(marks, IsOk());
  for (int i = 0; i < 256; ++i) ASSERT_EQ(GetBytes(*marks)[static_cast<std::size_t>(i)], i);
  Image image = *Image::Create(2, 2);
  const Float32 values[] = {-1.0f, 2.0f, std::numeric_limits<Float32>::quiet_NaN(), 0.5f};
  for (Int i = 0; i < 4; ++i) image.rgba[4 * i + 3] = values[i];
  ASSERT_THAT(WriteImage(_folder.MakeUrl("wide.exr"), image), IsOk());
  EXPECT_THAT(GetBytes(*Load<Marks>({"wide.exr"}, "channels=a")), ElementsAre(0, 255, 0, 128));
}

TEST_F(LoadTextureTest, ArraysHaveTheirChannelsInTheLastAxis) {
  WriteArray("gray.npy", {2, 3});
  EXPECT_EQ(Load<Gray>({"gray.npy"})->size, (Extents{3, 2, 1}));
  EXPECT_THAT(GetFloats(*Load<Gray>({"gray.npy"})), ElementsAre(0, 1, 2, 3, 4, 5));
  WriteArray("one.npy", {2, 3, 1});
  EXPECT_EQ(Load<Gray>({"one.npy"})->size, (Extents{3, 2, 1}));
  WriteArray("color.npy", {2, 3, 3});
  EXPECT_EQ(Load<Color>({"color.npy"})->size, (Extents{3, 2, 1}));
  WriteArray("volume.npy", {4, 2, 3});
  EXPECT_EQ(Load<Volume>({"volume.npy"})->size, (Extents{3, 2, 4}));
  WriteArray("first.npy", {1, 2, 3});
  EXPECT_EQ(Load<Gray>({"first.npy"})->size, (Extents{3, 2, 1}));
  ExpectRefused<Picture>(kIllegalArgumentError,
                         "color.npy does not fit the texture \"t\" (2D RGBA F32 LINEAR), whose texels have 4 numbers: "
                         "its last axis has 3.",
                         {"color.npy"});
  ExpectRefused<Gray>(
      kUsageError,
      "volume.npy has 3 x 2 x 4 texels, which does not fit the texture \"t\" (2D R F32 LINEAR): say how "
      "to read it with --texture t:size=WIDTHxHEIGHT and layers=COUNT",
      {"volume.npy"});
  ExpectRefused<Volume>(kUsageError, "say how to read it with --texture t:size=WIDTHxHEIGHTxDEPTH", {"gray.npy"});
}

TEST_F(LoadTextureTest, ArraysOfOtherNumbersAreRefused) {
  WriteArray<Float64>("double.npy", {2, 2});
  ExpectRefused<Gray>(kIllegalArgumentError, "double.npy holds numbers of the type float64, but float32 is needed.",
                      {"double.npy"});
  WriteArray<UInt8>("bytes.npy", {2, 2});
  EXPECT_THAT(GetBytes(*Load<Marks>({"bytes.npy"})), ElementsAre(0, 1, 2, 3));
  _folder.Write("broken.npy", "none");
  ExpectRefused<Gray>(kIllegalArgumentError, "broken.npy cannot be read: this is no .npy file", {"broken.npy"});
  WriteArray("empty.npy", {0, 3});
  ExpectRefused<Gray>(kIllegalArgumentError, "empty.npy is empty.", {"empty.npy"});
}

TEST_F(LoadTextureTest, FilesWithoutASizeNeedOneThatFits) {
  _folder.Write("volume.raw", std::string(4 * 24, '\0'));
  EXPECT_EQ(Load<Volume>({"volume.raw"}, "size=4x3x2")->size, (Extents{4, 3, 2}));
  ExpectRefused<Volume>(kUsageError,
                        "volume.raw does not say the size of the texture \"t\" (3D R F32 LINEAR): give --texture "
                        "t:size=WIDTHxHEIGHTxDEPTH",
                        {"volume.raw"});
  ExpectRefused<Volume>(kIllegalArgumentError,
                        "volume.raw has 24 texels (96 bytes), and the texture \"t\" (3D R F32 LINEAR) of 4 x 3 x 3 "
                        "needs 36 (144 bytes).",
                        {"volume.raw"}, "size=4x3x3");
  ExpectRefused<Volume>(kIllegalArgumentError, "needs 12 (48 bytes).", {"volume.raw"}, "size=3x2x2");
  _folder.Write("odd.raw", std::string(97, '\0'));
  ExpectRefused<Picture>(kIllegalArgumentError, "has 97 bytes, which is no multiple of the 16 bytes of an element",
                         {"odd.raw"}, "size=3x2");
  _folder.Write("line.csv", "1\n2\n3.5\n");
  const auto line = Load<Line>({"line.csv"});
  ASSERT_THAT(line, IsOk());
  EXPECT_EQ(line->size, (Extents{3, 1, 1}));
  EXPECT_THAT(GetFloats(*line), ElementsAre(1, 2, 3.5f));
  EXPECT_EQ(Load<Volume>({"zeros:4x5x6"})->size, (Extents{4, 5, 6}));
  EXPECT_THAT(GetFloats(*Load<Gray>({"ones:2x2"})), testing::Each(1.0f));
}

TEST_F(LoadTextureTest, ASizeReadsPicturesAndArraysInAnotherShape) {
  WritePicture("strip.png", 4, 8, true);  // the slices of a table below each other
  const auto table = Load<Volume>({"strip.png"}, "size=4x4x2");
  ASSERT_THAT(table, IsOk());
  EXPECT_EQ(table->size, (Extents{4, 4, 2}));
  EXPECT_EQ(GetFloats(*table)[16], 16.0f / 255);
  ExpectRefused<Volume>(kUsageError, "strip.png has 4 x 8 texels, which does not fit the texture", {"strip.png"});
  ExpectRefused<Volume>(kIllegalArgumentError, "strip.png has 32 texels", {"strip.png"}, "size=4x4x4");
  EXPECT_EQ(Load<Line>({"strip.png"}, "size=32")->size, (Extents{32, 1, 1}));
}

TEST_F(LoadTextureTest, LayersAreFilesOrLieInOne) {
  WritePicture("a.png", 3, 2, true);
  WritePicture("b.png", 3, 2, true);
  WritePicture("other.png", 2, 3, true);
  const auto two = Load<Gray>({"a.png", "b.png"});
  ASSERT_THAT(two, IsOk());
  EXPECT_EQ(two->layers, 2);
  EXPECT_EQ(two->size, (Extents{3, 2, 1}));
  EXPECT_EQ(GetFloats(*two)[6], 0.0f);
  ExpectRefused<Gray>(kIllegalArgumentError, "all parts of the texture \"t\" have one size", {"a.png", "other.png"});
  ExpectRefused<Gray>(kUsageError, "--texture t: layers: there are 2 files, and each is a layer", {"a.png", "b.png"},
                      "layers=2");
  WriteArray("stack.npy", {4, 2, 3});
  const auto stack = Load<Gray>({"stack.npy"}, "layers=4");
  ASSERT_THAT(stack, IsOk());
  EXPECT_EQ(stack->layers, 4);
  EXPECT_EQ(stack->size, (Extents{3, 2, 1}));
  ExpectRefused<Gray>(kUsageError, "stack.npy has 3 x 2 x 4 texels", {"stack.npy"}, "layers=3");
  WritePicture("tall.png", 3, 8, true);
  EXPECT_EQ(Load<Gray>({"tall.png"}, "layers=4")->size, (Extents{3, 2, 1}));
  ExpectRefused<Gray>(kUsageError, "tall.png has 3 x 8 texels", {"tall.png"}, "layers=3");
  _folder.Write("flat.raw", std::string(4 * 24, '\0'));
  EXPECT_EQ(Load<Gray>({"flat.raw"}, "size=3x2,layers=4")->layers, 4);
  ExpectRefused<Gray>(kIllegalArgumentError, "of 3 x 2 with 5 layers needs 30 (120 bytes)", {"flat.raw"},
                      "size=3x2,layers=5");
  EXPECT_EQ(Load<Line>({"flat.raw"}, "layers=4")->size, (Extents{6, 1, 1}));
  EXPECT_EQ(Load<Line>({"a.png"}, "layers=2")->size, (Extents{3, 1, 1}));
}

TEST_F(LoadTextureTest, PicturesAreTheSlicesOfAVolume) {
  for (const char* name : {"0.png", "1.png", "2.png"}) WritePicture(name, 3, 2, true);
  const auto volume = Load<Volume>({"0.png", "1.png", "2.png"});
  ASSERT_THAT(volume, IsOk());
  EXPECT_EQ(volume->size, (Extents{3, 2, 3}));
  EXPECT_EQ(volume->layers, 1);
  EXPECT_EQ(GetFloats(*volume)[13], 1.0f / 255);
}

TEST_F(LoadTextureTest, ThinTexturesAreWidenedAndANoteSaysSo) {
  WritePicture("row.png", 3, 1, true);
  WritePicture("column.png", 1, 2, true);
  WritePicture("dot.png", 1, 1, true);
  const auto row = Load<Gray>({"row.png"});
  ASSERT_THAT(row, IsOk());
  EXPECT_EQ(row->size, (Extents{3, 2, 1}));
  EXPECT_EQ(row->sourceSize, (Extents{3, 1, 1}));
  EXPECT_THAT(row->notes,
              ElementsAre("the texture \"t\" has 3 x 1 texels, which counts as 1-dimensional; it is widened "
                          "to 3 x 2 by repeating them"));
  EXPECT_THAT(GetFloats(*row), ElementsAre(0, 1.0f / 255, 2.0f / 255, 0, 1.0f / 255, 2.0f / 255));
  const auto column = Load<Gray>({"column.png", "column.png"});
  ASSERT_THAT(column, IsOk());
  EXPECT_EQ(column->size, (Extents{2, 2, 1}));
  EXPECT_THAT(GetFloats(*column), ElementsAre(0, 0, 1.0f / 255, 1.0f / 255, 0, 0, 1.0f / 255, 1.0f / 255));
  const auto dot = Load<Picture>({"dot.png"});
  ASSERT_THAT(dot, IsOk());
  EXPECT_EQ(dot->size, (Extents{2, 2, 1}));
  EXPECT_THAT(dot->notes,
              ElementsAre("the texture \"t\" has 1 x 1 texels, which is no texture; it is widened to 2 x 2 by "
                          "repeating them"));
  const auto slice = Load<Volume>({"zeros:4x3x1"});
  ASSERT_THAT(slice, IsOk());
  EXPECT_EQ(slice->size, (Extents{4, 3, 2}));
  EXPECT_THAT(slice->notes, ElementsAre(HasSubstr("4 x 3 x 1 texels, which counts as 2-dimensional")));
  EXPECT_EQ(Load<Line>({"zeros:1"})->size, (Extents{2, 1, 1}));
  // A line takes pictures one pixel wide or high as they are.
  EXPECT_EQ(Load<Line>({"row.png"})->size, (Extents{3, 1, 1}));
  EXPECT_EQ(Load<Line>({"column.png"})->size, (Extents{2, 1, 1}));
  EXPECT_THAT(Load<Line>({"column.png"})->notes, IsEmpty());
}

TEST_F(LoadTextureTest, WhatIsTooLargeForASamplerIsRefused) {
  ExpectRefused<Marks>(kIllegalArgumentError, "has 1 x 4299816960 texels, and at most 4294967295 are possible",
                       {"zeros:2x2"}, "size=65536x65610");
  _folder.Write("a.raw", "1234");
  ExpectRefused<Marks>(kIllegalArgumentError, "has 2000000000 x 4 texels, and at most 4294967295 are possible",
                       {"a.raw"}, "size=2x2,layers=2000000000");
}

TEST_F(LoadTextureTest, FilesThatAreNoneOfThemAreNamed) {
  ExpectRefused<Gray>(kUsageError, "--in t: ", {"a.gif"});
  ExpectRefused<Gray>(kUsageError, "--texture t: channels: ", {"zeros:2x2"}, "channels=r");
  EXPECT_FALSE(Load<Gray>({"none.png"}).IsOk());
  _folder.Write("text.png", "no picture");
  ExpectRefused<Gray>(kIllegalArgumentError, "text.png cannot be read: its first bytes are those of no known picture",
                      {"text.png"});
}

}  // namespace
}  // namespace ostra::tool
