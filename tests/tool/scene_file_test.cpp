// Scene files: what they say, and one clear line for what they cannot say.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

#include "plans/scene/scene.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;
using testing::StartsWith;

constexpr const char* kWhole = R"({
  "size": [640, 360], "stageFolder": "../stages",
  "values": {"view": {"lookAt": {"eye": [0, 1, 5], "target": [0, 0, 0]}},
             "lens": {"perspective": {"fieldOfView": 45, "near": 0.1, "far": 50}}},
  "kernels": {"swarm": {"file": "swarm.krn", "size": [4096], "iterations": 3, "swap": [["from", "to"]],
                        "set": {"time": 1.5, "count": 1000000, "offset": [1, 2.25], "noiseMode_0": "gaseous"}, "in": {"seeds": "a.npy"}}},
  "passes": [
    {"name": "back", "size": [64, 32], "colors": ["rgba.f16", "rgba.u8"], "samples": 4, "depth": true,
     "clear": {"colors": [[0, 0, 0, 1], [1, 0.5, 0, 1]], "depth": 0.5},
     "draws": [{"stages": ["a.vert", "a.frag"], "topology": "points",
                "vertices": {"kernel": "swarm", "buffer": "to", "count": 100},
                "uniforms": {"camera": {"product": ["lens", "view"]}, "light": [1, 2, 3]},
                "buffers": {"heights": "h.npy", "others": {"kernel": "swarm", "buffer": "from"}},
                "state": {"depthTest": "less", "cullMode": 2, "frontFace": "clockwise", "useAlphaBlending": false}}]},
    {"draws": [{"stages": ["b.vert", "b.frag"], "vertices": {"shape": "quad"},
                "textures": {"photo": "p.png", "layers": {"file": ["1.png", "2.png"], "wrap": "repeat", "channels": "rgb"},
                             "first": {"pass": "back", "target": "color1"}, "depth": {"pass": "back", "target": "depth"}}}]}
  ]})";

TEST(SceneFileTest, EverythingThatAFileSaysIsRead) {
  const auto parsed = ParseScene(kWhole, "scene.json");
  ASSERT_THAT(parsed, IsOk());
  const Scene& scene = *parsed;
  EXPECT_EQ(scene.size, (Extents{640, 360, 1}));
  EXPECT_EQ(scene.stageFolder, "../stages");
  EXPECT_EQ(scene.values.at("view").parts[0].numbers, (std::vector<Float64>{0, 1, 5}));
  EXPECT_EQ(scene.values.at("view").parts[2].numbers, (std::vector<Float64>{0, 1, 0}));
  const SceneKernel& kernel = scene.kernels.at("swarm");
  EXPECT_EQ(kernel.file, "swarm.krn");
  EXPECT_EQ(kernel.size, (Extents{4096, 1, 1}));
  EXPECT_EQ(kernel.iterationCount, 3);
  EXPECT_THAT(kernel.swaps, ElementsAre(Pair("from", "to")));
  EXPECT_THAT(kernel.settings, ElementsAre(Pair("count", "1000000"), Pair("noiseMode_0", "gaseous"),
                                           Pair("offset", "1,2.25"), Pair("time", "1.5")));
  EXPECT_THAT(kernel.inputs, ElementsAre(Pair("seeds", "a.npy")));

  ASSERT_EQ(scene.passes.size(), 2u);
  const ScenePass& back = scene.passes[0];
  EXPECT_EQ(back.size, (Extents{64, 32, 1}));
  EXPECT_THAT(back.colorFormats, ElementsAre("rgba.f16", "rgba.u8"));
  EXPECT_EQ(back.sampleCount, 4);
  EXPECT_EQ(back.clearColors[1], (std::vector<Float64>{1, 0.5, 0, 1}));
  EXPECT_EQ(back.clearDepth, 0.5);
  const SceneDraw& points = back.draws[0];
  EXPECT_THAT(points.stages, ElementsAre("a.vert", "a.frag"));
  EXPECT_EQ(points.topology, SceneTopology::Points);
  EXPECT_EQ(points.vertices.kernelBuffer->buffer, "to");
  EXPECT_EQ(points.vertices.count, 100);
  EXPECT_EQ(points.uniforms.at("camera").parts[1].name, "view");
  EXPECT_EQ(points.uniforms.at("camera").path, "passes[0].draws[0].uniforms.camera");
  EXPECT_EQ(points.buffers.at("heights").file, "h.npy");
  EXPECT_EQ(points.buffers.at("others").kernelBuffer.buffer, "from");
  EXPECT_EQ(points.state.depthTest, 1);
  EXPECT_EQ(points.state.cullMode, 2);
  EXPECT_EQ(points.state.frontFace, 1);
  EXPECT_EQ(points.state.useAlphaBlending, false);
  const auto& textures = scene.passes[1].draws[0].textures;
  EXPECT_THAT(textures.at("photo").files, ElementsAre("p.png"));
  EXPECT_THAT(textures.at("layers").files, ElementsAre("1.png", "2.png"));
  EXPECT_EQ(textures.at("layers").settings, "wrap=repeat,channels=rgb");
  EXPECT_EQ(textures.at("first").pass, 0);
  EXPECT_EQ(textures.at("first").target, 1);
  EXPECT_TRUE(textures.at("depth").isDepth);
}

