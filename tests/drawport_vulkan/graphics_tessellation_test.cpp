// Programs with tessellation stages.
#include "tests/drawport_vulkan/graphics_fixture.h"

using namespace ostra;

namespace {

using Type = DrawportShaderValueType;
constexpr DrawportStage kControl = DrawportStage::TessellationControl;
constexpr DrawportStage kEvaluation = DrawportStage::TessellationEvaluation;

ShaderParameter MakeVarying(std::string_view name, Type type) {
  ShaderParameter varying;
  varying.kind = ShaderParameterKind::Varying;
  varying.name = Take(String::Create(name));
  varying.valueType = type;
  return varying;
}

class TessellationTest : public GraphicsTest {
 public:
  static constexpr std::string_view kQuads = "#define PATCH_POINTS 4\n#define PATCH_DOMAIN quads\n";

  // A patch of four corners, in the order left bottom, right bottom, right top, left top, with a value for each; the
  // evaluation stage is given what follows after the position.
  GraphicsBuilder MakeQuads(std::string_view levels, std::string_view evaluation = "", std::string_view defines = "") {
    GraphicsBuilder program(*this);
    const std::string form = std::string(kQuads) + std::string(defines);
    program.Attribute(Type::Float2, "position")
        .Attribute(Type::Float, "given")
        .Varying(Type::Float, "height", DrawportStage::Vertex, kControl)
        .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\nheight = given;\n")
        .Stage(kControl, form,
               "{\nOutPosition = InPatchPosition(InInvocationID);\nheight = InPatch(height, InInvocationID) * 2.0;\n"
               "number = int(InInvocationID);\n" +
                   std::string(levels) + "\n}",
               {MakeVarying("height", Type::Float), MakeVarying("number", Type::Int)})
        .Stage(
            kEvaluation, form,
            "{\nvec4 bottom = mix(InPatchPosition(0), InPatchPosition(1), InTessCoord.x);\n"
            "vec4 top = mix(InPatchPosition(3), InPatchPosition(2), InTessCoord.x);\n"
            "OutPosition = mix(bottom, top, InTessCoord.y);\n"
            "float low = mix(InPatch(height, 0), InPatch(height, 1), InTessCoord.x);\n"
            "float high = mix(InPatch(height, 3), InPatch(height, 2), InTessCoord.x);\n"
            "shade = vec3(mix(low, high, InTessCoord.y), float(InPatch(number, 2)), InTessCoord.x);\n" +
                std::string(evaluation) + "\n}",
            {MakeVarying("height", Type::Float), MakeVarying("number", Type::Int), MakeVarying("shade", Type::Float3)})
        .Varying(Type::Float3, "shade", kEvaluation, DrawportStage::Fragment)
        .Color("color")
        .Fragment("color = vec4(shade.x, shade.y, shade.z, 1.0);\n");
    return program;
  }
  static constexpr std::string_view kLevels =
      "OutTessLevelOuter[0] = 4.0;\nOutTessLevelOuter[1] = 4.0;\nOutTessLevelOuter[2] = 4.0;\n"
      "OutTessLevelOuter[3] = 4.0;\nOutTessLevelInner[0] = 4.0;\nOutTessLevelInner[1] = 4.0;";
  DrawportDeviceBuffer* MakeCorners() { return MakeBuffer<Float32>({-1, -1, 0, 1, -1, 1, 1, 1, 1, -1, 1, 0}); }
  static DrawOptions MakeOptions(DrawportDeviceBuffer* corners) {
    return {.vertices = corners, .count = 4, .topology = DrawportTopology::Patches, .patchSize = 4};
  }
};

TEST_F(TessellationTest, VaryingsGoThroughAllStagesAndPatchesCoverTheirArea) {
  GraphicsBuilder program = MakeQuads(kLevels);
  const Picture picture = Draw(program, MakeOptions(MakeCorners()));
  // Twice the given height from left to right, the number of control point 2, and the coordinate in the patch.
  for (Int x = 0; x < 8; ++x) {
    const Float32 part = (static_cast<Float32>(x) + 0.5f) / 8;
    EXPECT_NEAR(picture.At(x, 4).r, 2 * part, 1e-4f) << x;
    EXPECT_EQ(picture.At(x, 4).g, 2);
    EXPECT_NEAR(picture.At(x, 4).b, part, 1e-4f) << x;
  }
}

TEST_F(TessellationTest, ThePatchIsDividedAsOftenAsTheLevelsSay) {
  // Points of the finer grid are moved: with a level of 1 there are none but the corners.
  const std::string_view move =
      "OutPosition.y = OutPosition.y + (InTessCoord.x > 0.4 && InTessCoord.x < 0.6 ? 4.0 : 0.0);";
  GraphicsBuilder fine = MakeQuads(kLevels, move);
  GraphicsBuilder coarse = MakeQuads(
      "OutTessLevelOuter[0] = 1.0;\nOutTessLevelOuter[1] = 1.0;\nOutTessLevelOuter[2] = 1.0;\n"
      "OutTessLevelOuter[3] = 1.0;\nOutTessLevelInner[0] = 1.0;\nOutTessLevelInner[1] = 1.0;",
      move);
  const auto countEmpty = [](const Picture& picture) { return picture.Count(kEmpty); };
  EXPECT_EQ(countEmpty(Draw(coarse, MakeOptions(MakeCorners()))), 0);
  EXPECT_GT(countEmpty(Draw(fine, MakeOptions(MakeCorners()))), 8);
}

TEST_F(TessellationTest, ALevelOfZeroDropsThePatch) {
  GraphicsBuilder program = MakeQuads(
      "OutTessLevelOuter[0] = 0.0;\nOutTessLevelOuter[1] = 0.0;\nOutTessLevelOuter[2] = 0.0;\n"
      "OutTessLevelOuter[3] = 0.0;\nOutTessLevelInner[0] = 0.0;\nOutTessLevelInner[1] = 0.0;");
  EXPECT_EQ(Draw(program, MakeOptions(MakeCorners())).Count(kEmpty), 64);
}

TEST_F(TessellationTest, TheWindingIsThatOfThePatchWithYUpwards) {
  for (const auto& [winding, cull, isSeen] :
       {std::tuple("", 2, true), std::tuple("", 1, false), std::tuple("#define PATCH_WINDING cw\n", 2, false),
        std::tuple("#define PATCH_WINDING cw\n", 1, true)}) {
    GraphicsBuilder program = MakeQuads(kLevels, "", winding);
    DrawOptions options = MakeOptions(MakeCorners());
    options.state = [cull = cull](DrawportStateDescription& state) { Take(state.SetCullFace(cull)); };
    EXPECT_EQ(Draw(program, options).Count(kEmpty) == 0, isSeen) << winding << cull;
  }
}

TEST_F(TessellationTest, TrianglesAreTheUsualPatches) {
  GraphicsBuilder program(*this);
  program.Attribute(Type::Float2, "position")
      .Vertex("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n")
      .Code(kControl,
            "OutPosition = InPatchPosition(InInvocationID);\nOutTessLevelOuter[0] = 3.0;\nOutTessLevelOuter[1] = 3.0;\n"
            "OutTessLevelOuter[2] = float(InPatchSize);\nOutTessLevelInner[0] = UNIFORM(level);\n")
      .Uniform(kControl, Type::Float, "level")
      .Code(kEvaluation,
            "OutPosition = InPatchPosition(0) * InTessCoord.x + InPatchPosition(1) * InTessCoord.y + "
            "InPatchPosition(2) * InTessCoord.z;\n")
      .Color("color")
      .Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  const Picture picture = Draw(program, {.vertices = MakeBuffer<Float32>({-1, -1, 1, -1, -1, 1}),
                                         .count = 3,
                                         .topology = DrawportTopology::Patches,
                                         .values = [](ProgramValues& values) { values.Set("level", 2.0f); }});
  EXPECT_EQ(picture.At(0, 7), kRed);
  EXPECT_EQ(picture.At(7, 0), kEmpty);
  EXPECT_GE(picture.Count(kRed), 28);
}

TEST_F(TessellationTest, ManyPatchesAtTheHighestLevelAreAllDrawn) {
  // 8 x 8 patches, each over one pixel; together they are divided into more than 65536 vertices.
  GraphicsBuilder program = MakeQuads(
      "OutTessLevelOuter[0] = 64.0;\nOutTessLevelOuter[1] = 64.0;\nOutTessLevelOuter[2] = 64.0;\n"
      "OutTessLevelOuter[3] = 64.0;\nOutTessLevelInner[0] = 64.0;\nOutTessLevelInner[1] = 64.0;");
  std::vector<Float32> corners;
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      const auto left = static_cast<Float32>(x) / 4 - 1, top = 1 - static_cast<Float32>(y) / 4;
      const auto height = static_cast<Float32>(8 * y + x);
      for (const auto& [dx, dy] :
           {std::pair(0.0f, -0.25f), std::pair(0.25f, -0.25f), std::pair(0.25f, 0.0f), std::pair(0.0f, 0.0f)})
        corners.insert(corners.end(), {left + dx, top + dy, height});
    }
  }
  DrawOptions options = MakeOptions(MakeBuffer(corners));
  options.count = 4 * 64;
  const Picture picture = Draw(program, options);
  for (Int i = 0; i < 64; ++i) EXPECT_NEAR(picture.At(i % 8, i / 8).r, static_cast<Float32>(2 * i), 1e-2f) << i;
}

