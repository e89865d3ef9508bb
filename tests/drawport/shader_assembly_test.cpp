// The order of the pieces, the origins of lines, and what cannot be assembled.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/drawport/assembly_fixture.h"
#include "tests/support/fault_injection.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;
using testing::Not;

ShaderCode MakeCode(const char* text, const char* file, Int line) {
  ShaderCode code{MakeText(text), {}};
  for (std::size_t i = 0; i < GetLines(text).size(); ++i)
    EXPECT_THAT(code.origins.Append(ShaderOrigin{MakeText(file), line + static_cast<Int>(i)}), IsOk());
  return code;
}

// One of each piece.
ShaderRecords MakeFullRecords(const Id& language) {
  ShaderRecords records;
  records.language = language;
  records.workGroupSize = Vec3<UInt32>(8, 4, 2);
  EXPECT_THAT(records.defines.Append(MakeCode("#define LIMIT 8", "a.h", 3)), IsOk());
  ShaderStruct particle{MakeText("Particle"), {}, {MakeText("a.h"), 5}};
  EXPECT_THAT(particle.members.Append(ShaderMember{MakeText("vec3"), MakeText("position"), {MakeText("a.h"), 7}}),
              IsOk());
  EXPECT_THAT(particle.members.Append(ShaderMember{MakeText("float"), MakeText("mass"), {MakeText("a.h"), 8}}), IsOk());
  EXPECT_THAT(records.structs.Append(std::move(particle)), IsOk());
  EXPECT_THAT(records.functions.Append(MakeCode("float Twice(float x)\n{\nreturn 2.0 * x;\n}\n", "a.h", 11)), IsOk());
  ShaderParameter values;
  values.kind = ShaderParameterKind::Buffer;
  values.name = MakeText("values");
  values.elementType = MakeText("Particle");
  values.origin = {MakeText("k.krn"), 2};
  AddParameter(records, std::move(values));
  AddValue(records, "count", DrawportShaderValueType::UInt);
  EXPECT_THAT(records.fileScope.Append(MakeCode("// file scope\n", "k.krn", 5)), IsOk());
  EXPECT_THAT(records.groupShared.Append(MakeCode("groupSharedMemory float cache[LIMIT]; \n", "k.krn", 9)), IsOk());
  records.body = MakeCode(
      "{\ncache[InLocalInvocationID.x % 8u] = 1.0;\ngroupSharedBarrier;\n"
      "if (InGlobalInvocationID.x < UNIFORM(count))\n{\nreturn;\n}\n"
      "UNIFORM_BUFFER(values)[0].mass = Twice(cache[0]);\n}",
      "k.krn", 8);
  return records;
}

TEST(ShaderAssemblyTest, PiecesStandInTheirOrder) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeFullRecords(*language);
    const AssembledShader shader = Assemble(records);
    const std::string text(shader.text.GetView());
    std::size_t last = 0;
    for (const char* piece : {"#define Float32 float", "#define LIMIT 8", "struct Particle", "float Twice(float x)",
                              "// file scope", "cache[InLocalInvocationID.x % 8u]"}) {
      const std::size_t at = text.find(piece);
      ASSERT_NE(at, std::string::npos) << piece << " in " << language->GetView();
      EXPECT_GT(at, last) << piece << " in " << language->GetView();
      last = at;
    }
    const std::size_t buffer = text.find("ostraBuffer_values");
    EXPECT_GT(buffer, text.find("float Twice"));
    EXPECT_LT(buffer, last);
  }
}

TEST(ShaderAssemblyTest, AProgramWithEveryPieceCompiles) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeFullRecords(*language);
    EXPECT_EQ(Compile(records), "") << language->GetView();
  }
}

