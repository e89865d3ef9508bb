// Wrong scenes: the exit status, one clear line on standard error that names the place, and no picture.
#include <algorithm>
#include <cstdlib>

#include "tests/support/result_matchers.h"
#include "tests/tool/render_fixture.h"

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr int kFailed = 1, kBadUsage = 2;
constexpr const char* kDraw = "scene.json: passes[0].draws[0]";

class RenderErrorsTest : public RenderTest {
 protected:
  // What is found before a device is looked for needs none.
  void SetUp() override { WriteFlatStages(); }

  void Expect(int exitStatus, const std::string& text, const ToolResult& result) {
    EXPECT_EQ(result.exitStatus, exitStatus) << result.errors;
    EXPECT_THAT(result.errors, StartsWith("ostra: "));
    EXPECT_THAT(result.errors, HasSubstr(text));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(std::filesystem::exists(_folder / "out.png"));
  }
  void ExpectDraw(const std::string& text, const std::string& draw) { Expect(kFailed, text, Run(MakeScene(draw))); }
  // A draw with the flat stages that differs in one member.
  void ExpectMember(const std::string& text, const std::string& member) {
    ExpectDraw(text, MakeFlatDraw(kWholeQuad, "[1, 0, 0, 1]", "0.5", member));
  }
};

TEST_F(RenderErrorsTest, TheCommandLineIsChecked) {
  Expect(kBadUsage, "see ostra render --help", RunTool({"render"}));
  Expect(kBadUsage, "--out is required", RunTool({"render", _folder / "scene.json"}));
  Expect(kBadUsage, "--size: the size \"4x\" is not of the form", Run(MakeScene(""), {"--size", "4x"}));
  Expect(kBadUsage, "--size: a picture has two sides of at most 16384 pixels, not 2 x 2 x 2",
         Run(MakeScene(""), {"--size", "2x2x2"}));
  Expect(kBadUsage, "--size: a picture has two sides", Run(MakeScene(""), {"--size", "99999x2"}));
  Expect(kBadUsage, "--size: a picture has at most 134217728 pixels, not 16384 x 16384",
         Run(MakeScene(""), {"--size", "16384x16384"}));
  Expect(kBadUsage, "--set: the scene has no value \"angel\"; did you mean \"angle\"?",
         Run(R"({"values": {"angle": 1}, "passes": [{"draws": []}]})", {"--set", "angel=2"}));
  Expect(kBadUsage, "--set angle: \"two\" is not a number",
         Run(R"({"values": {"angle": 1}, "passes": [{"draws": []}]})", {"--set", "angle=two"}));
  Expect(kBadUsage, "has no suffix that says how to write it; known are .png, .exr",
         RunTool({"render", _folder / "scene.json", "--out", _folder / "out.gif"}));
  Expect(kFailed, "there is no folder", RunTool({"render", _folder / "scene.json", "--out", _folder / "none/out.png"}));
  Expect(kBadUsage, "there is no option \"--ste\"; did you mean \"--set\"?", Run(MakeScene(""), {"--ste", "a=1"}));
}

TEST_F(RenderErrorsTest, APictureHasTwoSides) {
  Expect(kBadUsage, "--size: a picture has a width and a height, such as 64x64", Run(MakeScene(""), {"--size", "64"}));
}

TEST_F(RenderErrorsTest, VerticesThatWouldNotBeDrawnAreRefused) {
  const auto expect = [&](const std::string& text, const char* positions, const std::string& topology) {
    ExpectDraw(std::string(kDraw) + ".vertices: " + text,
               MakeFlatDraw(R"({"attributes": {"position": )" + std::string(positions) + "}}", "[1, 0, 0, 1]", "0.5",
                            R"("topology": ")" + topology + "\""));
  };
  constexpr const char *kOne = "[[0, 0]]", *kTwo = "[[0, 0], [1, 0]]", *kThree = "[[0, 0], [1, 0], [0, 1]]",
                       *kFour = "[[0, 0], [1, 0], [0, 1], [1, 1]]";
  expect("the 2 vertices are no multiple of the 3 corners of a triangle", kTwo, "triangles");
  expect("the 4 vertices are no multiple of the 3 corners of a triangle", kFour, "triangles");
  expect("the 3 vertices are no multiple of the 2 ends of a line", kThree, "lines");
  expect("a triangleStrip needs at least 3 vertices, not 2", kTwo, "triangleStrip");
  expect("a lineStrip needs at least 2 vertices, not 1", kOne, "lineStrip");
}

