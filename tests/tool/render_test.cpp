// `ostra render`: what a scene draws.
#include <algorithm>
#include <bit>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "ostra/arrays/npy.h"
#include "ostra/io/file.h"
#include "tests/support/result_matchers.h"
#include "tests/tool/render_fixture.h"

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kRed = "[1, 0, 0, 1]";
constexpr const char* kGreen = "[0, 1, 0, 1]";
const std::vector<int> kRedPixel = {255, 0, 0, 255}, kGreenPixel = {0, 255, 0, 255}, kBlackPixel = {0, 0, 0, 255};

TEST_F(RenderTest, AnEmptyPassShowsTheColourThatItWasClearedWith) {
  const Image image = Draw(MakeScene("", R"("clear": {"color": [0.2, 0.4, 0.6, 1]})"));
  EXPECT_EQ(image.width, 16);
  EXPECT_EQ(image.height, 16);
  EXPECT_THAT(GetPixel(image, 7, 3), ElementsAre(51, 102, 153, 255));
}

TEST_F(RenderTest, TheSceneSaysHowLargeThePictureIsUnlessTheCommandLineDoes) {
  const std::string scene = R"({"size": [20, 10], "passes": [{"draws": []}]})";
  EXPECT_EQ(Draw(scene, {}).width, 20);
  EXPECT_EQ(Draw(scene, {"--size", "6x5"}).height, 5);
}

TEST_F(RenderTest, VerticesLieWhereTheirAttributesSay) {
  const Image image = Draw(MakeScene(MakeFlatDraw(kLeftHalf, kRed)));
  EXPECT_EQ(GetPixel(image, 7, 8), kRedPixel);
  EXPECT_EQ(GetPixel(image, 8, 8), kBlackPixel);
  // y points up: a triangle in the upper half is in the upper rows.
  const Image upper = Draw(MakeScene(MakeFlatDraw(R"({"attributes": {"position": [-1, 0, 1, 0, 0, 1]}})", kRed)));
  EXPECT_EQ(GetPixel(upper, 8, 6), kRedPixel);
  EXPECT_EQ(GetPixel(upper, 8, 9), kBlackPixel);
}

TEST_F(RenderTest, AttributesComeFromArrayFilesAndTextFiles) {
  const Float32 numbers[] = {-1, -1, 0, -1, 0, 1, -1, -1, 0, 1, -1, 1};
  const Int shape[] = {6, 2};
  _folder.Write("p.npy", EncodeNpyHeader(*FindNumberType("f4"), shape) +
                             std::string(reinterpret_cast<const char*>(numbers), sizeof(numbers)));
  _folder.Write("p.csv", "-1,-1\n0,-1\n0,1\n-1,-1\n0,1\n-1,1\n");
  for (const char* file : {"p.npy", "p.csv"}) {
    const Image image =
        Draw(MakeScene(MakeFlatDraw(R"({"attributes": {"position": ")" + std::string(file) + "\"}}", kRed)));
    EXPECT_EQ(CountDrawnPixels(image), 128) << file;
  }
}

TEST_F(RenderTest, ModelsAreDrawnFromTheirFiles) {
  _folder.Write("half.obj", "v -1 -1 0\nv 0 -1 0\nv 0 1 0\nv -1 1 0\nf 1 2 3 4\n");
  const Image image =
      Draw(MakeScene(MakeFlatDraw(R"({"model": "half.obj"})", kRed, "0.5", R"("state": {"cullMode": "back"})")));
  EXPECT_EQ(CountDrawnPixels(image), 128);
  EXPECT_EQ(GetPixel(image, 7, 8), kRedPixel);
}

TEST_F(RenderTest, LinesOfAShapeAndAModelAreTheirWires) {
  // The sides of the quad lie in its middle and the model's in its lower left half: nothing crosses the rest.
  const std::string lines = R"("topology": "lines")";
  const Image quad = Draw(MakeScene(MakeFlatDraw(R"({"shape": "quad", "size": [1, 1]})", kRed, "0.5", lines)));
  EXPECT_EQ(GetPixel(quad, 8, 8), kBlackPixel);
  EXPECT_EQ(GetPixel(quad, 8, 2), kBlackPixel);
  EXPECT_GE(CountDrawnPixels(quad), 4 * 7);
  EXPECT_LE(CountDrawnPixels(quad), 4 * 9);
  _folder.Write("t.obj", "v -0.5 -0.5 0\nv 0.5 -0.5 0\nv -0.5 0.5 0\nf 1 2 3\n");
  const Image model = Draw(MakeScene(MakeFlatDraw(R"({"model": "t.obj"})", kRed, "0.5", lines)));
  EXPECT_EQ(GetPixel(model, 6, 9), kBlackPixel);
  EXPECT_EQ(GetPixel(model, 10, 6), kBlackPixel);
  EXPECT_GE(CountDrawnPixels(model), 3 * 7);
}