TEST(ShaderAssemblyTest, EveryLineKnowsWhereItComesFrom) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeFullRecords(*language);
    const AssembledShader shader = Assemble(records);
    const std::vector<std::string> lines = GetLines(shader.text);
    ASSERT_EQ(static_cast<Int>(lines.size()), shader.lines.GetCount());
    const auto find = [&](std::string_view part) -> std::string {
      for (std::size_t i = 0; i < lines.size(); ++i) {
        const ShaderOrigin& origin = shader.lines[static_cast<Int>(i)];
        if (lines[i].find(part) != std::string::npos && origin.line > 0)
          return std::string(origin.file.GetView()) + ":" + std::to_string(origin.line);
      }
      return "none";
    };
    EXPECT_EQ(find("#define LIMIT"), "a.h:3");
    EXPECT_EQ(find("struct Particle"), "a.h:5");
    EXPECT_EQ(find(" position;"), "a.h:7");
    EXPECT_EQ(find(" mass;"), "a.h:8");
    EXPECT_EQ(find("float Twice"), "a.h:11");
    EXPECT_EQ(find("return 2.0 * x;"), "a.h:13");
    EXPECT_EQ(find("ostraBuffer_values"), "k.krn:2");
    EXPECT_EQ(find("// file scope"), "k.krn:5");
    EXPECT_EQ(find("cache[LIMIT]"), "k.krn:9");
    EXPECT_EQ(find("Twice(cache[0])"), "k.krn:15");
    for (Int i = 0; i < shader.supportLineCount; ++i) EXPECT_EQ(shader.lines[i].line, 0) << i;
    EXPECT_GT(shader.supportLineCount, 40);
    EXPECT_LT(shader.supportLineCount, shader.lines.GetCount());
  }
}

TEST(ShaderAssemblyTest, LinesWithoutOriginComeFromNoFile) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "int a = 1;\nint b = 2;");
  ASSERT_THAT(records.body.origins.Append(ShaderOrigin{MakeText("k.krn"), 4}), IsOk());
  const AssembledShader shader = Assemble(records);
  const std::vector<std::string> lines = GetLines(shader.text);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const Bool isFirst = lines[i] == "{" && lines[i + 1] == "int a = 1;";
    EXPECT_EQ(shader.lines[static_cast<Int>(i)].line, isFirst ? 4 : 0) << lines[i];
  }
}

TEST(ShaderAssemblyTest, TheWorkGroupSizeIsInTheText) {
  ShaderRecords records = MakeFullRecords(kShadingLanguageGlsl);
  EXPECT_THAT(std::string(Assemble(records).text.GetView()),
              HasSubstr("layout(local_size_x = 8, local_size_y = 4, local_size_z = 2) in;"));
  records = MakeFullRecords(kShadingLanguageHlsl);
  EXPECT_THAT(std::string(Assemble(records).text.GetView()), HasSubstr("[numthreads(8, 4, 2)]"));
  records = MakeFullRecords(kShadingLanguageMetal);
  EXPECT_THAT(std::string(Assemble(records).text.GetView()), HasSubstr("uint3 InWorkGroupSize = uint3(8, 4, 2);"));
}

TEST(ShaderAssemblyTest, NoiseCodeIsThereOnlyWhenNoisesAreCalled) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "");
    EXPECT_THAT(std::string(Assemble(records).text.GetView()), Not(HasSubstr("NoisePerlin")));
    records.noiseTableCount = 2;
    const AssembledShader shader = Assemble(records);
    const std::string text(shader.text.GetView());
    EXPECT_THAT(text, HasSubstr("float NoiseOfMode("));
    EXPECT_THAT(text, HasSubstr("noiseData_1"));
    EXPECT_THAT(text, Not(HasSubstr("noiseData_2")));
    EXPECT_EQ(shader.uniforms.GetCount(), 6);
  }
}

TEST(ShaderAssemblyTest, ANoiseValueThatIsDeclaredAlreadyIsDeclaredOnce) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "float x = RenderNoise(0, vec3(0.0, 0.0, 0.0), 0.0);");
  AddValue(records, "noiseSeed_0", DrawportShaderValueType::Int);
  AddValue(records, "noiseData_0", DrawportShaderValueType::NoiseTable);
  records.noiseTableCount = 1;
  EXPECT_EQ(Compile(records), "");
  EXPECT_EQ(Assemble(records).uniforms.GetCount(), 3);
}