TEST_F(RenderErrorsTest, ATopologyThatWouldJoinArbitraryVerticesOfAShapeIsRefused) {
  _folder.Write("t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const auto expect = [&](const std::string& text, const char* vertices, const std::string& topology) {
    ExpectDraw(std::string(kDraw) + ".topology: " + text,
               MakeFlatDraw(vertices, "[1, 0, 0, 1]", "0.5", R"("topology": ")" + topology + "\""));
  };
  for (const char* topology : {"lineStrip", "triangleStrip"})
    for (const char* vertices : {R"({"shape": "sphere"})", R"({"model": "t.obj"})"})
      expect(R"(shapes and models are no strips; "lines" draws their edges)", vertices, topology);
  for (const char* topology : {"triangles", "lines", "lineStrip"})
    expect(R"(the shape "points" is drawn with the topology "points")", R"({"shape": "points"})", topology);
}

TEST_F(RenderErrorsTest, WrongTexturesAreBlamedWhereTheyAreDeclaredAndUsed) {
  const auto expect = [&](const std::string& text, const char* type, const char* expression) {
    WriteStage("t.frag", {"(const " + std::string(type) + ") image", "(out Vector4d32) color"},
               "\tcolor = " + std::string(expression) + ";");
    Expect(kFailed, "t.frag:" + text,
           Run(MakeScene(R"({"stages": ["flat.vert", "t.frag"], "vertices": {"shape": "quad"}})")));
  };
  constexpr const char *kGood = "TextureSampler_2D_RGBA_F32_LINEAR", *kUse = "SampleTexture(image, vec2(0.5, 0.5))";
  expect("2: error: there is no texture type \"TextureSampler_2D_RGBA_F23_LINEAR\"; did you mean ",
         "TextureSampler_2D_RGBA_F23_LINEAR", kUse);
  expect(
      "2: error: there is no texture type \"TextureSampler_Cube_RGBA_F32_LINEAR\": textures have 1, 2 or 3 dimensions",
      "TextureSampler_Cube_RGBA_F32_LINEAR", kUse);
  expect("7: error: there is no function \"SampleTextureLod\" of textures; did you mean \"SampleTexture\"?", kGood,
         "SampleTextureLod(image, vec2(0.5, 0.5), 0.0)");
}

TEST_F(RenderErrorsTest, ADepthTestNeedsADepth) {
  const std::string draw = MakeFlatDraw(kWholeQuad, "[1, 0, 0, 1]", "0.5", R"("state": {"depthTest": "less"})");
  Expect(kFailed, std::string(kDraw) + ".state.depthTest: the pass has no depth to test: leave out \"depth\": false",
         Run(MakeScene(draw, R"("depth": false)")));
}

TEST_F(RenderErrorsTest, ADeclarationWithoutATypeIsBlamedAndNotTheScene) {
  WriteStage("flat.frag", {"(Vektor4d32) tint", "(out Vector4d32) color"}, "\tcolor = UNIFORM(tint);");
  ExpectDraw(
      "flat.frag:2: error: the declaration of \"tint\" makes no parameter on the GPU: the type \"Vektor4d32\" is "
      "not known; did you mean \"Vector4d32\"?",
      MakeFlatDraw(kWholeQuad, "[1, 0, 0, 1]"));
  WriteStage("flat.frag", {"(attribute Vector4d32) tint", "(out Vector4d32) color"}, "\tcolor = tint;");
  ExpectDraw("flat.frag:2: error: the parameter \"tint\" is an attribute, which only vertex stages have",
             MakeFlatDraw(kWholeQuad, "[1, 0, 0, 1]"));
}

TEST_F(RenderErrorsTest, ABraceInACommentIsBlamed) {
  WriteStage("flat.frag", {"(Vector4d32) tint", "(out Vector4d32) color"}, "\t// }\n\tcolor = UNIFORM(tint);");
  ExpectDraw("flat.frag:7: error: the brace in this comment ends the block on the GPU",
             MakeFlatDraw(kWholeQuad, "[1, 0, 0, 1]"));
}