TEST(SceneFileTest, WhatIsNotSaidHasADefault) {
  const auto scene =
      ParseScene(R"({"passes": [{"draws": [{"stages": ["a.vert"], "vertices": {"shape": "box"}}]}]})", "scene.json");
  ASSERT_THAT(scene, IsOk());
  EXPECT_EQ(scene->size, (Extents{1280, 720, 1}));
  const ScenePass& pass = scene->passes[0];
  EXPECT_FALSE(pass.size.IsKnown());
  EXPECT_THAT(pass.colorFormats, ElementsAre("rgba.u8"));
  EXPECT_TRUE(pass.hasDepth);
  EXPECT_EQ(pass.sampleCount, 1);
  EXPECT_EQ(pass.clearColors[0], (std::vector<Float64>{0, 0, 0, 1}));
  EXPECT_EQ(pass.clearDepth, 1);
  EXPECT_EQ(pass.draws[0].topology, SceneTopology::Triangles);
  // What is left out is the loader's to choose.
  EXPECT_FALSE(pass.draws[0].state.depthTest);
  EXPECT_FALSE(pass.draws[0].state.useAlphaBlending);
}

TEST(SceneFileTest, AModelIsAFile) {
  const auto scene = ParseScene(
      R"({"passes": [{"draws": [{"stages": ["a.vert"], "vertices": {"model": "vase.obj"}}]}]})", "scene.json");
  ASSERT_THAT(scene, IsOk());
  EXPECT_EQ(scene->passes[0].draws[0].vertices.model, "vase.obj");
}

TEST(SceneFileTest, AttributesAreNumbersInARowOrAnArrayForEachVertexOrAFile) {
  const auto scene = ParseScene(
      R"({"passes": [{"draws": [{"stages": ["a.vert"], "vertices": {"attributes": {
          "position": [[0, 1], [2, 3]], "weight": [4, 5], "color": "c.npy"}}}]}]})",
      "scene.json");
  ASSERT_THAT(scene, IsOk());
  const auto& attributes = scene->passes[0].draws[0].vertices.attributes;
  EXPECT_EQ(attributes.at("position").numbers, (std::vector<Float64>{0, 1, 2, 3}));
  EXPECT_EQ(attributes.at("weight").numbers, (std::vector<Float64>{4, 5}));
  EXPECT_EQ(attributes.at("color").file, "c.npy");
}

// A file that is right but for one part of a draw, a pass, or the whole.
std::string WithDraw(const std::string& draw) {
  return R"({"values": {"sun": [1, 2, 3]}, "kernels": {"swarm": {"file": "s.krn"}}, "passes": [{"name": "one", "depth": false,
    "draws": []}, {"draws": [)" +
         draw + "]}]}";
}
std::string WithMember(const std::string& member) {
  return WithDraw(R"({"stages": ["a.vert"], "vertices": {"shape": "quad"}, )" + member + "}");
}
std::string WithVertices(const std::string& vertices) {
  return WithDraw(R"({"stages": ["a.vert"], "vertices": )" + vertices + "}");
}
std::string WithPass(const std::string& members) { return R"({"passes": [{"draws": [], )" + members + "}]}"; }
std::string WithUniform(const std::string& value) { return WithMember(R"("uniforms": {"light": )" + value + "}"); }

