// ostra run on kernels that declare textures: results against the samplers of the library, and every refusal.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "ostra/image/image.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/textures/sampler_family.h"
#include "parallelprogram/textures/texture_records.h"
#include "plans/buffers/buffer_file.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kFailed = 1, kBadUsage = 2;

class RunTextureTest : public testing::Test {
 protected:
  Image MakePicture(const char* name, Int width, Int height) {
    Image image = Image::Create(width, height).GetValue();
    for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = static_cast<Float32>(i * 37 % 256) / 255;
    EXPECT_THAT(WriteImage(_folder.MakeUrl(name), image), IsOk());
    return image;
  }

  // Runs the kernel that looks beyond the edges and expects what a sampler of the library gives, to the bit.
  void ExpectSampled(const Image& image, const std::vector<std::string>& options, TextureBindData description) {
    std::vector<std::string> arguments = {"run",   GetTestKernel("net.example.sample.krn"),
                                          "--in",  "image=" + _folder / "in.png",
                                          "--out", "result=" + _folder / "out.exr"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto output = ReadImage(_folder.MakeUrl("out.exr"));
    ASSERT_THAT(output, IsOk());

    description._data = reinterpret_cast<const Byte*>(image.rgba.GetFirst());
    description._dataSize = image.rgba.GetCount() * Int(sizeof(Float32));
    description._dimensions = {static_cast<UInt32>(image.width), static_cast<UInt32>(image.height), 1};
    description._format = TextureFormat::F32;
    description._numChannels = 4;
    const auto texture = BuildSamplingData(description);
    const auto sample = SelectSampleFunction<2, 4>(description);
    ASSERT_THAT(texture, IsOk());
    ASSERT_THAT(sample, IsOk());
    const auto place = [](Int index, Int count) {
      return (static_cast<Float32>(index) + 0.5f) / static_cast<Float32>(count) * 2.0f - 0.5f;
    };
    ASSERT_EQ(output->width, image.width);
    ASSERT_EQ(output->height, image.height);
    for (Int i = 0; i < image.width * image.height; ++i) {
      const Float32 at[] = {place(i % image.width, image.width), place(i / image.width, image.height)};
      Float32 expected[4];
      (*sample)(expected, at, 0, &*texture);
      for (Int channel = 0; channel < 4; ++channel) ASSERT_EQ(output->rgba[4 * i + channel], expected[channel]) << i;
    }
  }

  void ExpectRefused(int exitStatus, const std::string& text, const std::string& kernel,
                     const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"run", GetTestKernel(kernel)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitStatus, exitStatus) << result.errors;
    EXPECT_THAT(result.errors, testing::StartsWith("ostra: "));
    EXPECT_THAT(result.errors, HasSubstr(text));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(std::filesystem::exists(_folder / "out.png"));
  }

  std::string In(const std::string& name, const std::string& file) const { return name + "=" + _folder / file; }

  TemporaryFolder _folder;
};

TEST_F(RunTextureTest, APictureIsATextureBecauseTheKernelDeclaresOne) {
  const Image image = MakePicture("in.png", 13, 7);
  ExpectSampled(image, {}, TextureBindData());
}

TEST_F(RunTextureTest, SettingsReachTheSampler) {
  const Image image = MakePicture("in.png", 13, 7);
  TextureBindData description;
  description._wrapModes[0] = TextureWrapMode::REPEAT;
  description._wrapModes[1] = TextureWrapMode::BORDER;
  description._sRGB = true;
  description._borderColor[0] = 2;
  description._borderColor[3] = 0.5f;
  ExpectSampled(image, {"--texture", "image:wrap=repeat/border,srgb=true,border=2/0/0/0.5"}, description);
  ExpectSampled(image, {"--texture", "image:wrap=repeat/border", "--texture", "image:srgb=true,border=2/0/0/0.5"},
                description);
  description._normalizedCoordinates = false;
  ExpectSampled(image, {"--texture", "image:wrap=repeat/border,srgb=true,border=2/0/0/0.5,coordinates=texels"},
                description);
}