TEST_F(RenderErrorsTest, DefinesOfPatchesBelongIntoTheHeader) {
  WriteStage("flat.tsc", {"(Float32) detail"}, "\tOutPosition = InPatchPosition(InInvocationID);");
  _folder.Write("flat.tsc", "#define PATCH_DOMAIN quads\n\n" + _folder.Read("flat.tsc"));
  ExpectDraw("flat.tsc:1: error: this line does not reach the GPU: \"PATCH_DOMAIN\" counts only in the header, flat.h",
             R"({"stages": ["flat.vert", "flat.tsc"], "topology": "patches", "vertices": {"shape": "quad"}})");
}

TEST_F(RenderErrorsTest, AMachineWithoutADriverIsToldTheReason) {
  for (const char* variable : {"VK_ICD_FILENAMES", "VK_DRIVER_FILES"}) setenv(variable, "/no/driver.json", 1);
  Expect(kFailed,
         "there is no GPU device (scenes are drawn on a GPU, or by a driver that plays one): ", Run(MakeScene("")));
  for (const char* variable : {"VK_ICD_FILENAMES", "VK_DRIVER_FILES"}) unsetenv(variable);
}

TEST_F(RenderErrorsTest, FilesThatAreNotThereAreNamed) {
  Expect(kFailed, "none.json cannot be read: No such file",
         RunTool({"render", _folder / "none.json", "--out", _folder / "out.png"}));
  ExpectDraw(std::string(kDraw) + ".stages[0]: " + _folder / "flt.vert" + " cannot be read: No such file",
             R"({"stages": ["flt.vert"], "vertices": {"shape": "quad"}})");
  ExpectDraw("did you mean", R"({"stages": ["flt.vert"], "vertices": {"shape": "quad"}})");
  ExpectDraw(
      std::string(kDraw) + ".vertices.attributes.position: " + _folder / "p.npy" + " cannot be read: No such file",
      MakeFlatDraw(R"({"attributes": {"position": "p.npy"}})", "[1, 0, 0, 1]"));
  ExpectDraw(std::string(kDraw) + ".vertices.model: " + _folder / "m.obj" + " cannot be read: No such file",
             MakeFlatDraw(R"({"model": "m.obj"})", "[1, 0, 0, 1]"));
  _folder.Write("m.obj", "v 1 2\n");
  ExpectDraw("m.obj cannot be read: line 1: there are too few numbers",
             MakeFlatDraw(R"({"model": "m.obj"})", "[1, 0, 0, 1]"));
  Expect(kFailed, "scene.json: kernels.k: " + _folder / "k.krn" + " cannot be read: No such file",
         Run(R"({"kernels": {"k": {"file": "k.krn"}}, "passes": [{"draws": []}]})"));
}

TEST_F(RenderErrorsTest, StagesMustMakeAProgram) {
  _folder.Write("a.geom", "");
  ExpectDraw(std::string(kDraw) + ".stages[0]: " + _folder / "a.geom" +
                 " is no stage: these are .vert, .frag, .tsc and .tse files",
             R"({"stages": ["a.geom"], "vertices": {"shape": "quad"}})");
  ExpectDraw(std::string(kDraw) + ".stages[1]: the program has two .vert files",
             R"({"stages": ["flat.vert", "flat.vert"], "vertices": {"shape": "quad"}})");
  ExpectDraw(std::string(kDraw) + ".stages: a program needs a .vert file",
             R"({"stages": ["flat.frag"], "vertices": {"shape": "quad"}})");
  WriteStage("p.tse", {"(Float32) a"}, "\tOutPosition = InPatchPosition(0);");
  ExpectDraw(std::string(kDraw) + ".stages: a program that divides patches needs a .tsc and a .tse file",
             R"({"stages": ["flat.vert", "p.tse"], "vertices": {"shape": "quad"}})");
  ExpectMember(std::string(kDraw) + ".topology: only programs with .tsc and .tse files draw \"patches\"",
               R"("topology": "patches")");
}