struct BadScene {
  std::string text;
  std::string message;  // behind "scene.json:"
};

void PrintTo(const BadScene& scene, std::ostream* stream) { *stream << scene.message; }

class BadSceneTest : public testing::TestWithParam<BadScene> {};

TEST_P(BadSceneTest, GivesOneLineThatNamesThePlace) {
  const auto scene = ParseScene(GetParam().text, "scene.json");
  ASSERT_THAT(scene, IsErrorOfKind(kIllegalArgumentError));
  const std::string message(scene.GetError().GetMessage().GetView());
  EXPECT_THAT(message, StartsWith("scene.json:" + GetParam().message));
  EXPECT_EQ(message.find('\n'), std::string::npos) << message;
}

const std::string kDraw = " passes[1].draws[0]";

INSTANTIATE_TEST_SUITE_P(
    Texts, BadSceneTest,
    testing::Values(
        BadScene{"", "1:1: error while parsing value - unexpected end of input"},
        BadScene{"{\n  \"size\": [1,\n", "3:1: error while parsing value - unexpected end of input"},
        BadScene{"{\"size\" [1]}", "1:9: error while parsing object separator - unexpected '['; expected ':'"},
        BadScene{"{} x", "1:4: error while parsing value"}, BadScene{"{\"size\": 1e999}", " number overflow"},
        BadScene{"{\"size\": \"\xff\"}", "1:11: error while parsing value - invalid string: ill-formed UTF-8 byte"},
        BadScene{R"({"size": [1, 1], "size": [2, 2]})", R"( the key "size" stands twice in one object)"},
        BadScene{"[]", " needs an object, but this is an array"},
        BadScene{"3", " needs an object, but this is a number"}, BadScene{"{}", R"( "passes" is missing)"},
        BadScene{R"({"pases": []})", R"( there is no key "pases"; did you mean "passes"?)"},
        BadScene{"{\"a\\nb\": []}", R"( there is no key "a\nb"; there are)"},
        BadScene{R"({"passes": []})", " passes: a scene needs at least one pass"},
        BadScene{R"({"passes": {}})", " passes: needs an array, but this is an object"},
        BadScene{R"({"passes": [{"draws": [], "colors": []}]})",
                 " passes[0]: the last pass draws the picture and needs a colour target"},
        BadScene{R"({"size": [640], "passes": []})", " size: needs two numbers: width and height"},
        BadScene{R"({"size": [640, 0], "passes": []})",
                 " size[1]: needs a whole number from 1 to 16384, but this is 0"},
        BadScene{R"({"size": [16384, 8193], "passes": []})", " size: a picture has at most 134217728 pixels"},
        BadScene{R"({"size": [640, 1.5], "passes": []})",
                 " size[1]: needs a whole number from 1 to 16384, but this is 1.5"},
        BadScene{R"({"size": [640, "x"], "passes": []})", " size[1]: needs a number, but this is a text"}));

INSTANTIATE_TEST_SUITE_P(
    Passes, BadSceneTest,
    testing::Values(
        BadScene{R"({"passes": [{}]})", R"( passes[0]: "draws" is missing)"},
        BadScene{WithPass(R"("colors": ["rgba.f61"])"),
                 R"( passes[0].colors[0]: there is no "rgba.f61"; did you mean "rgba.f16"?)"},
        BadScene{WithPass(R"("colors": [], "depth": false)"), " passes[0]: the pass has nothing to draw into"},
        BadScene{WithPass(R"("samples": 3)"), " passes[0].samples: needs 1, 2, 4 or 8"},
        BadScene{WithPass(R"("samples": 16)"), " passes[0].samples: needs a whole number from 1 to 8"},
        BadScene{WithPass(R"("depth": 1)"), " passes[0].depth: needs true or false, but this is a number"},
        BadScene{WithPass(R"("clear": {"color": [1, 2, 3]})"),
                 " passes[0].clear.color: needs 4 numbers, but there are 3"},
        BadScene{WithPass(R"("clear": {"depth": 2})"), " passes[0].clear.depth: depths lie between 0 and 1"},
        BadScene{WithPass(R"("clear": {"colors": []})"), " passes[0].clear.colors: the pass has 1 colour target"},
        BadScene{WithPass(R"("name": "a\nb")"), " passes[0].name: texts cannot have line ends"},
        BadScene{R"({"passes": [{"name": "a", "draws": []}, {"name": "a", "draws": []}]})",
                 R"( passes[1].name: another pass has the name "a")"}));