TEST_F(RenderTest, ABufferOfStructsIsReadFromItsBytes) {
  WriteStage("s.vert", {"(attribute Vector2d32) position"}, "\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);");
  _folder.Write("s.inc", "struct Lamp\n{\n\tUInt32 number;\n\tFloat32 green;\n};\n");
  WriteStage("s.frag", {"(const Block<Lamp>) lamps", "(out Vector4d32) color"},
             "\tcolor = vec4(float(UNIFORM_BUFFER(lamps)[1].number) / 4.0, UNIFORM_BUFFER(lamps)[1].green, 0.0, 1.0);");
  const auto scene = [](const char* file) {
    return MakeScene(R"({"stages": ["s.vert", "s.frag"], "vertices": )" + std::string(kWholeQuad) +
                     R"(, "buffers": {"lamps": ")" + file + "\"}}");
  };
  const UInt32 lamps[] = {7, 0, 4, std::bit_cast<UInt32>(1.0f)};
  _folder.Write("lamps.raw", std::string(reinterpret_cast<const char*>(lamps), sizeof(lamps)));
  EXPECT_THAT(GetPixel(Draw(scene("lamps.raw")), 4, 4), ElementsAre(255, 255, 0, 255));
  _folder.Write("short.raw", std::string(12, 'x'));
  EXPECT_THAT(Run(scene("short.raw")).errors,
              HasSubstr("short.raw has 12 bytes, which is no multiple of the 8 bytes of an element"));
  _folder.Write("lamps.csv", "1,2\n");
  EXPECT_THAT(Run(scene("lamps.csv")).errors,
              HasSubstr("elements of the struct \"Lamp\" are read from .npy and .raw files"));
}

TEST_F(RenderTest, TheDepthTestChoosesWhatIsSeen) {
  const auto draw = [](const char* test) {
    const std::string state = R"("state": {"depthTest": )" + std::string(test) + "}";
    return MakeScene(MakeFlatDraw(kWholeQuad, kRed, "0.3", state) + ", " +
                     MakeFlatDraw(kWholeQuad, kGreen, "0.6", state));
  };
  EXPECT_EQ(GetPixel(Draw(draw(R"("less")")), 4, 4), kRedPixel);
  EXPECT_EQ(GetPixel(Draw(draw(R"("off")")), 4, 4), kGreenPixel);
  EXPECT_EQ(GetPixel(Draw(draw(R"("always")")), 4, 4), kGreenPixel);
  // The number of the layer instead of its name.
  EXPECT_EQ(GetPixel(Draw(draw("1")), 4, 4), kRedPixel);
  EXPECT_EQ(GetPixel(Draw(draw("4")), 4, 4), kBlackPixel);
}

TEST_F(RenderTest, FacesAreCulledByTheWayTheyTurn) {
  const auto draw = [&](const char* state) {
    return CountDrawnPixels(Draw(MakeScene(MakeFlatDraw(kLeftHalf, kRed, "0.5", R"("state": )" + std::string(state)))));
  };
  EXPECT_EQ(draw(R"({"cullMode": "none"})"), 128);
  EXPECT_EQ(draw(R"({"cullMode": "back"})"), 128);
  EXPECT_EQ(draw(R"({"cullMode": "front"})"), 0);
  EXPECT_EQ(draw(R"({"cullMode": "back", "frontFace": "clockwise"})"), 0);
  EXPECT_EQ(draw(R"({"cullMode": 1, "frontFace": 1})"), 128);
}

TEST_F(RenderTest, AlphaIsBlendedUnlessToldOtherwise) {
  const auto draw = [](const std::string& state) {
    return MakeScene(MakeFlatDraw(kWholeQuad, "[1, 0, 0, 0.25]", "0.5", state),
                     R"("clear": {"color": [0, 0, 1, 0.5]})");
  };
  EXPECT_THAT(GetPixel(Draw(draw("")), 4, 4), ElementsAre(64, 0, 191, testing::AnyOf(191, 192)));
  EXPECT_THAT(GetPixel(Draw(draw(R"("state": {"useAlphaBlending": false})")), 4, 4), ElementsAre(255, 0, 0, 64));
}

