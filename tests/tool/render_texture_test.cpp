// `ostra render`: textures, from pictures and from earlier passes.
#include <algorithm>

#include "tests/support/result_matchers.h"
#include "tests/tool/render_fixture.h"

namespace ostra {
namespace {

using testing::ElementsAre;

const std::vector<int> kRedPixel = {255, 0, 0, 255}, kGreenPixel = {0, 255, 0, 255}, kBlackPixel = {0, 0, 0, 255};

class RenderTextureTest : public RenderTest {
 protected:
  void SetUp() override {
    RenderTest::SetUp();
    WriteStage("textured.vert",
               {"(attribute Vector2d32) position", "(attribute Vector2d32) uv", "(varying Vector2d32) at"},
               "\tat = uv;\n\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);");
    WriteStage("textured.frag",
               {"(varying Vector2d32) at", "(const TextureSampler_2D_RGBA_F32_LINEAR) picture", "(Float32) repeats",
                "(out Vector4d32) color"},
               "\tcolor = SampleTexture(picture, at * UNIFORM(repeats));");
    WriteStage("depth.frag",
               {"(varying Vector2d32) at", "(const TextureSampler_2D_R_F32_POINT) depths", "(out Vector4d32) color"},
               "\tint2 size = TextureSize(depths);\n"
               "\tfloat d = FetchTexture(depths, int2(int(at.x * float(size.x)), int(at.y * float(size.y))));\n"
               "\tcolor = vec4(d, d, d, 1.0);");
  }

  // Red and green over blue and white.
  void WritePicture(const char* name) {
    constexpr Int kSide = 16;
    constexpr Float32 kTexels[2][2][4] = {{{1, 0, 0, 1}, {0, 1, 0, 1}}, {{0, 0, 1, 1}, {1, 1, 1, 1}}};
    Image image = Image::Create(kSide, kSide).GetValue();
    for (Int y = 0; y < kSide; ++y)
      for (Int x = 0; x < kSide; ++x)
        std::copy_n(kTexels[2 * y / kSide][2 * x / kSide], 4, &image.rgba[4 * (y * kSide + x)]);
    ASSERT_THAT(WriteImage(_folder.MakeUrl(name), image), IsOk());
  }
  static std::string MakeTexturedDraw(const std::string& texture, const char* repeats = "1") {
    return R"({"stages": ["textured.vert", "textured.frag"], "vertices": {"shape": "quad"}, "uniforms": {"repeats": )" +
           std::string(repeats) + R"(}, "textures": {"picture": )" + texture + "}}";
  }
};

TEST_F(RenderTextureTest, PicturesLieWithTheirFirstRowAbove) {
  for (const char* name : {"p.png", "p.exr"}) {
    WritePicture(name);
    const Image image = Draw(MakeScene(MakeTexturedDraw(std::string("\"").append(name).append("\""))));
    EXPECT_EQ(GetPixel(image, 0, 0), kRedPixel);
    EXPECT_EQ(GetPixel(image, 15, 0), kGreenPixel);
    EXPECT_THAT(GetPixel(image, 0, 15), ElementsAre(0, 0, 255, 255));
    EXPECT_THAT(GetPixel(image, 15, 15), ElementsAre(255, 255, 255, 255));
  }
}

TEST_F(RenderTextureTest, WrapModesSayWhatLiesBeyondTheEdge) {
  WritePicture("p.png");
  const auto draw = [&](const char* wrap) {
    return Draw(MakeScene(MakeTexturedDraw(R"({"file": "p.png", "wrap": ")" + std::string(wrap) + "\"}", "2")));
  };
  const Image repeated = draw("repeat"), clamped = draw("clamp"), bordered = draw("border");
  EXPECT_EQ(GetPixel(repeated, 9, 2), kRedPixel);
  EXPECT_EQ(GetPixel(repeated, 13, 10), kGreenPixel);
  EXPECT_EQ(GetPixel(clamped, 9, 2), kGreenPixel);
  EXPECT_THAT(GetPixel(clamped, 13, 10), ElementsAre(255, 255, 255, 255));
  // Nothing, in front of black.
  EXPECT_EQ(GetPixel(bordered, 9, 2), kBlackPixel);
  EXPECT_EQ(GetPixel(bordered, 5, 2), kGreenPixel);
}

TEST_F(RenderTextureTest, APassReadsTheColourOfAnEarlierOne) {
  const std::string first = R"({"name": "first", "size": [8, 8], "colors": ["rgba.f16"], "draws": [)" +
                            MakeFlatDraw(kLeftHalf, "[0, 2, 0, 1]") + "]}";
  const Image image =
      Draw(R"({"passes": [)" + first + R"(, {"draws": [)" + MakeTexturedDraw(R"({"pass": "first"})") + "]}]}");
  EXPECT_EQ(GetPixel(image, 2, 8), kGreenPixel);
  EXPECT_EQ(GetPixel(image, 13, 8), kBlackPixel);
}

TEST_F(RenderTextureTest, APassReadsTheDepthOfAnEarlierOne) {
  for (const char* samples : {"1", "4"}) {
    const std::string first = R"({"name": "first", "samples": )" + std::string(samples) + R"(, "draws": [)" +
                              MakeFlatDraw(kLeftHalf, "[1, 0, 0, 1]", "0.4", R"("state": {"depthTest": "less"})") +
                              "]}";
    const Image image = Draw(R"({"passes": [)" + first + R"(, {"draws": [{"stages": ["textured.vert", "depth.frag"],
        "vertices": {"shape": "quad"}, "textures": {"depths": {"pass": "first", "target": "depth"}}}]}]})");
    EXPECT_THAT(GetPixel(image, 3, 8), ElementsAre(102, 102, 102, 255)) << samples;
    EXPECT_THAT(GetPixel(image, 12, 8), ElementsAre(255, 255, 255, 255)) << samples;
  }
}