TEST_F(TessellationTest, ProgramsAndTopologiesHaveToFit) {
  target = MakeTarget(2, 2);
  GraphicsBuilder plain = MakePlain();
  DrawportDrawCall call = Take(TryMakeCall(plain, {.vertices = MakeRectangle(-1, -1, 1, 1)}));
  call.topology = DrawportTopology::Patches;
  Take(renderer->Begin(target, {}));
  EXPECT_THAT(renderer->Draw(call),
              IsErrorWith(kIllegalArgumentError, "Patches are drawn by programs with tessellation stages only."));
  GraphicsBuilder quads = MakeQuads(kLevels);
  call = Take(TryMakeCall(quads, MakeOptions(MakeCorners())));
  call.topology = DrawportTopology::Triangles;
  EXPECT_THAT(renderer->Draw(call),
              IsErrorWith(kIllegalArgumentError, "A GPU program with tessellation stages draws patches only."));
  call.topology = DrawportTopology::Patches;
  for (const Int size : {0, -1, 1000}) {
    call.patchSize = size;
    EXPECT_THAT(renderer->Draw(call), IsErrorOfKind(kIllegalArgumentError)) << size;
  }
  Take(renderer->End());
}

TEST_F(TessellationTest, StagesComeInPairsAndBehindAVertexStage) {
  GraphicsBuilder alone(*this);
  alone.Vertex("OutPosition = vec4(0.0, 0.0, 0.0, 1.0);\n").Code(kControl, "OutTessLevelOuter[0] = 1.0;\n");
  EXPECT_THAT(
      alone.TryBuild(),
      IsErrorWith(kIllegalArgumentError,
                  "A graphics program with a tessellation control stage needs a tessellation evaluation stage too."));
  GraphicsBuilder headless(*this);
  headless.Color("color").Fragment("color = vec4(1.0, 0.0, 0.0, 1.0);\n");
  EXPECT_THAT(headless.TryBuild(), IsErrorWith(kIllegalArgumentError, "A graphics program needs a vertex stage."));
}