INSTANTIATE_TEST_SUITE_P(
    Draws, BadSceneTest,
    testing::Values(
        BadScene{WithDraw("{}"), kDraw + R"(: "stages" is missing)"},
        BadScene{WithDraw(R"({"stages": []})"), kDraw + ".stages: a program needs stage files"},
        BadScene{WithDraw(R"({"stages": [""]})"), kDraw + ".stages[0]: a name of a file cannot be empty"},
        BadScene{WithDraw(R"({"stages": ["a.vert"]})"), kDraw + R"(: "vertices" is missing)"},
        BadScene{WithMember(R"("topology": "triangle")"),
                 kDraw + R"(.topology: there is no "triangle"; did you mean "triangles"?)"},
        BadScene{WithMember(R"("patchSize": 3)"), kDraw + R"(.patchSize: only "patches" have control points)"},
        BadScene{WithMember(R"("topology": "patches", "patchSize": 33)"),
                 kDraw + ".patchSize: needs a whole number from 1 to 32"},
        BadScene{WithMember(R"("state": {"depthTest": "les"})"),
                 kDraw + R"(.state.depthTest: there is no "les"; did you mean "less"?)"},
        BadScene{WithMember(R"("state": {"depthTest": 8})"),
                 kDraw + ".state.depthTest: needs a whole number from 0 to 7, but this is 8"},
        BadScene{WithMember(R"("state": {"depthtest": 1})"),
                 kDraw + R"(.state: there is no key "depthtest"; did you mean "depthTest"?)"},
        BadScene{WithMember(R"("state": {"useAlphaBlending": 1})"),
                 kDraw + ".state.useAlphaBlending: needs true or false"},
        BadScene{WithMember(R"("textures": {"t": {"pass": "two"}})"),
                 kDraw + R"(.textures.t.pass: there is no earlier pass "two"; there is "one")"},
        BadScene{WithMember(R"("textures": {"t": {"pass": "one", "target": "depth"}})"),
                 kDraw + R"(.textures.t.target: there is no "depth"; there is "color")"},
        BadScene{WithMember(R"("textures": {"t": {"wrap": "repeat"}})"), kDraw + R"(.textures.t: "file" is missing)"},
        BadScene{WithMember(R"("textures": {"t": {"file": "a.png", "wrap": "a,b=c"}})"),
                 kDraw + R"(.textures.t.wrap: there is no "a,b=c")"},
        BadScene{WithMember(R"("textures": {"t": []})"), kDraw + ".textures.t: needs at least one file"},
        BadScene{WithMember(R"("textures": {"a b": "x.png"})"), kDraw + R"(.textures: "a b" is no name)"},
        BadScene{WithMember(R"("buffers": {"b": {"kernel": "swam", "buffer": "p"}})"),
                 kDraw + R"(.buffers.b.kernel: there is no kernel "swam"; did you mean "swarm"?)"},
        BadScene{WithMember(R"("buffers": {"b": {"kernel": "swarm"}})"),
                 kDraw + R"(.buffers.b: "buffer" is missing)"}));

INSTANTIATE_TEST_SUITE_P(
    Vertices, BadSceneTest,
    testing::Values(
        BadScene{WithVertices("{}"), kDraw + R"(.vertices: "attributes" is missing)"},
        BadScene{WithVertices(R"({"shape": "tours"})"),
                 kDraw + R"(.vertices.shape: there is no "tours"; did you mean "torus"?)"},
        BadScene{WithVertices(R"({"shape": "quad", "radius": 1})"),
                 kDraw + R"(.vertices: there is no key "radius"; there are "shape" and "size")"},
        BadScene{WithVertices(R"({"shape": "sphere", "radius": 0})"),
                 kDraw + ".vertices.radius: needs a number above 0"},
        BadScene{WithVertices(R"({"shape": "sphere", "segments": [2, 3]})"),
                 kDraw + ".vertices.segments[0]: needs a whole number from 3 to 4096"},
        BadScene{WithVertices(R"({"shape": "grid", "segments": [4096, 4096]})"),
                 kDraw + ".vertices.segments: these are more than 16777216 vertices"},
        BadScene{WithVertices(R"({"attributes": {}})"), kDraw + ".vertices.attributes: there are no attributes"},
        BadScene{WithVertices(R"({"attributes": {"p": []}})"), kDraw + ".vertices.attributes.p: there are no vertices"},
        BadScene{WithVertices(R"({"attributes": {"p": [[1, 2], [1]]}})"),
                 kDraw + ".vertices.attributes.p[1]: the vertices have different numbers of components"},
        BadScene{WithVertices(R"({"attributes": {"p": [1, "x"]}})"),
                 kDraw + ".vertices.attributes.p[1]: needs a number"},
        BadScene{WithVertices(R"({"kernel": "swarm", "buffer": "p", "count": 0})"),
                 kDraw + ".vertices.count: needs a whole number from 1"}));