constexpr const char* kThreeNoises =
    "float x = RenderNoise(0, vec3(0.0, 0.0, 0.0), 0.0) + RenderNoise(1, 0.5, 0.0) + RenderNoise(0, vec2(1.0, 2.0), "
    "0.0);\n"
    "UNIFORM_BUFFER(values)[0] = x;";

TEST(ShaderAssemblyTest, NoisesOfKnownModesAreCalledDirectly) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, kThreeNoises);
    AddBuffer(records, "values", "float");
    records.noiseTableCount = 2;
    for (const Int32 mode : {14, 99}) ASSERT_THAT(records.noiseModes.Append(mode), IsOk());
    EXPECT_EQ(Compile(records), "");
    const std::string text(Assemble(records).text.GetView());
    EXPECT_THAT(text, HasSubstr("value = NoiseNaki(NoiseKey(uint(ostraUniform_noiseData_0.x)"));
    EXPECT_THAT(text, HasSubstr("value = NoiseTurbulence(NoiseKey(uint(ostraUniform_noiseData_1.x)"));
    EXPECT_THAT(text, Not(HasSubstr("return ostraNoise(mode, table")));
    EXPECT_THAT(text, HasSubstr("noiseMode_1"));  // the value stays a parameter
  }
}

TEST(ShaderAssemblyTest, ModesOfNoisesAreKnownForAllOrForNone) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, kThreeNoises);
  records.noiseTableCount = 2;
  ASSERT_THAT(records.noiseModes.Append(3), IsOk());
  EXPECT_THAT(AssembleShader(records), IsErrorWith(kIllegalArgumentError, "There are 1 modes for 2 noises."));
}

// Functions that are never called do not make a program long.
TEST(ShaderAssemblyTest, AProgramWithOneNoiseHasNoCallsLeft) {
  const auto countCalls = [](const std::vector<Int32>& modes) {
    ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "UNIFORM_BUFFER(values)[0] = RenderNoise(0, 0.5, 0.0);");
    AddBuffer(records, "values", "float");
    records.noiseTableCount = 1;
    for (const Int32 mode : modes) EXPECT_THAT(records.noiseModes.Append(mode), IsOk());
    const AssembledShader shader = Assemble(records);
    const auto compiled = CompileShader(kShadingLanguageGlsl, DrawportStage::Compute, shader);
    EXPECT_THAT(compiled, IsOk());
    constexpr UInt32 kOpFunctionCall = 57;
    constexpr Int kHeaderWords = 5;
    Int calls = 0;
    for (Int at = kHeaderWords; compiled && at < compiled->words.GetCount(); at += compiled->words[at] >> 16)
      calls += (compiled->words[at] & 0xFFFF) == kOpFunctionCall;
    return calls;
  };
  EXPECT_EQ(countCalls({14}), 0);
  EXPECT_GT(countCalls({}), 0);
}

TEST(ShaderAssemblyTest, GraphicsStagesCompile) {
  for (const Id* language : kLanguages) {
    ShaderRecords vertex =
        MakeRecords(*language,
                    "shade = position.x + float(InVertexID) + float(InInstanceID);\nnumber = 3;\n"
                    "if (shade < 0.0) return;\n"
                    "OutPosition = mul(UNIFORM(view), vec4(position.x, position.y, position.z, 1.0));");
    vertex.stage = DrawportStage::Vertex;
    AddValue(vertex, "view", DrawportShaderValueType::Matrix4);
    for (const auto& [kind, name, type] :
         {std::tuple(ShaderParameterKind::Attribute, "position", DrawportShaderValueType::Float3),
          std::tuple(ShaderParameterKind::Varying, "shade", DrawportShaderValueType::Float),
          std::tuple(ShaderParameterKind::Varying, "number", DrawportShaderValueType::Int)}) {
      ShaderParameter parameter;
      parameter.kind = kind;
      parameter.name = MakeText(name);
      parameter.valueType = type;
      AddParameter(vertex, std::move(parameter));
    }
    EXPECT_EQ(Compile(vertex), "") << language->GetView();

    ShaderRecords fragment = MakeRecords(*language,
                                         "if (shade < 0.0) discard;\nif (InSampleID > 0) discard;\n"
                                         "color = vec4(shade, float(number), InFragCoord.x, 1.0);\noutDepth = 0.5;");
    fragment.stage = DrawportStage::Fragment;
    for (const auto& [kind, name, type] :
         {std::tuple(ShaderParameterKind::Varying, "shade", DrawportShaderValueType::Float),
          std::tuple(ShaderParameterKind::Varying, "number", DrawportShaderValueType::Int),
          std::tuple(ShaderParameterKind::Output, "color", DrawportShaderValueType::Float4),
          std::tuple(ShaderParameterKind::Output, "outDepth", DrawportShaderValueType::Float)}) {
      ShaderParameter parameter;
      parameter.kind = kind;
      parameter.name = MakeText(name);
      parameter.valueType = type;
      AddParameter(fragment, std::move(parameter));
    }
    EXPECT_EQ(Compile(fragment), "") << language->GetView();
  }
}

