// The pictures of the demo, drawn small and compared with those of before.
#include "tests/support/picture_comparison.h"
#include "tests/support/result_matchers.h"
#include "tests/tool/render_fixture.h"

namespace ostra {
namespace {

class RenderPicturesTest : public RenderTest {
 protected:
  void SetUp() override {
    RenderTest::SetUp();
    WritePicture("reaction.png", 4);
    WritePicture("mandelbrot.png", 8);
    WritePicture("warp.png", 16);
    WritePicture("tiles.png", 2);
  }

  // The pictures that the demo puts on its models are made by kernels; squares do for the test.
  void WritePicture(const char* name, Int squares) {
    constexpr Int kSide = 64;
    Image image = Image::Create(kSide, kSide).GetValue();
    for (Int y = 0; y < kSide; ++y)
      for (Int x = 0; x < kSide; ++x) {
        const Bool isDark = (x * squares / kSide + y * squares / kSide) % 2 == 0;
        const Float32 texel[] = {isDark ? 0.25f : 0.9f, isDark ? 0.35f : 0.75f,
                                 static_cast<Float32>(x) / static_cast<Float32>(kSide), 1};
        std::copy(std::begin(texel), std::end(texel), &image.rgba[4 * (y * kSide + x)]);
      }
    ASSERT_THAT(WriteImage(_folder.MakeUrl(name), image), IsOk());
  }

  static std::string ReadScene(const std::string& name) {
    std::ifstream stream(std::string(OSTRA_TEST_SCENES) + "/" + name + ".json");
    std::string scene{std::istreambuf_iterator<char>(stream), {}};
    Replace(scene, "../../../kernels/stages", OSTRA_TEST_STAGES);
    Replace(scene, "../net.", std::string(OSTRA_TEST_SCENES) + "/../net.");
    return scene;
  }

  void Compare(const std::string& name, const PictureTolerance& tolerance = {}) {
    CompareScene(ReadScene(name), name, tolerance);
  }
  void CompareScene(const std::string& scene, const std::string& name, const PictureTolerance& tolerance) {
    const Image image = Draw(scene, {"--size", "256x256"});
    ASSERT_EQ(image.width, 256);
    EXPECT_TRUE(IsPictureAsBefore(image, std::string(OSTRA_TEST_PICTURES) + "/" + name + ".png", tolerance,
                                  OSTRA_TEST_LEFT_PICTURES));
  }

  static void Replace(std::string& text, const std::string& what, const std::string& with) {
    if (const std::size_t at = text.find(what); at != std::string::npos) text.replace(at, what.size(), with);
  }
};

TEST_F(RenderPicturesTest, ALitModelWithATextureLooksAsBefore) { Compare("torus"); }

// Heights go through many roundings.
TEST_F(RenderPicturesTest, ATerrainOfDividedPatchesUnderWaterLooksAsBefore) {
  Compare("terrain", {.steps = 6, .pixelShare = 0.01});
}

// Its faces turn as those of the patches, so that nothing is lost when only fronts are drawn, and all when only backs
// are.
TEST_F(RenderPicturesTest, ATerrainShowsItsFronts) {
  const auto cull = [](const char* mode) {
    std::string scene = ReadScene("terrain");
    Replace(scene, R"("useAlphaBlending": false)",
            R"("useAlphaBlending": false, "cullMode": ")" + std::string(mode) + "\"");
    EXPECT_NE(scene.find("cullMode"), std::string::npos);
    return scene;
  };
  CompareScene(cull("back"), "terrain", {.steps = 6, .pixelShare = 0.01});
  const Image fronts = Draw(cull("back"), {"--size", "64x64"}), backs = Draw(cull("front"), {"--size", "64x64"});
  ASSERT_EQ(fronts.rgba.GetCount(), backs.rgba.GetCount());
  Int differing = 0;
  for (Int i = 0; i < fronts.rgba.GetCount(); i += 4) differing += std::abs(fronts.rgba[i] - backs.rgba[i]) > 0.02f;
  EXPECT_GT(differing, 64 * 64 / 4);
}

TEST_F(RenderPicturesTest, APassOverColourAndDepthOfAnotherLooksAsBefore) { Compare("ink"); }

// A strange attractor makes other points of the last bit of its sines: what stays is where there are many.
TEST_F(RenderPicturesTest, PointsThatAKernelHasWrittenLookAsBefore) {
  Compare("points", {.steps = 24, .pixelShare = 0.05});
}

}  // namespace
}  // namespace ostra