TEST_F(RenderTest, SeveralSamplesMakeEdgesSmooth) {
  const auto countColors = [&](const char* samples) {
    const Image image =
        Draw(MakeScene(MakeFlatDraw(R"({"attributes": {"position": [-1, -1, 0.7, -1, -0.3, 0.9]}})", kRed),
                       R"("samples": )" + std::string(samples)));
    std::set<int> reds;
    for (Int y = 0; y < 16; ++y)
      for (Int x = 0; x < 16; ++x) reds.insert(GetPixel(image, x, y)[0]);
    return reds;
  };
  EXPECT_THAT(countColors("1"), ElementsAre(0, 255));
  // Whole quarters, and at least one of them.
  const std::set<int> four = countColors("4");
  EXPECT_GT(four.size(), 2u);
  for (const int red : four) EXPECT_THAT((std::vector<int>{0, 64, 128, 191, 255}), testing::Contains(red));
}

TEST_F(RenderTest, ABraceThatStaysOpenIsNamedWithItsFile) {
  WriteStage("flat.frag", {"(Vector4d32) tint", "(out Vector4d32) color"},
             "\tif (UNIFORM(tint).x > 0.5) {\n\tcolor = UNIFORM(tint);");
  const ToolResult result = Run(MakeScene(MakeFlatDraw(kWholeQuad, kRed)));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors,
              testing::StartsWith("ostra: " + _folder / "flat.frag" + ":6: error: this brace is not closed"));
}

TEST_F(RenderTest, PointsAndLinesAreDrawn) {
  const auto count = [&](const char* positions, const char* topology) {
    return CountDrawnPixels(
        Draw(MakeScene(MakeFlatDraw(R"({"attributes": {"position": )" + std::string(positions) + "}}", kRed, "0.5",
                                    R"("topology": ")" + std::string(topology) + "\""))));
  };
  EXPECT_EQ(count("[0.03, 0.03, -0.5, 0.53, 0.9, -0.9]", "points"), 3);
  // Across eight and ten pixels; ends may or may not count.
  EXPECT_NEAR(count("[-0.47, 0.03, 0.53, 0.03]", "lines"), 8, 1);
  EXPECT_NEAR(count("[-0.47, -0.22, 0.53, -0.22, -0.47, 0.53, 0.53, 0.53]", "lines"), 16, 2);
  EXPECT_GT(count("[-0.47, -0.22, 0.53, -0.22, 0.53, 0.53]", "lineStrip"), 12);
  EXPECT_EQ(count("[-0.5, -0.5, 0.5, -0.5, -0.5, 0.5, 0.5, 0.5]", "triangleStrip"), 64);
}

TEST_F(RenderTest, ValuesOfEveryTypeReachTheirStage) {
  WriteStage("types.frag",
             {"(Float32) a", "(Vector2d32) b", "(Vector32) c", "(Int32) d", "(UInt32) e", "(IntVector4d32) f",
              "(SquareMatrix32) g", "(Matrix32) h", "(HalfFloat) i", "(out Vector4d32) color"},
             "\tvec3 turned = mul(UNIFORM(g), vec3(1.0, 0.0, 0.0));\n"
             "\tvec4 moved = mul(UNIFORM(h), vec4(0.0, 0.0, 0.0, 1.0));\n"
             "\tfloat sum = UNIFORM(a) + UNIFORM(b).y + UNIFORM(c).z + float(UNIFORM(d)) + float(UNIFORM(e)) + "
             "float(UNIFORM(f).w) + turned.y + moved.x + UNIFORM(i);\n"
             "\tcolor = vec4(sum / 255.0, turned.x / 255.0, moved.z / 255.0, 1.0);");
  const std::string draw =
      R"({"stages": ["flat.vert", "types.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0,
      "a": 1, "b": [9, 2], "c": [9, 9, 3], "d": -4, "e": 50, "f": [9, 9, 9, 6], "g": [[7, 8, 0], [0, 1, 0], [0, 0, 1]],
      "h": {"translate": [10, 11, 12]}, "i": 0.5}})";
  // 1 + 2 + 3 - 4 + 50 + 6 + 8 + 10 + 0.5, rounded.
  EXPECT_THAT(GetPixel(Draw(MakeScene(draw)), 3, 3), ElementsAre(testing::AnyOf(76, 77), 7, 12, 255));
}

TEST_F(RenderTest, ValuesOfTheSceneAreReplacedFromTheCommandLine) {
  const std::string scene =
      R"({"values": {"tint": [1, 0, 0, 1]}, "passes": [{"draws": [)" + MakeFlatDraw(kWholeQuad, R"("tint")") + "]}]}";
  EXPECT_EQ(GetPixel(Draw(scene), 2, 2), kRedPixel);
  EXPECT_EQ(GetPixel(Draw(scene, {"--size", "16x16", "--set", "tint=0,1,0,1"}), 2, 2), kGreenPixel);
}