INSTANTIATE_TEST_SUITE_P(
    Values, BadSceneTest,
    testing::Values(
        BadScene{WithUniform("null"), kDraw + ".uniforms.light: needs a number, an array of numbers"},
        BadScene{WithUniform("[]"), kDraw + ".uniforms.light: needs 1 to 64 numbers, but there are 0"},
        BadScene{WithUniform("[[1, 2], [3]]"), kDraw + ".uniforms.light[1]: needs 2 numbers, but there are 1"},
        BadScene{WithUniform(R"("sum")"), kDraw + R"(.uniforms.light: there is no value "sum"; did you mean "sun"?)"},
        BadScene{WithUniform("{}"), kDraw + ".uniforms.light: needs exactly one key"},
        BadScene{WithUniform(R"({"lokAt": {}})"),
                 kDraw + R"(.uniforms.light: there is no key "lokAt"; did you mean "lookAt"?)"},
        BadScene{WithUniform(R"({"lookAt": {"eye": [0, 0, 0]}})"),
                 kDraw + R"(.uniforms.light.lookAt: "target" is missing)"},
        BadScene{WithUniform(R"({"perspective": {"fieldOfView": 180, "near": 1, "far": 2}})"),
                 kDraw + ".uniforms.light.perspective: the field of view must be below 180"},
        BadScene{WithUniform(R"({"perspective": {"fieldOfView": 60, "near": 2, "far": 1}})"),
                 kDraw + R"(.uniforms.light.perspective: "near" must be below "far")"},
        BadScene{WithUniform(R"({"translate": [1, 2]})"),
                 kDraw + ".uniforms.light.translate: needs 3 numbers, but there are 2"},
        BadScene{WithUniform(R"({"product": []})"), kDraw + ".uniforms.light.product: needs at least one matrix"},
        BadScene{WithUniform(R"({"gradient": [[2, 0, 0, 0]]})"),
                 kDraw + ".uniforms.light.gradient[0]: the position of a knot lies between 0 and 1"},
        BadScene{R"({"values": {"a": {"inverse": "b"}, "b": "a"}, "passes": []})",
                 R"( values.a.inverse: the value "b" is made of itself)"},
        BadScene{WithPass(R"("draws2": 0)"), R"( passes[0]: there is no key "draws2"; did you mean "draws"?)"}));

TEST(SceneFileTest, ValuesNestedWithoutEndAreRefused) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += R"({"inverse":)";
  const auto scene =
      ParseScene(R"({"values": {"a": )" + text + "1" + std::string(100000, '}') + R"(}, "passes": []})", "scene.json");
  ASSERT_THAT(scene, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(scene.GetError().GetMessage().GetView()), HasSubstr("nested more than 16 times"));
}

TEST(SceneFileTest, ValuesMadeOfEachOtherManyTimesAreRefusedOrComputedOnce) {
  std::string values = R"("v0": [[1, 0], [0, 1]])";
  for (int i = 1; i < 60; ++i) {
    const std::string before = "\"v" + std::to_string(i - 1) + "\"";
    values += ", \"v" + std::to_string(i) + "\": {\"product\": [" + before + ", " + before + ", " + before + "]}";
  }
  const auto scene = ParseScene("{\"values\": {" + values + R"(}, "passes": []})", "scene.json");
  ASSERT_THAT(scene, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(scene.GetError().GetMessage().GetView()),
              HasSubstr("more than 32 values are made of each other"));
}

}  // namespace
}  // namespace ostra::tool