TEST_F(RunTextureTest, TheSizeOfTheRunIsThatOfTheTextureUnlessItIsGiven) {
  MakePicture("in.png", 13, 7);
  const auto run = [&](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"run",   GetTestKernel("net.example.sample.krn"),
                                          "--in",  In("image", "in.png"),
                                          "--out", In("result", "out.png"),
                                          "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return json::parse(result.output);
  };
  const json report = run({});
  EXPECT_EQ(report.at("size"), (json{13, 7, 1}));
  EXPECT_EQ(report.at("textures").at("image").at("type"), "2D RGBA F32 LINEAR");
  EXPECT_EQ(report.at("textures").at("image").at("size"), (json{13, 7, 1}));
  EXPECT_EQ(report.at("textures").at("image").at("layers"), 1);
  EXPECT_EQ(report.at("textures").at("image").at("files"), (json{_folder / "in.png"}));
  EXPECT_EQ(run({"--size", "20x10", "--set", "width=20", "--set", "height=10"}).at("size"), (json{20, 10, 1}));
  EXPECT_EQ(ReadImage(_folder.MakeUrl("out.png"))->width, 20);
}

TEST_F(RunTextureTest, TexturesOfAllDimensionsComeFromTablesArraysAndPictures) {
  _folder.Write("line.csv", "1\n2\n4\n");
  Image marks = Image::Create(3, 2).GetValue();
  for (Int i = 0; i < 6; ++i)
    for (Int channel = 0; channel < 3; ++channel) marks.rgba[4 * i + channel] = static_cast<Float32>(10 * i) / 255;
  ASSERT_THAT(WriteImage(_folder.MakeUrl("marks.png"), marks), IsOk());
  std::vector<Float32> colors;
  for (int i = 0; i < 24; ++i) colors.push_back(static_cast<Float32>(i));
  _folder.Write("colors.raw", {reinterpret_cast<const char*>(colors.data()), 24 * sizeof(Float32)});
  const ToolResult result =
      RunTool({"run", GetTestKernel("net.example.tables.krn"), "--in", In("line", "line.csv"), "--in",
               In("marks", "marks.png"), "--in", In("colors", "colors.raw"), "--texture", "colors:size=2x2x2", "--in",
               "numbers=zeros:16", "--out", In("numbers", "out.csv"), "--size", "1"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const auto numbers = plans::LoadBuffer(_folder / "out.csv", GetDataType<Float32>());
  ASSERT_THAT(numbers, IsOk());
  const auto* first = static_cast<const Float32*>(numbers->elements.GetFirst());
  EXPECT_THAT(std::vector<Float32>(first, first + 16),
              ElementsAre(3, 2, 2, 3, 2, 10, 30, 2, 2, 2, 15, 16, 17, 10.5f, 11.5f, 12.5f));
}

TEST_F(RunTextureTest, FilesOneAfterTheOtherAreLayers) {
  MakePicture("a.png", 3, 2);
  MakePicture("b.exr", 3, 2);
  Image third = Image::Create(3, 2).GetValue();
  third.rgba[0] = third.rgba[3] = 0.2f;
  ASSERT_THAT(WriteImage(_folder.MakeUrl("c.exr"), third), IsOk());
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.layers.krn"), "--in", In("sheets", "a.png"),
                                     "--in", In("sheets", "b.exr"), "--in", In("sheets", "c.exr"), "--texture",
                                     "sheets:channels=ga", "--size", "3", "--out", In("corners", "out.csv")});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("sheets: 2D RG F32 LINEAR, 3 x 2, 3 layers"));
  EXPECT_EQ(_folder.Read("out.csv"), "0.14509805,0.43529412\n0.14509805,0.43529412\n0,0.2\n");
}