ShaderRecords MakeStage(const Id& language, DrawportStage stage, std::string_view code) {
  ShaderRecords records = MakeRecords(language, code);
  records.stage = stage;
  for (const auto& [name, type] :
       {std::pair("shade", DrawportShaderValueType::Float), std::pair("number", DrawportShaderValueType::Int),
        std::pair("frame", DrawportShaderValueType::Matrix3)}) {
    ShaderParameter parameter;
    parameter.kind = ShaderParameterKind::Varying;
    parameter.name = MakeText(name);
    parameter.valueType = type;
    AddParameter(records, std::move(parameter));
  }
  return records;
}

void AddDefines(ShaderRecords& records, std::string_view text) {
  ASSERT_THAT(records.defines.Append(ShaderCode{MakeText(text), {}}), IsOk());
}

TEST(ShaderAssemblyTest, TessellationStagesCompile) {
  constexpr std::string_view kControl =
      "shade = InPatch(shade, InInvocationID) * 2.0;\nnumber = InPatch(number, 0u);\n"
      "frame = InPatch(frame, InInvocationID);\nOutPosition = InPatchPosition(InInvocationID);\n"
      "OutTessLevelOuter[0] = UNIFORM(level);\nOutTessLevelOuter[1] = UNIFORM(level);\n"
      "OutTessLevelOuter[2] = float(InPatchSize);\nOutTessLevelInner[0] = float(InPrimitiveID);\n"
      "if (shade < 0.0) return;\nshade = 1.0;";
  constexpr std::string_view kEvaluation =
      "OutPosition = InPatchPosition(0) * InTessCoord.x + InPatchPosition(1) * InTessCoord.y;\n"
      "shade = InPatch(shade, 0) * InTessCoord.x + InPatch(shade, 1) * InTessCoord.y;\n"
      "number = InPatch(number, 0) + int(InPatchSize);\nframe = InPatch(frame, 0);\n"
      "if (shade < UNIFORM(level)) return;\nshade = 1.0;";
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    for (const std::string_view defines :
         {"", "#define PATCH_POINTS 4\n#define PATCH_DOMAIN quads\n#define PATCH_SPACING fractional_odd_spacing\n",
          "#define PATCH_POINTS 2\n#define PATCH_DOMAIN isolines\n#define PATCH_WINDING cw\n"}) {
      ShaderRecords control = MakeStage(*language, DrawportStage::TessellationControl, kControl);
      AddValue(control, "level", DrawportShaderValueType::Float);
      AddDefines(control, defines);
      EXPECT_EQ(Compile(control), "") << language->GetView() << defines;
      ShaderRecords evaluation = MakeStage(*language, DrawportStage::TessellationEvaluation, kEvaluation);
      AddValue(evaluation, "level", DrawportShaderValueType::Float);
      AddDefines(evaluation, defines);
      EXPECT_EQ(Compile(evaluation), "") << language->GetView() << defines;
    }
  }
}