TEST_F(RenderErrorsTest, WhatTheStagesDoNotDeclareComesWithTheNearestName) {
  ExpectDraw(std::string(kDraw) + R"(.uniforms.tnt: the stages have no uniform "tnt"; did you mean "tint"?)",
             R"({"stages": ["flat.vert", "flat.frag"], "vertices": {"shape": "quad"}, "uniforms": {"tnt": 1}})");
  ExpectMember(std::string(kDraw) + R"(.textures.t: the stages have no texture "t"; there are none)",
               R"("textures": {"t": "a.png"})");
  ExpectMember(std::string(kDraw) + R"(.buffers.b: the stages have no buffer "b"; there are none)",
               R"("buffers": {"b": "a.csv"})");
  ExpectDraw(
      std::string(kDraw) +
          R"(.vertices.attributes.positon: the vertex stage has no attribute "positon"; did you mean "position"?)",
      MakeFlatDraw(R"({"attributes": {"positon": [1, 2]}})", "[1, 0, 0, 1]"));
}

TEST_F(RenderErrorsTest, ParametersWithoutAValueAreNamed) {
  ExpectDraw(
      std::string(kDraw) + R"(.uniforms: the uniform "depth" (float32) is missing)",
      R"({"stages": ["flat.vert", "flat.frag"], "vertices": {"shape": "quad"}, "uniforms": {"tint": [1, 0, 0, 1]}})");
  WriteStage(
      "t.frag",
      {"(const TextureSampler_2D_RGBA_F32_LINEAR) picture", "(const Block<Float32>) table", "(out Vector4d32) color"},
      "\tcolor = SampleTexture(picture, vec2(0.5, 0.5)) * UNIFORM_BUFFER(table)[0];");
  const auto makeDraw = [](const std::string& more) {
    return R"({"stages": ["flat.vert", "t.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0})" + more +
           "}";
  };
  ExpectDraw(std::string(kDraw) + R"(.buffers: the buffer "table" is missing)", makeDraw(""));
  _folder.Write("t.csv", "1\n");
  ExpectDraw(std::string(kDraw) + R"(.textures: the texture "picture" is missing)",
             makeDraw(R"(, "buffers": {"table": "t.csv"})"));
  ExpectDraw(std::string(kDraw) + ".textures.picture: " + _folder / "no.png" + " cannot be read: No such file",
             makeDraw(R"(, "buffers": {"table": "t.csv"}, "textures": {"picture": "no.png"})"));
  ExpectDraw(
      R"(.textures.picture: wrap: )",
      makeDraw(R"(, "buffers": {"table": "t.csv"}, "textures": {"picture": {"file": "no.png", "wrap": "round"}})"));
}

TEST_F(RenderErrorsTest, TexturesHaveNoLayers) {
  WriteStage("t.frag", {"(const TextureSampler_2D_R_F32_LINEAR) picture", "(out Vector4d32) color"},
             "\tcolor = SampleTexture(picture, vec2(0.5, 0.5)) * vec4(1.0, 1.0, 1.0, 1.0);");
  ExpectDraw(
      std::string(kDraw) + ".textures.picture: the files are 2 layers, and textures on the GPU have one",
      R"({"stages": ["flat.vert", "t.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0}, "textures": {
                 "picture": {"file": ["zeros:4x4", "zeros:4x4"]}}})");
}

TEST_F(RenderErrorsTest, SingleSamplesAreReadOfPassesThatHaveThem) {
  WriteStage("copy.frag", {"(const TextureSampler_2D_RGBA_F32_POINT) layer", "(out Vector4d32) color"},
             "\tint2 at = int2(1, 1);\n\tcolor = GetFramebufferTexel(PassTexture(layer), at);");
  const auto makeScene = [](const std::string& texture) {
    return R"({"passes": [{"name": "first", "draws": []}, {"samples": 4, "draws": [{"stages": ["flat.vert", "copy.frag"],
        "vertices": {"shape": "quad"}, "uniforms": {"depth": 0}, "textures": {"layer": )" +
           texture + "}}]}]}";
  };
  for (const char* texture : {R"({"pass": "first"})", R"("a.png")"})
    Expect(kFailed,
           R"(passes[1].draws[0].textures.layer: the stage reads single samples of "layer", which only what a pass)",
           Run(makeScene(texture)));
}