TEST_F(RenderTest, TheAspectOfTheCameraIsThatOfThePass) {
  WriteStage("lens.vert", {"(attribute Vector2d32) position", "(Matrix32) lens"},
             "\tOutPosition = mul(UNIFORM(lens), vec4(position.x, position.y, -2.0, 1.0));");
  const std::string draw = R"({"stages": ["lens.vert", "flat.frag"], "vertices": {"shape": "quad", "size": [2, 2]},
      "uniforms": {"tint": [1, 0, 0, 1], "lens": {"perspective": {"fieldOfView": 90, "near": 1, "far": 3}}}})";
  // Two units away half of the height is two: the quad takes half of it, and as many pixels to the side.
  EXPECT_EQ(CountDrawnPixels(Draw(MakeScene(draw), {"--size", "32x16"})), 64);
}

TEST_F(RenderTest, GradientsAreSampledAndEmptyOnesAreBlackToWhite) {
  WriteStage("ramp.frag", {"(GradientRenderData) ramp", "(Float32) at", "(out Vector4d32) color"},
             "\tvec3 c = SampleGradient(UNIFORM(ramp), UNIFORM(at));\n\tcolor = vec4(c.x, c.y, c.z, 1.0);");
  const auto draw = [&](const char* gradient, const char* at) {
    return GetPixel(Draw(MakeScene(R"({"stages": ["flat.vert", "ramp.frag"], "vertices": {"shape": "quad"},
        "uniforms": {"depth": 0, "ramp": {"gradient": )" +
                                   std::string(gradient) + R"(}, "at": )" + at + "}}")),
                    5, 5);
  };
  EXPECT_THAT(draw("[[0, 1, 0, 0], [1, 0, 0, 1]]", "0.5"),
              ElementsAre(testing::AnyOf(127, 128), 0, testing::AnyOf(127, 128), 255));
  EXPECT_THAT(draw("[[0, 1, 0, 0], [1, 0, 0, 1]]", "1"), ElementsAre(0, 0, 255, 255));
  EXPECT_THAT(draw("[]", "0"), ElementsAre(0, 0, 0, 255));
  EXPECT_THAT(draw("[]", "1"), ElementsAre(255, 255, 255, 255));
}

TEST_F(RenderTest, BuffersFromFilesAreReadByStages) {
  WriteStage("table.frag", {"(const Block<Vector4d32>) table", "(Int32) entry", "(out Vector4d32) color"},
             "\tcolor = UNIFORM_BUFFER(table)[UNIFORM(entry)];");
  _folder.Write("table.csv", "1,0,0,1\n0,1,0,1\n");
  EXPECT_EQ(GetPixel(Draw(MakeScene(R"({"stages": ["flat.vert", "table.frag"], "vertices": {"shape": "quad"},
      "uniforms": {"depth": 0, "entry": 1}, "buffers": {"table": "table.csv"}})")),
                     5, 5),
            kGreenPixel);
}

TEST_F(RenderTest, PointsThatAKernelHasWrittenAreDrawnFromItsBuffer) {
  _folder.Write("net.example.places.krn",
                "#define KERNELINPUTS \\\n(Float32) y, \\\n(Block<Vector2d32>) places\n\nOSTRA_PARALLEL_KERNEL(Places, "
                "KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\tif (i < 4u)\n\t{\n\t\tUNIFORM_BUFFER(places)[i] = "
                "vec2((float(i) + 0.5) / 2.0 - 0.94, UNIFORM(y));\n\t}\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const auto draw = [&](const std::string& vertices) {
    return Draw(
        R"({"kernels": {"places": {"file": "net.example.places.krn", "size": [4], "set": {"y": 0.1}}}, "passes": [{"draws": [)" +
        MakeFlatDraw(vertices, kRed, "0.5", R"("topology": "points")") + "]}]}");
  };
  const Image all = draw(R"({"kernel": "places", "buffer": "places"})");
  EXPECT_EQ(CountDrawnPixels(all), 4);
  for (const Int x : {2, 6, 10, 14}) EXPECT_EQ(GetPixel(all, x, 7), kRedPixel) << x;
  EXPECT_EQ(CountDrawnPixels(draw(R"({"kernel": "places", "buffer": "places", "count": 2})")), 2);
}

TEST_F(RenderTest, PatchesAreDivided) {
  WriteStage("patch.vert", {"(attribute Vector2d32) position"},
             "\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);");
  _folder.Write("patch.h", "#define PATCH_POINTS 4\n#define PATCH_DOMAIN quads\n");
  WriteStage("patch.tsc", {"(Float32) level"},
             "\tOutPosition = InPatchPosition(InInvocationID);\n\tif (InInvocationID == 0u)\n\t{\n"
             "\t\tOutTessLevelOuter[0] = UNIFORM(level);\n\t\tOutTessLevelOuter[1] = UNIFORM(level);\n"
             "\t\tOutTessLevelOuter[2] = UNIFORM(level);\n\t\tOutTessLevelOuter[3] = UNIFORM(level);\n"
             "\t\tOutTessLevelInner[0] = UNIFORM(level);\n\t\tOutTessLevelInner[1] = UNIFORM(level);\n\t}");
  // The middle of the quad sinks into its lower left corner: only where there are vertices inside.
  WriteStage("patch.tse", {"(Float32) sink"},
             "\tvec4 low = mix(InPatchPosition(0), InPatchPosition(1), InTessCoord.y);\n"
             "\tvec4 high = mix(InPatchPosition(3), InPatchPosition(2), InTessCoord.y);\n"
             "\tvec4 p = mix(low, high, InTessCoord.x);\n"
             "\tfloat inside = 16.0 * InTessCoord.x * (1.0 - InTessCoord.x) * InTessCoord.y * (1.0 - InTessCoord.y);\n"
             "\tOutPosition = vec4(p.x, p.y, p.z + inside * UNIFORM(sink), 1.0);");
  WriteStage("patch.frag", {"(out Vector4d32) color"}, "\tcolor = vec4(InFragCoord.z, 0.0, 0.0, 1.0);");
  const auto draw = [&](const char* level) {
    return Draw(
        MakeScene(R"({"stages": ["patch.vert", "patch.tsc", "patch.tse", "patch.frag"], "vertices": {"shape": "quad"},
        "topology": "patches", "patchSize": 4, "uniforms": {"level": )" +
                  std::string(level) + R"(, "sink": 0.25}})"));
  };
  EXPECT_NEAR(GetPixel(draw("1"), 8, 8)[0], 128, 1);
  EXPECT_NEAR(GetPixel(draw("2"), 8, 8)[0], 191, 12);
  EXPECT_NEAR(GetPixel(draw("2"), 0, 0)[0], 128, 12);
}

// The blocks between ``` lines of docs/scene-files.md.
std::vector<std::string> ReadDocumentedBlocks() {
  std::ifstream stream(OSTRA_TEST_SCENE_DOCS);
  std::vector<std::string> blocks;
  Bool isInside = false;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("```")) {
      isInside = !isInside;
      if (isInside) blocks.emplace_back();
    } else if (isInside) {
      blocks.back() += line + "\n";
    }
  }
  return blocks;
}