TEST_F(RunTextureTest, ThinPicturesAreWidenedAndTheUserIsTold) {
  for (const auto& [width, height] : {std::pair<Int, Int>{5, 1}, {1, 4}, {1, 1}}) {
    const Image image = MakePicture("in.png", width, height);
    const ToolResult result = RunTool({"run", GetTestKernel("net.example.sample.krn"), "--in", In("image", "in.png"),
                                       "--out", In("result", "out.exr")});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(result.errors, testing::StartsWith("ostra: note: the texture \"image\" has " + std::to_string(width) +
                                                   " x " + std::to_string(height) + " texels, which "));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    const auto output = ReadImage(_folder.MakeUrl("out.exr"));
    ASSERT_THAT(output, IsOk());
    EXPECT_EQ(output->width, width);
    EXPECT_EQ(output->height, height);
    // The middle of the picture is in the middle of the result.
    if (width == 5) {
      EXPECT_EQ(output->rgba[4 * 2 + 1], image.rgba[4 * 2 + 1]);
    }
    if (width == 1 && height == 1) {
      EXPECT_EQ(output->rgba[1], image.rgba[1]);
    }
  }
}

TEST_F(RunTextureTest, NamesThatAreNoTexturesComeWithTheNearestOne) {
  MakePicture("in.png", 4, 3);
  const char* kernel = "net.example.sample.krn";
  ExpectRefused(kBadUsage, "--in: the kernel has no buffer or texture \"imgae\"; did you mean \"image\"?", kernel,
                {"--in", In("imgae", "in.png"), "--out", In("result", "out.png")});
  ExpectRefused(kBadUsage, "--texture: the kernel has no texture \"imgae\"; did you mean \"image\"?", kernel,
                {"--in", In("image", "in.png"), "--texture", "imgae:wrap=clamp", "--out", In("result", "out.png")});
  ExpectRefused(kBadUsage, "--texture: \"result\" is a buffer, not a texture", kernel,
                {"--in", In("image", "in.png"), "--texture", "result:wrap=clamp", "--out", In("result", "out.png")});
  ExpectRefused(kBadUsage, "--out: \"image\" is a texture, not a buffer", kernel, {"--out", In("image", "out.png")});
  ExpectRefused(kBadUsage, "--swap: \"image\" is a texture, not a buffer", kernel,
                {"--swap", "image,result", "--iterations", "2"});
  ExpectRefused(kBadUsage, "--texture: the kernel has no texture \"picture\"; there are none", "net.example.invert.krn",
                {"--texture", "picture:wrap=clamp"});
}

TEST_F(RunTextureTest, SettingsThatAreNoneAreRefusedBeforeAnythingIsRead) {
  const char* kernel = "net.example.sample.krn";
  const auto expect = [&](const std::string& text, const std::string& setting) {
    ExpectRefused(kBadUsage, text, kernel,
                  {"--in", In("image", "none.png"), "--texture", setting, "--out", In("result", "out.png")});
  };
  expect("--texture needs NAME:KEY=VALUE,..., but got \"wrap=repeat\"", "wrap=repeat");
  expect("--texture image: there is no setting \"warp\"; did you mean \"wrap\"?", "image:warp=repeat");
  expect("--texture image: wrap: \"mirror\" is not known; there are \"repeat\", \"clamp\" and \"border\"",
         "image:wrap=mirror");
  expect("--texture image: \"wrap\" is set twice", "image:wrap=clamp,wrap=clamp");
  expect("--texture image: border: only wrap=border shows a border", "image:border=1/1/1/1");
  expect("--texture image: size: \"4\" has 1 sides, and the texture has 2 axes", "image:size=4");
}