TEST_F(RenderErrorsTest, ValuesMustHaveTheTypeOfTheirUniform) {
  ExpectDraw(std::string(kDraw) + ".uniforms.tint: the uniform is 4 x float32, but there are 3 numbers",
             MakeFlatDraw(kWholeQuad, "[1, 0, 0]"));
  ExpectDraw(std::string(kDraw) + ".uniforms.tint: the uniform is 4 x float32, but there are 16 numbers",
             MakeFlatDraw(kWholeQuad, R"({"scale": 1})"));
  ExpectDraw(std::string(kDraw) + ".uniforms.tint: a gradient cannot stand where numbers are needed",
             MakeFlatDraw(kWholeQuad, R"({"gradient": []})"));
  WriteStage("whole.frag", {"(Int32) entry", "(GradientRenderData) ramp", "(out Vector4d32) color"},
             "\tcolor = vec4(float(UNIFORM(entry)), 0.0, 0.0, 1.0);");
  const auto makeDraw = [](const std::string& entry, const std::string& ramp) {
    return R"({"stages": ["flat.vert", "whole.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0, "entry": )" +
           entry + R"(, "ramp": )" + ramp + "}}";
  };
  ExpectDraw(std::string(kDraw) + R"(.uniforms.entry: "1.5" is not a whole number)",
             makeDraw("1.5", R"({"gradient": []})"));
  ExpectDraw(std::string(kDraw) + ".uniforms.ramp: needs a gradient", makeDraw("1", "2"));
}

TEST_F(RenderErrorsTest, VerticesMustFitTheirAttributes) {
  ExpectDraw(std::string(kDraw) + ".vertices.attributes.position: the 3 numbers are no multiple of the 2 of a vertex",
             MakeFlatDraw(R"({"attributes": {"position": [1, 2, 3]}})", "[1, 0, 0, 1]"));
  WriteStage("two.vert", {"(attribute Vector2d32) position", "(attribute Int32) number"},
             "\tOutPosition = vec4(position.x, position.y, float(number), 1.0);");
  const auto makeDraw = [](const std::string& vertices) {
    return R"({"stages": ["two.vert", "flat.frag"], "uniforms": {"tint": [1, 0, 0, 1]}, "vertices": )" + vertices + "}";
  };
  ExpectDraw(std::string(kDraw) + R"(.vertices.attributes: the attribute "number" (int32) is missing)",
             makeDraw(R"({"attributes": {"position": [1, 2]}})"));
  ExpectDraw(std::string(kDraw) + R"(.vertices.attributes.number: these are 2 vertices, and "position" has 1)",
             makeDraw(R"({"attributes": {"position": [1, 2], "number": [1, 2]}})"));
  ExpectDraw(std::string(kDraw) + ".vertices.attributes.number: the attribute takes whole numbers of int32",
             makeDraw(R"({"attributes": {"position": [1, 2], "number": [1.5]}})"));
  ExpectDraw(std::string(kDraw) +
                 R"(.vertices: shapes have no attribute "number"; there are "position", "normal", "uv" and "texUv")",
             makeDraw(R"({"shape": "quad"})"));
}

TEST_F(RenderErrorsTest, MistakesInStageFilesNameTheirLine) {
  _folder.Write("bad.vert",
                "#define KERNELINPUTS \\\n(attribute)\n\nOSTRA_PARALLEL_KERNEL(B, "
                "KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  ExpectDraw("bad.vert:2: error: ", R"({"stages": ["bad.vert", "flat.frag"], "vertices": {"shape": "quad"}})");
  _folder.Write("none.vert", "float f;\n");
  ExpectDraw("none.vert: error: there is no kernel in this file",
             R"({"stages": ["none.vert"], "vertices": {"shape": "quad"}})");
  WriteStage("noise.frag", {"(out Vector4d32) color"},
             "\tADDNOISECALL\n\tcolor = vec4(RenderNoise(0, 1.0, 0.0), 0.0, 0.0, 1.0);");
  ExpectDraw("noise.frag: error: graphics programs have no noises",
             R"({"stages": ["flat.vert", "noise.frag"], "vertices": {"shape": "quad"}})");
}

// From here on the device says no.
class RenderDeviceErrorsTest : public RenderErrorsTest {
 protected:
  void SetUp() override {
    RenderTest::SetUp();
    std::filesystem::remove(_folder / "out.png");
  }
};

TEST_F(RenderDeviceErrorsTest, AStageThatDoesNotCompileNamesItsLine) {
  WriteStage("wrong.frag", {"(Vector4d32) tint", "(out Vector4d32) color"}, "\tcolor = UNIFORM(tnt);");
  const ToolResult result = Run(MakeScene(
      R"({"stages": ["flat.vert", "wrong.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0, "tint": [1, 0, 0, 1]}})"));
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("wrong.frag:7: error: "));
  EXPECT_FALSE(std::filesystem::exists(_folder / "out.png"));
}