TEST(ShaderAssemblyTest, IsolinesAreLinesInHlslAndNoTriangles) {
  constexpr UInt32 kOpExecutionMode = 16, kVertexOrderCw = 4, kVertexOrderCcw = 5;
  const auto hasVertexOrder = [](std::string_view defines) {
    ShaderRecords control = MakeStage(kShadingLanguageHlsl, DrawportStage::TessellationControl,
                                      "OutPosition = InPatchPosition(InInvocationID);\nOutTessLevelOuter[0] = 1.0;\n"
                                      "OutTessLevelOuter[1] = 2.0;");
    AddDefines(control, defines);
    const AssembledShader shader = Assemble(control);
    auto compiled = CompileShader(control.language, control.stage, shader, {.isOptimized = false});
    EXPECT_THAT(compiled, IsOk());
    EXPECT_TRUE(compiled->IsCompiled());
    Bool isFound = false;
    for (Int at = 5; at + 2 < compiled->words.GetCount(); at += compiled->words[at] >> 16) {
      const UInt32 mode = compiled->words[at + 2];
      isFound = isFound || ((compiled->words[at] & 0xFFFFu) == kOpExecutionMode &&
                            (mode == kVertexOrderCw || mode == kVertexOrderCcw));
    }
    return isFound;
  };
  for (const char* winding : {"cw", "ccw"}) {
    const std::string define = std::string("#define PATCH_WINDING ") + winding + "\n";
    EXPECT_TRUE(hasVertexOrder(define)) << winding;
    EXPECT_FALSE(hasVertexOrder(define + "#define PATCH_POINTS 2\n#define PATCH_DOMAIN isolines\n")) << winding;
  }
}

// Registers of what a vertex hands on are counted in order: the fragment stage, which has no point size, counts the
// same.
TEST(ShaderAssemblyTest, ThePointSizeStandsBehindTheVaryings) {
  ShaderRecords vertex =
      MakeStage(kShadingLanguageHlsl, DrawportStage::Vertex, "OutPosition = vec4(0.0, 0.0, 0.0, 1.0);");
  const std::string text(Assemble(vertex).text.GetView());
  const std::size_t size = text.find(": PSIZE");
  ASSERT_NE(size, std::string::npos);
  for (const char* name :
       {"ostraPosition : SV_Position", "ostraOutput_shade : ", "ostraOutput_number : ", "ostraOutput_frame : "})
    EXPECT_LT(text.find(name), size) << name;
}

TEST(ShaderAssemblyTest, PointSizesAreWritten) {
  for (const Id* language : kLanguages) {
    ShaderRecords vertex = MakeRecords(*language, "OutPosition = vec4(0.0, 0.0, 0.0, 1.0);\nOutPointSize = 4.0;");
    vertex.stage = DrawportStage::Vertex;
    EXPECT_EQ(Compile(vertex), "") << language->GetView();
  }
}

