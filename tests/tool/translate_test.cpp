// ostra translate: the report for people, the JSON object, and what goes wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::ordered_json;

constexpr int kFailed = 1, kBadUsage = 2;

constexpr const char* kKernel =
    "#include \"k.h\"\n"
    "#define KERNELINPUTS \\\n"
    "(Float32) scale, \\\n"
    "(const Block<Particle>) particles, \\\n"
    "(AtomicUInt32*) hits, \\\n"
    "(TextureSampler_2D_RGBA_F32_LINEAR) image\n"
    "\n"
    "GROUPSIZE(8, 4, 2)\n"
    "\n"
    "// At file scope.\n"
    "inline void Push(inout Vector32 v, Float32 x)\n"
    "{\n"
    "\tv = v * x;\n"
    "}\n"
    "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n"
    "{\n"
    "\tGROUPSHAREDMEM(float, cache, 8)\n"
    "\tTYPE a = Sqrt(2.0);\n"
    "\tADDNOISECALL\n"
    "}\n"
    "OSTRA_PARALLEL_KERNEL_END\n";
constexpr const char* kHeader =
    "#define LIMIT 8\n"
    "struct Particle\n"
    "{\n"
    "Vector32 position;\n"
    "Float32 mass;\n"
    "};\n"
    "inline Float32 Broken(Float32 a Float32 b)\n"
    "{\n"
    "\treturn a;\n"
    "}\n";

class TranslateTest : public testing::Test {
 protected:
  void SetUp() override {
    _folder.Write("k.krn", kKernel);
    _folder.Write("k.h", kHeader);
  }
  ToolResult Translate(std::vector<std::string> options) {
    options.insert(options.begin(), {"translate", _folder / "k.krn"});
    return RunTool(options);
  }
  Json TranslateToJson(std::vector<std::string> options, int exitStatus = 0) {
    options.emplace_back("--json");
    const ToolResult result = Translate(options);
    EXPECT_EQ(result.exitStatus, exitStatus) << result.errors;
    Json json = Json::parse(result.output, nullptr, false);
    EXPECT_FALSE(json.is_discarded()) << result.output;
    return json;
  }

  TemporaryFolder _folder;
};

std::vector<std::string> GetKeys(const Json& json) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : json.items()) keys.push_back(key);
  return keys;
}

TEST_F(TranslateTest, TheObjectHasItsKeysInOrder) {
  EXPECT_THAT(GetKeys(TranslateToJson({"--target", "HLSL"})),
              testing::ElementsAre("targetLanguage", "workGroupSize", "noiseCallCount", "kernelCode", "globalCode",
                                   "functions", "inputEntries", "textureEntries", "structs", "defines",
                                   "groupSharedDeclarations", "metalBufferCount", "metalImageCount", "diagnostics"));
}

TEST_F(TranslateTest, TheObjectSaysWhatWasCollected) {
  const Json json = TranslateToJson({"--target", "METAL", "--template-argument", "float"});
  EXPECT_EQ(json["targetLanguage"], "METAL");
  EXPECT_EQ(json["workGroupSize"], Json::array({8, 4, 2}));
  EXPECT_EQ(json["noiseCallCount"], 1);
  EXPECT_EQ(json["kernelCode"], "{\n\nfloat a = sqrt(2.0);\nADDNOISECALL\n}");
  EXPECT_EQ(json["globalCode"], Json::array({"// At file scope.\n"}));
  EXPECT_EQ(json["defines"], Json::array({"#define LIMIT 8"}));
  EXPECT_EQ(json["groupSharedDeclarations"], Json::array({"groupSharedMemory float cache[8]; \n"}));
  EXPECT_EQ(json["metalBufferCount"], 1);
  EXPECT_EQ(json["metalImageCount"], 1);
  EXPECT_EQ(json["diagnostics"], Json::array());
  EXPECT_EQ(json["inputEntries"], Json::parse(R"([{"dataType": "float32", "typeName": "", "name": "scale", "kind": 0},
                            {"dataType": null, "typeName": "Particle", "name": "particles", "kind": 1},
                            {"dataType": "atomicuint32", "typeName": "", "name": "hits", "kind": 0}])"));
  EXPECT_EQ(json["textureEntries"],
            Json::parse(R"([{"textureType": 6, "format": "net.ostra.image.pixelformat.rgba.f32", "name": "image",
                             "linear": true, "readOnly": false}])"));
  EXPECT_EQ(json["structs"], Json::parse(R"([{"name": "Particle",
                             "members": [{"dataType": "vec3f", "typeName": "", "name": "position", "kind": 0},
                                         {"dataType": "float32", "typeName": "", "name": "mass", "kind": 0}],
                             "memberLines": ["Vector32 position;", "Float32 mass;"], "byteSize": 16}])"));
}