TEST_F(RenderTest, TheDocumentedExampleDrawsItsTriangle) {
  std::string scene;
  for (const std::string& block : ReadDocumentedBlocks()) {
    if (block.find("KERNEL(FlatVertex") != std::string::npos) _folder.Write("flat.vert", block);
    if (block.find("KERNEL(FlatFragment") != std::string::npos) _folder.Write("flat.frag", block);
    if (block.find("\"passes\"") != std::string::npos) scene = block;
  }
  const Image image = Draw(scene, {});
  EXPECT_EQ(image.width, 640);
  EXPECT_EQ(GetPixel(image, 320, 180), kRedPixel);
  EXPECT_THAT(GetPixel(image, 5, 5), ElementsAre(testing::AnyOf(25, 26), testing::AnyOf(25, 26), 51, 255));
}

TEST_F(RenderTest, TheReportSaysWhatWasDrawn) {
  const std::string scene = MakeScene(MakeFlatDraw(kLeftHalf, kRed));
  const ToolResult table = Run(scene);
  EXPECT_THAT(table.output, HasSubstr("16 x 16"));
  EXPECT_THAT(table.output, HasSubstr(_folder / "out.png"));
  const auto json = nlohmann::json::parse(Run(scene, {"--size", "16x16", "--json"}).output);
  EXPECT_EQ(json.at("size"), nlohmann::json({16, 16}));
  EXPECT_EQ(json.at("vertices"), 6);
  EXPECT_EQ(json.at("draws"), 1);
  EXPECT_GT(json.at("milliseconds"), 0);
  EXPECT_NE(json.at("device"), "");
}

}  // namespace
}  // namespace ostra
