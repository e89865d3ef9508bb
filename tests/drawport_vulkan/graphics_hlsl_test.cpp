// The same stages through HLSL: the same pictures.
#include "ostra/render/gradient.h"
#include "tests/drawport_vulkan/graphics_fixture.h"

using namespace ostra;

namespace {

using Type = DrawportShaderValueType;
constexpr DrawportStage kControl = DrawportStage::TessellationControl;
constexpr DrawportStage kEvaluation = DrawportStage::TessellationEvaluation;

class GraphicsHlslTest : public GraphicsTest {
 public:
  void SetUp() override {
    SetDrawportShadingLanguage(kShadingLanguageHlsl);
    GraphicsTest::SetUp();
  }
  void TearDown() override {
    SetDrawportShadingLanguage(kShadingLanguageGlsl);
    GraphicsTest::TearDown();
  }
};

TEST_F(GraphicsHlslTest, VaryingsUniformsAndTexturesWork) {
  ASSERT_EQ(_drawport->GetShadingLanguage(), kShadingLanguageHlsl);
  const DrawportRenderTargetRef first = MakeTarget(4, 4, 4);
  GraphicsBuilder plain = MakePlain("vec4(0.25, 0.5, 0.75, 1.0)");
  DrawInto(first, {Take(TryMakeCall(plain, {.vertices = MakeRectangle(-1, 0, 1, 1), .count = 6}))});
  GraphicsBuilder program(*this);
  program.Attribute(Type::Float2, "position")
      .Varying(Type::Float2, "at")
      .Varying(Type::UInt, "number")
      .Uniform(DrawportStage::Vertex, Type::Matrix4, "view")
      .Uniform(DrawportStage::Fragment, Type::Float, "shade")
      .Texture("image", kRgba32)
      .Texture("samples", kRgba32, true)
      .Vertex(
          "at = position;\nnumber = 7u;\n"
          "OutPosition = mul(UNIFORM(view), vec4(position.x, position.y, 0.5, 1.0));\n")
      .Color("color")
      .Fragment(
          "int2 pixel = int2(int(InFragCoord.x), int(InFragCoord.y));\n"
          "vec4 seen = GetFramebufferTexel(PassTexture(samples), pixel, 2);\n"
          "color = vec4(SampleTexture(image, at).y, seen.z, float(number), UNIFORM(shade));\n");
  target = MakeTarget(4, 4);
  const auto bind = [&](ProgramValues& values) {
    DrawportTextureSampler* sampler = Take(renderer->GetSampler(0));
    values.SetTexture("image", first->GetColorTexture(0), sampler);
    values.SetTexture("samples", first->GetColorSamples(0), sampler);
    values.Set("shade", 0.125f);
    // From 0 ... 1 to clip space, upside down: the top of the texture is at the top.
    values.Set("view", SquareMatrix4d32{{2, 0, 0, 0}, {0, -2, 0, 0}, {0, 0, 1, 0}, {-1, 1, 0, 1}});
  };
  DrawInto(target, {Take(TryMakeCall(program, {.vertices = MakeRectangle(0, 0, 1, 1), .count = 6, .values = bind}))});
  EXPECT_EQ(Read(target).At(1, 0), (Rgba{0.5f, 0.75f, 7, 0.125f}));
  EXPECT_EQ(Read(target).At(1, 3), (Rgba{0, 0, 7, 0.125f}));
}

TEST_F(GraphicsHlslTest, PointsHaveTheirSize) {
  GraphicsBuilder program(*this);
  program.Vertex("OutPosition = vec4(0.0, 0.0, 0.5, 1.0);\nOutPointSize = 4.0;\n")
      .Color("color")
      .Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  EXPECT_EQ(Draw(program, {.count = 1, .topology = DrawportTopology::Points}).Count(kRed), 16);
}

TEST_F(GraphicsHlslTest, PatchesAreDivided) {
  GraphicsBuilder program(*this);
  program.Attribute(Type::Float2, "position")
      .Varying(Type::Float, "shade", DrawportStage::Vertex, kControl)
      .Varying(Type::Float, "shade", kControl, kEvaluation)
      .Varying(Type::Float, "shade", kEvaluation, DrawportStage::Fragment)
      .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\nshade = position.x;\n")
      .Code(kControl,
            "OutPosition = InPatchPosition(InInvocationID);\nshade = InPatch(shade, InInvocationID) * 2.0;\n"
            "OutTessLevelOuter[0] = 3.0;\nOutTessLevelOuter[1] = 3.0;\nOutTessLevelOuter[2] = 3.0;\n"
            "OutTessLevelInner[0] = 3.0;\n")
      .Code(kEvaluation,
            "OutPosition = InPatchPosition(0) * InTessCoord.x + InPatchPosition(1) * InTessCoord.y + "
            "InPatchPosition(2) * InTessCoord.z;\n"
            "shade = InPatch(shade, 0) * InTessCoord.x + InPatch(shade, 1) * InTessCoord.y + "
            "InPatch(shade, 2) * InTessCoord.z;\n")
      .Color("color")
      .Fragment("color = vec4(shade, 0.0, 0.0, 1.0);\n");
  const auto cull = [](DrawportStateDescription& state) { Take(state.SetCullFace(2)); };
  const Picture picture = Draw(program, {.vertices = MakeBuffer<Float32>({-1, -1, 3, -1, -1, 3}),
                                         .count = 3,
                                         .topology = DrawportTopology::Patches,
                                         .state = cull});
  for (Int x = 0; x < 8; ++x)
    EXPECT_NEAR(picture.At(x, 3).r, 2 * ((static_cast<Float32>(x) + 0.5f) / 4 - 1), 1e-4f) << x;
}

}  // namespace