TEST_F(RenderDeviceErrorsTest, StagesWhoseVaryingsDoNotMatchAreRefused) {
  WriteStage("lonely.frag", {"(varying Vector32) shade", "(out Vector4d32) color"},
             "\tcolor = vec4(shade.x, shade.y, shade.z, 1.0);");
  const ToolResult result = Run(MakeScene(
      R"({"stages": ["flat.vert", "lonely.frag"], "vertices": {"shape": "quad"}, "uniforms": {"depth": 0}})"));
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("shade"));
  EXPECT_FALSE(std::filesystem::exists(_folder / "out.png"));
}

TEST_F(RenderDeviceErrorsTest, KernelsAndTheirBuffersAreChecked) {
  _folder.Write(
      "net.example.k.krn",
      "#define KERNELINPUTS \\\n(Float32) y, \\\n(Block<Float32>) places\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n"
      "\tuint i = LinearInvocation();\n\tif (i < 3u)\n\t{\n\t\tUNIFORM_BUFFER(places)[i] = UNIFORM(y);\n\t}\n}\n"
      "OSTRA_PARALLEL_KERNEL_END\n");
  const auto makeScene = [](const std::string& kernel, const std::string& vertices) {
    return R"({"kernels": {"k": {"file": "net.example.k.krn", )" + kernel + R"(}}, "passes": [{"draws": [)" +
           MakeFlatDraw(vertices, "[1, 0, 0, 1]", "0.5", R"("topology": "points")") + "]}]}";
  };
  const std::string places = R"({"kernel": "k", "buffer": "places"})";
  Expect(kFailed, R"(scene.json: kernels.k: the uniform "y" (float32) has no value)",
         Run(makeScene(R"("size": [3])", places)));
  Expect(kFailed, R"(scene.json: kernels.k: "set": the kernel has no uniform "z")",
         Run(makeScene(R"("size": [3], "set": {"y": 1, "z": 2})", places)));
  Expect(kFailed, "scene.json: passes[0].draws[0].vertices: the buffer has 12 bytes, and a vertex has 8",
         Run(makeScene(R"("size": [3], "set": {"y": 1})", places)));
  Expect(
      kFailed,
      R"(scene.json: passes[0].draws[0].vertices.buffer: the kernel "k" has no buffer "place"; did you mean "places"?)",
      Run(makeScene(R"("size": [3], "set": {"y": 1})", R"({"kernel": "k", "buffer": "place"})")));
  Expect(kFailed, "the buffer has 16 bytes, and a vertex has 8, of which there should be 3",
         Run(makeScene(R"("size": [4], "set": {"y": 1})", R"({"kernel": "k", "buffer": "places", "count": 3})")));
}

TEST_F(RenderErrorsTest, WithoutADeviceThereIsOneLine) {
  // The tool inherits the environment; both names, as loaders of either age read them.
  for (const char* name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) ASSERT_EQ(setenv(name, "/nonexistent.json", 1), 0);
  const ToolResult result = Run(MakeScene(""));
  for (const char* name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) ASSERT_EQ(unsetenv(name), 0);
  Expect(kFailed, "scenes are drawn on a GPU, or by a driver that plays one", result);
}

TEST_F(RenderErrorsTest, TargetsBeyondTheMemoryOfTheDeviceAreRefusedBeforeTheyAreMade) {
  const std::string pass = R"({"colors": ["rgba.f32", "rgba.f32", "rgba.f32", "rgba.f32"], "draws": []})";
  std::string passes = pass;
  for (int i = 1; i < 64; ++i) passes += ", " + pass;
  const ToolResult result = Run(R"({"passes": [)" + passes + "]}", {"--size", "16384x8192"});
  if (result.errors.find("there is no GPU") != std::string::npos) GTEST_SKIP() << result.errors;
  Expect(kFailed, "the targets of its 64 passes need 544.0 GiB of memory, and the device has ", result);
}

}  // namespace
}  // namespace ostra