TEST_F(TranslateTest, FunctionsHaveADefinitionOrTheReasonWhyNot) {
  const Json json = TranslateToJson({"--target", "METAL"});
  ASSERT_EQ(json["functions"].size(), 2u);
  EXPECT_THAT(GetKeys(json["functions"][0]), testing::ElementsAre("declaration", "body", "definitionError"));
  EXPECT_EQ(json["functions"][0]["declaration"], "Float32 Broken(Float32 a Float32 b)");
  EXPECT_THAT(json["functions"][0]["definitionError"].get<std::string>(),
              StartsWith("Expected comma, got IDENTIFIER. "));
  EXPECT_THAT(GetKeys(json["functions"][1]), testing::ElementsAre("declaration", "body", "definition"));
  EXPECT_EQ(json["functions"][1]["definition"], "void Push(thread Vector32& v, Float32 x)\n{\nv = v * x;\n}\n");
}

TEST_F(TranslateTest, EveryTypeOfValueHasItsName) {
  const std::pair<const char*, const char*> types[] = {{"Float32", "float32"},
                                                       {"vec2", "vec2f"},
                                                       {"float3", "vec3f"},
                                                       {"Vector4d32", "vec4f"},
                                                       {"Matrix32", "mat4f"},
                                                       {"mat3", "mat3f"},
                                                       {"UInt32", "uint32"},
                                                       {"int", "int32"},
                                                       {"Vec4<UInt32>", "vec4u"},
                                                       {"int4", "vec4i"},
                                                       {"AtomicUInt32", "atomicuint32"},
                                                       {"GradientRenderData*", "gradientrenderdata"},
                                                       {"HalfFloat", "float16"},
                                                       {"half2", "vec2h"},
                                                       {"Vec3<HalfFloat>", "vec3h"},
                                                       {"half4", "vec4h"}};
  std::string declarations = "#define KERNELINPUTS \\\n";
  for (const auto& [type, name] : types) declarations.append("(").append(type).append(") x, \\\n");
  _folder.Write("k.krn", declarations + "\n");
  const Json json = TranslateToJson({"--target", "GLSL"});
  ASSERT_EQ(json["inputEntries"].size(), std::size(types));
  for (std::size_t i = 0; i < std::size(types); ++i) EXPECT_EQ(json["inputEntries"][i]["dataType"], types[i].second);
}