TEST(ShaderAssemblyTest, OneWordPassesTexturesWithOneAndWithSeveralSamples) {
  for (const Id* language : kLanguages) {
    for (const Bool isMultisampled : {false, true}) {
      ShaderRecords records = MakeRecords(
          *language,
          isMultisampled
              ? "color = GetFramebufferTexel(PassTexture(layer), int2(InFragCoord.x, InFragCoord.y), InSampleID);"
              : "color = GetFramebufferTexel(PassTexture(layer), int2(InFragCoord.x, InFragCoord.y));");
      records.stage = DrawportStage::Fragment;
      AddTexture(records, "layer", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
      records.textures[0].isMultisampled = isMultisampled;
      ShaderParameter color;
      color.kind = ShaderParameterKind::Output;
      color.name = "color"_s;
      color.valueType = DrawportShaderValueType::Float4;
      AddParameter(records, std::move(color));
      EXPECT_EQ(Compile(records), "") << language->GetView() << isMultisampled;
    }
  }
}

TEST(ShaderAssemblyTest, TheSampleNumberIsAskedForOnlyWhereItIsUsed) {
  for (const Id* language : {&kShadingLanguageHlsl, &kShadingLanguageMetal}) {
    ShaderRecords records = MakeRecords(*language, "");
    records.stage = DrawportStage::Fragment;
    const std::string mark = *language == kShadingLanguageHlsl ? "SV_SampleIndex" : "[[sample_id]]";
    EXPECT_THAT(std::string(Assemble(records).text.GetView()), Not(HasSubstr(mark)));
    AddFunction(records, "int Number() { return 0; } // InSampleID\n");
    EXPECT_THAT(std::string(Assemble(records).text.GetView()), HasSubstr(mark));
  }
}

TEST(ShaderAssemblyErrorTest, LanguagesWithoutSupportCodeAreRefused) {
  ShaderRecords records = MakeRecords("GLSLES"_id, "");
  EXPECT_THAT(AssembleShader(records),
              IsErrorWith(kIllegalArgumentError, "There is no support code for the shading language \"GLSLES\"."));
}

TEST(ShaderAssemblyErrorTest, StagesWithoutSupportCodeAreRefused) {
  for (const DrawportStage stage : {DrawportStage::TessellationControl, DrawportStage::TessellationEvaluation}) {
    ShaderRecords records = MakeRecords(kShadingLanguageMetal, "");
    records.stage = stage;
    EXPECT_THAT(AssembleShader(records), IsErrorOfKind(kIllegalArgumentError));
  }
}

TEST(ShaderAssemblyErrorTest, ParametersStandInTheirStagesOnly) {
  const auto assemble = [](DrawportStage stage, ShaderParameterKind kind) {
    ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
    records.stage = stage;
    ShaderParameter parameter;
    parameter.kind = kind;
    parameter.name = "thing"_s;
    AddParameter(records, std::move(parameter));
    AssignBindings(records);
    return AssembleShader(records);
  };
  const auto isRefused =
      IsErrorWith(kIllegalArgumentError, "The parameter \"thing\" cannot stand in this stage of a program.");
  EXPECT_THAT(assemble(DrawportStage::Compute, ShaderParameterKind::Attribute), isRefused);
  EXPECT_THAT(assemble(DrawportStage::Compute, ShaderParameterKind::Varying), isRefused);
  EXPECT_THAT(assemble(DrawportStage::Vertex, ShaderParameterKind::Output), isRefused);
  EXPECT_THAT(assemble(DrawportStage::Fragment, ShaderParameterKind::Attribute), isRefused);
  EXPECT_THAT(assemble(DrawportStage::Vertex, ShaderParameterKind::Attribute), IsOk());
  EXPECT_THAT(assemble(DrawportStage::Fragment, ShaderParameterKind::Output), IsOk());
}

TEST(ShaderAssemblyErrorTest, ValuesOfATypeThatNoLanguageLaysOutAreRefused) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  AddValue(records, "m", DrawportShaderValueType::Matrix2);
  EXPECT_THAT(
      AssembleShader(records),
      IsErrorWith(kIllegalArgumentError, "The parameter \"m\" has the type 5, which no value of a shader can have."));
}

TEST(ShaderAssemblyErrorTest, ThereAreAtMost128Noises) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
  records.noiseTableCount = 129;
  EXPECT_THAT(AssembleShader(records),
              IsErrorWith(kIllegalArgumentError, "A program cannot have 129 noises; at most 128 are allowed."));
  records.noiseTableCount = 128;
  EXPECT_EQ(Compile(records), "");
}

TEST(ShaderAssemblyErrorTest, AssemblyRunsOutOfMemoryCleanly) {
  ShaderRecords records = MakeFullRecords(kShadingLanguageHlsl);
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  AssignBindings(records);
  const Int allocations = ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(AssembleShader(records));
    return OK;
  });
  EXPECT_GT(allocations, 50);
}

TEST(RestoreShaderWordsTest, NamesOfSupportCodeBecomeTheWordsOfKernelFiles) {
  const auto restore = [](const char* text) { return std::string(RestoreShaderWords(text).GetValue().GetView()); };
  EXPECT_EQ(restore("'ostraUniform_radius' : undeclared identifier"), "'UNIFORM(radius)' : undeclared identifier");
  EXPECT_EQ(restore("ostraBuffer_a[ostraSample_b] ostraSampleLayer_c"),
            "UNIFORM_BUFFER(a)[SampleTexture(b)] SampleTextureLayer(c)");
  EXPECT_EQ(restore("ostraUniform_"), "UNIFORM()");
  EXPECT_EQ(restore("nothing of ours"), "nothing of ours");
  EXPECT_EQ(restore(""), "");
}

}  // namespace
}  // namespace ostra::test