TEST_F(TessellationTest, VaryingsThatAControlStageDoesNotGiveAreHandedOn) {
  const auto make = [&](bool isGiven) {
    GraphicsBuilder program(*this);
    program.Attribute(Type::Float2, "position");
    if (isGiven) program.Varying(Type::Float, "tone", DrawportStage::Vertex, kControl);
    program
        .Vertex(std::string("OutPosition = vec4(position.x, position.y, 0.5, 1.0);\n") +
                (isGiven ? "tone = 0.5;\n" : ""))
        .Stage(
            kControl, "",
            "{ OutPosition = InPatchPosition(InInvocationID); OutTessLevelOuter[0] = 1.0; OutTessLevelOuter[1] = 1.0; "
            "OutTessLevelOuter[2] = 1.0; OutTessLevelInner[0] = 1.0; }",
            {MakeVarying("tone", Type::Float)})
        .Stage(kEvaluation, "",
               "{ OutPosition = InPatchPosition(0) * InTessCoord.x + InPatchPosition(1) * InTessCoord.y + "
               "InPatchPosition(2) * InTessCoord.z; tone = InPatch(tone, 1); }",
               {MakeVarying("tone", Type::Float)})
        .Varying(Type::Float, "tone", kEvaluation, DrawportStage::Fragment)
        .Color("color")
        .Fragment("color = vec4(tone, 0.0, 0.0, 1.0);\n");
    return program;
  };
  const Picture picture = Draw(
      make(true),
      {.vertices = MakeBuffer<Float32>({-1, -1, 3, -1, -1, 3}), .count = 3, .topology = DrawportTopology::Patches});
  EXPECT_EQ(picture.Count({0.5f, 0, 0, 1}), 64);
  EXPECT_THAT(
      make(false).TryBuild(),
      IsErrorWith(
          kIllegalArgumentError,
          "the tessellation control stage receives the varying \"tone\", which the vertex stage does not give"));
}

TEST_F(TessellationTest, WhatAStageReceivesMustBeGiven) {
  GraphicsBuilder program(*this);
  program.Vertex("OutPosition = vec4(0.0, 0.0, 0.0, 1.0);\n")
      .Stage(kControl, "", "{ OutPosition = InPatchPosition(InInvocationID); x = InPatch(x, InInvocationID); }",
             {MakeVarying("x", Type::Float)})
      .Stage(kEvaluation, "", "{ OutPosition = InPatchPosition(0); }");
  EXPECT_THAT(
      program.TryBuild(),
      IsErrorWith(kIllegalArgumentError,
                  "the tessellation control stage receives the varying \"x\", which the vertex stage does not give"));
}

}  // namespace