TEST_F(TranslateTest, OptionsReachTheParser) {
  _folder.Write("k.krn",
                "OSTRA_PARALLEL_KERNEL(K, K)\n{\nONLY_USE_FIRST_MSAA_SAMPLE\nTYPE a;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  EXPECT_EQ(TranslateToJson({"--target", "GLSL"})["kernelCode"], "{\n\nTYPE a;\n}");
  EXPECT_EQ(TranslateToJson({"--target", "GLSL", "--multisampling", "4", "--template-argument", "vec2"})["kernelCode"],
            "{\nif (InSampleID > 0) discard;\nvec2 a;\n}");
}

TEST_F(TranslateTest, AFailureIsAnObjectWithTheErrorAndALineForPeople) {
  _folder.Write("k.krn", "GROUPSIZE(8,8,1)\n");
  const ToolResult result = Translate({"--target", "HLSL", "--json"});
  EXPECT_EQ(result.exitStatus, kFailed);
  const Json json = Json::parse(result.output);
  EXPECT_THAT(GetKeys(json), testing::ElementsAre("error", "diagnostics"));
  EXPECT_THAT(GetKeys(json["error"]), testing::ElementsAre("kind", "message", "unit", "line"));
  EXPECT_EQ(json["error"]["message"], "GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only");
  EXPECT_EQ(json["error"]["unit"], "shaderparser");
  EXPECT_GT(json["error"]["line"].get<int>(), 0);
  EXPECT_EQ(result.errors, "ostra: GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only\n");
}

TEST_F(TranslateTest, PeopleAreToldThePlaceOfAFailure) {
  _folder.Write("k.krn", "\nGROUPSIZE(8,8,1)\n");
  EXPECT_EQ(Translate({"--target", "HLSL"}).errors,
            "ostra: " + (_folder / "k.krn") +
                ":2: error: GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only\n");
  _folder.Write("k.h", "\nstruct A\n{\nstruct B\n");
  EXPECT_THAT(Translate({"--target", "HLSL"}).errors, StartsWith("ostra: " + (_folder / "k.h") + ":4: error: "));
}

TEST_F(TranslateTest, AFileWithoutAKernelIsSaidToBeOne) {
  _folder.Write("k.krn", "int a;\n");
  const ToolResult result = Translate({"--target", "HLSL"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors,
            "ostra: " + (_folder / "k.krn") +
                ": warning: there is no kernel in this file, or it does not end: write OSTRA_PARALLEL_KERNEL(Name, "
                "KERNELINPUTS), its body in braces on the lines below, and OSTRA_PARALLEL_KERNEL_END\n");
}

TEST_F(TranslateTest, WhatCannotBeReadIsCalledAsByOtherCommands) {
  for (const char* name : {"missing.krn", ""})
    EXPECT_EQ(RunTool({"translate", _folder / name, "--target", "GLSL"}).errors,
              RunTool({"run", _folder / name, "--set", "count=1"}).errors);
}

TEST_F(TranslateTest, AMissingFileIsAnObjectToo) {
  const ToolResult result = RunTool({"translate", _folder / "missing.krn", "--target", "GLSL", "--json"});
  EXPECT_EQ(result.exitStatus, kFailed);
  const Json json = Json::parse(result.output, nullptr, false);
  ASSERT_FALSE(json.is_discarded()) << result.output;
  EXPECT_EQ(json["error"]["kind"], "net.ostra.interface.illegalargumenterror");
}

TEST_F(TranslateTest, TheKindOfAnErrorIsTold) {
  _folder.Write("k.krn", "GROUPSIZE(8,8,1)\n");
  EXPECT_EQ(TranslateToJson({"--target", "HLSL"}, kFailed)["error"]["kind"],
            "net.ostra.interface.illegalargumenterror");
  const std::string kernel = "OSTRA_PARALLEL_KERNEL(K, K)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  _folder.Write("k.krn", kernel + kernel);
  EXPECT_EQ(TranslateToJson({"--target", "HLSL"}, kFailed)["error"]["kind"], "net.ostra.interface.illegalstateerror");
}

TEST_F(TranslateTest, DiagnosticsAreListed) {
  _folder.Write("k.h", "struct Open\n{\nFloat32 a;\n");
  const Json json = TranslateToJson({"--target", "HLSL"}, kFailed);
  ASSERT_EQ(json["diagnostics"].size(), 1u);
  EXPECT_THAT(json["diagnostics"][0].get<std::string>(), StartsWith("Error parsing shader "));
}

TEST_F(TranslateTest, PeopleGetPiecesUnderHeadings) {
  const ToolResult result = Translate({"--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  for (const char* part :
       {"target       GLSL", "work group   8 x 4 x 2", "  scale      float32", "buffer, read only", "writable image",
        "--- defines\n#define LIMIT 8\n", "--- struct Particle, 16 bytes",
        "--- function that cannot be defined: Expected comma", "--- group-shared memory", "--- kernel\n{\n"})
    EXPECT_THAT(result.output, HasSubstr(part));
}

TEST_F(TranslateTest, TextThatIsNotUtf8IsRefusedInALine) {
  _folder.Write("k.krn", "OSTRA_PARALLEL_KERNEL(K, K)\n{\nint a = 1; // \xFF\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result = Translate({"--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, StartsWith("ostra: "));
}

TEST_F(TranslateTest, SourcesOnWhichTheTranslatorWouldNotEndAreRefused) {
  _folder.Write("k.krn", "OSTRA_PARALLEL_KERNEL(K, K)\n{\nATOMIC\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult result = Translate({"--target", "GLSL"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, HasSubstr("k.krn:3: error: "));
}

TEST_F(TranslateTest, WrongUsageIsExitStatus2) {
  EXPECT_EQ(Translate({"--target", "SPIRV"}).exitStatus, kBadUsage);
  EXPECT_EQ(Translate({}).exitStatus, kBadUsage);
  EXPECT_EQ(RunTool({"translate", "--target", "GLSL"}).exitStatus, kBadUsage);
  EXPECT_EQ(Translate({"--target", "GLSL", "--multisampling", "many"}).exitStatus, kBadUsage);
  EXPECT_EQ(Translate({"--target", "GLSL", "--multisampling", "-2"}).exitStatus, kBadUsage);
  // The default.
  _folder.Write("k.krn", "OSTRA_PARALLEL_KERNEL(K, K)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  EXPECT_EQ(Translate({"--target", "GLSL", "--multisampling", "-1"}).exitStatus, 0);
  const ToolResult missing = RunTool({"translate", _folder / "missing.krn", "--target", "GLSL"});
  EXPECT_EQ(missing.exitStatus, kFailed);
  EXPECT_THAT(missing.errors, StartsWith("ostra: "));
  EXPECT_THAT(missing.output, IsEmpty());
  EXPECT_EQ(RunTool({"translate", "--help"}).exitStatus, 0);
}

}  // namespace
}  // namespace ostra