// The same file: with one sample it reads the mean, with four each sample reads its own.
TEST_F(RenderTextureTest, APassReadsSampleBySampleWhereItHasSeveral) {
  WriteStage("copy.frag", {"(const TextureSampler_2D_RGBA_F32_POINT) layer", "(out Vector4d32) color"},
             "\tint2 at = int2(int(InFragCoord.x), int(InFragCoord.y));\n"
             "\tvec4 texel = GetFramebufferTexel(PassTexture(layer), at);\n"
             "\tcolor = vec4(step(0.5, texel.x), texel.y, texel.z, 1.0);");
  const auto draw = [&](const char* samples) {
    const std::string first =
        R"({"name": "first", "samples": 4, "draws": [)" +
        MakeFlatDraw(R"({"attributes": {"position": [-1, -1, 0.7, -1, -0.3, 0.9]}})", "[1, 0, 0, 1]") + "]}";
    const Image image = Draw(R"({"passes": [)" + first + R"(, {"samples": )" + samples + R"(, "draws": [
        {"stages": ["flat.vert", "copy.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0},
         "textures": {"layer": {"pass": "first"}}}]}]})");
    Int between = 0;
    for (Int i = 0; i < image.width * image.height; ++i) between += image.rgba[4 * i] > 0 && image.rgba[4 * i] < 1;
    return between;
  };
  // What is cut off after the mean has hard edges; cut off before, smooth ones.
  EXPECT_EQ(draw("1"), 0);
  EXPECT_GT(draw("4"), 4);
}

TEST_F(RenderTextureTest, APassMayHaveSeveralColourTargets) {
  WriteStage("two.frag", {"(out Vector4d32) color0", "(out Vector4d32) color1"},
             "\tcolor0 = vec4(1.0, 0.0, 0.0, 1.0);\n\tcolor1 = vec4(0.0, 1.0, 0.0, 1.0);");
  const std::string first = R"({"name": "two", "colors": ["rgba.u8", "rgba.f32"], "draws": [{"stages": ["flat.vert",
      "two.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0}}]})";
  for (const auto& [target, pixel] : {std::pair("color", kRedPixel), std::pair("color1", kGreenPixel)}) {
    const Image image = Draw(R"({"passes": [)" + first + R"(, {"draws": [)" +
                             MakeTexturedDraw(R"({"pass": "two", "target": ")" + std::string(target) + "\"}") + "]}]}");
    EXPECT_EQ(GetPixel(image, 8, 8), pixel) << target;
  }
}

}  // namespace
}  // namespace ostra