TEST_F(RunTextureTest, TexelsThatDoNotFitAreRefusedBeforeTheRun) {
  MakePicture("in.png", 4, 3);
  MakePicture("other.png", 3, 4);
  const char* kernel = "net.example.sample.krn";
  ExpectRefused(kBadUsage, "the texture \"image\" (2D RGBA F32 LINEAR) has no texels: give --in image=FILE", kernel,
                {"--out", In("result", "out.png"), "--size", "4x4"});
  ExpectRefused(kFailed,
                "in.png has 12 texels (192 bytes), and the texture \"image\" (2D RGBA F32 LINEAR) of 4 x 4 needs 16 "
                "(256 bytes).",
                kernel,
                {"--in", In("image", "in.png"), "--texture", "image:size=4x4", "--out", In("result", "out.png")});
  ExpectRefused(kFailed, "all parts of the texture \"image\" have one size", kernel,
                {"--in", In("image", "in.png"), "--in", In("image", "other.png"), "--out", In("result", "out.png")});
  ExpectRefused(kBadUsage, "--texture image: layers: there are 2 files, and each is a layer", kernel,
                {"--in", In("image", "in.png"), "--in", In("image", "in.png"), "--texture", "image:layers=2", "--out",
                 In("result", "out.png")});
  ExpectRefused(kFailed, "in.png does not fit the texture \"marks\" (2D R U8 POINT): a picture with colours",
                "net.example.tables.krn",
                {"--in", "line=zeros:4", "--in", In("marks", "in.png"), "--in", "colors=zeros:2x2x2", "--size", "1",
                 "--in", "numbers=zeros:16"});
  ExpectRefused(
      kFailed,
      "The texture \"labels\" has the type ostra::TextureSamplerObj_2D_R_I32_POINT, which programs on the CPU "
      "cannot have",
      "net.example.whole.krn", {"--out", In("numbers", "out.csv"), "--size", "1"});
  ExpectRefused(kBadUsage, "border: 300 is no texel of a 2D R U8 POINT texture", "net.example.tables.krn",
                {"--in", "line=zeros:4", "--in", "marks=zeros:4x4", "--texture", "marks:wrap=border,border=300", "--in",
                 "colors=zeros:2x2x2", "--size", "1", "--in", "numbers=zeros:16"});
}

TEST_F(RunTextureTest, TheHelpNamesEverySetting) {
  const ToolResult help = RunTool({"run", "--help"});
  for (const char* text : {"--texture NAME:KEY=VALUE,...", "wrap=", "border=", "coordinates=", "srgb=", "size=",
                           "layers=", "channels=", "noiseMode_0=", "noiseSeed_0="})
    EXPECT_THAT(help.output, HasSubstr(text));
}

TEST_F(RunTextureTest, AKernelThatAsksTheTextureForItsSizeComputesAllOfIt) {
  const Image image = MakePicture("in.png", 40, 33);
  const std::string kernel = _folder.Write(
      "net.example.copy.krn",
      "#define KERNELINPUTS \\\n(const TextureSampler_2D_RGBA_F32_LINEAR) image, \\\n(Block<Vector4d32>) result\n\n"
      "GROUPSIZE(16, 16, 1)\n\nOSTRA_PARALLEL_KERNEL(Copy, KERNELINPUTS)\n{\n"
      "\tint2 size = TextureSize(image);\n\tint2 place = int2(int(InGlobalInvocationID.x), "
      "int(InGlobalInvocationID.y));\n\tif (place.x >= size.x || place.y >= size.y)\n\t{\n\t\treturn;\n\t}\n"
      "\tUNIFORM_BUFFER(result)[place.y * size.x + place.x] = FetchTexture(image, place);\n}\n"
      "OSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result =
      RunTool({"run", kernel, "--in", "image=" + _folder / "in.png", "--out", "result=" + _folder / "out.exr"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const auto output = ReadImage(_folder.MakeUrl("out.exr"));
  ASSERT_THAT(output, IsOk());
  ASSERT_EQ(output->width, 40);
  ASSERT_EQ(output->height, 33);
  EXPECT_TRUE(std::equal(output->rgba.begin(), output->rgba.end(), image.rgba.begin()));
}

}  // namespace
}  // namespace ostra
