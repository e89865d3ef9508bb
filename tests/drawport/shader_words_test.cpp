// Every word of the support code, in every language.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "parallelprogram/shaderassembly/assembly_records.h"
#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

// Statements of a kernel, one or more words each. What they read is declared by MakeWordRecords.
constexpr const char* kStatements[] = {
    "uint3 ids = InGlobalInvocationID + InLocalInvocationID + InWorkGroupID;",
    "uint size = InWorkGroupSize.x + LinearInvocation();",
    "groupSharedBarrier;",
    "cache[0] = 1.0; float cached = LOCALDATA(cache, 0, 0);",
    "ADDNOISECALL",
    "float n1 = RenderNoise(0, 0.5, 0.25);",
    "float n2 = RenderNoise(1, vec2(0.5, 0.5), 0.25);",
    "float n3 = RenderNoise(0, vec3(0.5, 0.5, 0.5), 0.25);",
    "float n4 = RenderNoise(1, vec4(0.5, 0.5, 0.5, 0.5), 0.25);",
    "vec3 ramp = SampleGradient(UNIFORM(ramp), 0.5);",
    "GradientRenderData copy = UNIFORM(ramp); vec3 again = SampleGradient(copy, 0.25);",
    // Types.
    "Float32 f = 1.0; Int32 i = 2; UInt32 u = 3u; Bool b = true;",
    "Vector2d32 v2 = Vector2d32(1.0, 2.0); Vector32 v3 = Vector32(1.0, 2.0, 3.0);",
    "Vector4d32 v4 = Vector4d32(1.0, 2.0, 3.0, 4.0); IntVector4d32 q = IntVector4d32(1, 2, 3, 4);",
    "float2 a2 = float2(1.0, 2.0); float3 a3 = float3(1.0, 2.0, 3.0); float4 a4 = float4(1.0, 2.0, 3.0, 4.0);",
    "vec2 b2 = vec2(1.0, 2.0); vec3 b3 = vec3(1.0, 2.0, 3.0); vec4 b4 = vec4(1.0, 2.0, 3.0, 4.0);",
    "int2 c2 = int2(1, 2); int3 c3 = int3(1, 2, 3); int4 c4 = int4(1, 2, 3, 4);",
    "uint2 d2 = uint2(1u, 2u); uint3 d3 = uint3(1u, 2u, 3u); uint4 d4 = uint4(1u, 2u, 3u, 4u);",
    "half h1 = half(1.0); HalfFloat h0 = half(2.0); float widened = float(h1) + float(h0);",
    "half2 h2 = half2(h1, h1); half3 h3 = half3(h1, h1, h1); half4 h4 = half4(h1, h1, h1, h1);",
    "mat3 m3 = mat3(b3, b3, b3); SquareMatrix32 s3 = m3; sqmat q3 = SquareMatrix32(b3, b3, b3);",
    "mat4 m4 = mat4(b4, b4, b4, b4); SquareMatrix4d32 s4 = m4; Matrix32 t4 = Matrix32(b4, b4, b4, b4);",
    // Matrices.
    "vec3 p3 = mul(UNIFORM(turn), b3); vec4 p4 = mul(UNIFORM(place), b4);",
    "vec3 r3 = mul(b3, UNIFORM(turn)); vec4 r4 = mul(b4, UNIFORM(place));",
    "mat3 mm3 = mul(UNIFORM(turn), mul(m3, m3)); mat4 mm4 = mul(UNIFORM(place), m4);",
    "vec3 offset = MatrixOffset(UNIFORM(place));",
    "mat3 ti3 = transpose(inverse(m3)); mat4 ti4 = transpose(inverse(m4));",
    "float det = determinant(m3) + determinant(m4);",
    // Functions of numbers.
    "f = abs(f) + sign(f) + floor(f) + ceil(f) + trunc(f) + fract(f) + mod(f, 2.0);",
    "f = min(f, 1.0) + max(f, 1.0) + clamp(f, 0.0, 1.0) + mix(f, 1.0, 0.5) + step(0.5, f) + smoothstep(0.0, 1.0, f);",
    "f = sqrt(f) + Sqrt(f) + inversesqrt(f) + pow(f, 2.0) + exp(f) + exp2(f) + log(f) + log2(f);",
    "f = sin(f) + cos(f) + tan(f) + asin(f) + acos(f) + atan(f) + atan(f, 2.0) + radians(f) + degrees(f);",
    "b = isnan(f) || isinf(f);",
    "u = floatBitsToUint(f); i = floatBitsToInt(f); f = uintBitsToFloat(u) + intBitsToFloat(i);",
    "i = abs(i) + min(i, 2) + max(i, 2) + clamp(i, 0, 4); u = min(u, 2u) + max(u, 2u) + clamp(u, 0u, 4u);",
    // The same of vectors, and scalars beside vectors.
    "b3 = abs(b3) + sign(b3) + floor(b3) + ceil(b3) + trunc(b3) + fract(b3) + mod(b3, b3) + mod(b3, 2.0);",
    "b2 = mod(b2, 2.0) + mix(b2, b2, 0.5) + atan(b2, b2); b4 = mod(b4, b4) + mix(b4, b4, b4) + atan(b4, b4);",
    "b3 = min(b3, 1.0) + max(b3, 1.0) + clamp(b3, 0.0, 1.0) + mix(b3, b3, 0.5) + step(0.5, b3);",
    "b3 = min(b3, b3) + max(b3, b3) + clamp(b3, b3, b3) + mix(b3, b3, b3) + step(b3, b3);",
    "b3 = smoothstep(0.0, 1.0, b3) + smoothstep(b3, b3, b3) + sqrt(b3) + inversesqrt(b3) + pow(b3, b3) + exp(b3);",
    "b3 = sin(b3) + cos(b3) + tan(b3) + asin(b3) + acos(b3) + atan(b3) + atan(b3, b3) + radians(b3) + degrees(b3);",
    "c3 = min(c3, 2) + max(c3, c3) + clamp(c3, 0, 4); d2 = min(d2, 2u) + max(d2, d2) + clamp(d2, 0u, 4u);",
    "f = dot(b2, b2) + dot(b3, b3) + dot(b4, b4) + length(b3) + distance(b3, b3);",
    "b3 = cross(b3, b3) + normalize(b3) + reflect(b3, b3);",
    "b3 = b3 * 2.0 + 2.0 * b3 - b3 / 2.0 + b3 * b3; b3.x = 1.0;",
    // Parameters.
    "UNIFORM_BUFFER(vectors)[0] = UNIFORM(color) * UNIFORM_BUFFER(vectors)[1] + UNIFORM_BUFFER(vectors)[2];",
    "UNIFORM_BUFFER(vectors)[0].x = UNIFORM_BUFFER(particles)[1].position.y + UNIFORM_BUFFER(particles)[1].mass;",
    "UNIFORM_BUFFER(particles)[0].position = UNIFORM_BUFFER(vectors)[0]; UNIFORM_BUFFER(matrices)[0] = m3;",
    "m3 = UNIFORM_BUFFER(matrices)[1]; CPU_CONSTREF(Float32) k = float(UNIFORM_BUFFER(halves)[0].x);",
    // Atomic operations, on a counter and on elements of a buffer.
    // In Metal text a variable behind ATOMIC can only be declared.
    "ATOMIC uint counted;",
    "uint old = 0u; AtomicAdd(GetAtomicCounter(hits), 1u, old); AtomicAdd((hits), 1u, old);",
    "AtomicSub(GetAtomicCounter(hits), 1u, old); AtomicExchange(GetAtomicCounter(hits), 1u, old);",
    "AtomicAdd(UNIFORM_BUFFER(bins)[0], 1u, old); AtomicSub(UNIFORM_BUFFER(bins)[0], 1u, old);",
    "AtomicMin(UNIFORM_BUFFER(bins)[0], 1u, old); AtomicMax(UNIFORM_BUFFER(bins)[0], 1u, old);",
    "AtomicAnd(UNIFORM_BUFFER(bins)[0], 1u, old); AtomicOr(UNIFORM_BUFFER(bins)[0], 1u, old);",
    "AtomicXor(UNIFORM_BUFFER(bins)[0], 1u, old); AtomicExchange(UNIFORM_BUFFER(bins)[0], 1u, old);",
    "AtomicCompareExchange(UNIFORM_BUFFER(bins)[0], 1u, 2u, old);",
    "AtomicCompareExchange(GetAtomicCounter(hits), 1u, 2u, old);",
    "int before = 0; AtomicMin(UNIFORM_BUFFER(signeds)[0], -1, before);",
    "AtomicAdd(UNIFORM_BUFFER(signeds)[0], 1, before);",
    // Textures.
    "vec4 s = SampleTexture(image, vec2(0.5, 0.5)) + SampleTexture(UNIFORM(image), vec2(0.5, 0.5));",
    "vec4 t = FetchTexture(image, int2(1, 2)); int2 extent = TextureSize(image);",
    "vec4 sl = SampleTextureLayer(layers, vec2(0.5, 0.5), 1u) + FetchTextureLayer(layers, int2(1, 2), 1u);",
    "StoreImage(target, int2(1, 2), t);",
    "KERNEL_RETURN;",
};

// Words that lose what they stand for when the translator takes them apart; `ostra check` warns of them.
constexpr const char* kUntranslatedStatements[] = {
    "vec3 moved = matoff(UNIFORM(place));",
    "uint passed = CPU_PASS_BUFFER(bins)[0];",
};

// Words that only make sense in functions or in graphics programs have tests of their own.
const std::set<std::string> kWordsTestedElsewhere = {"groupSharedMemory",
                                                     "PassTexture",
                                                     "PassMultisampledTexture",
                                                     "SampleParameter",
                                                     "FetchParameter",
                                                     "discard",
                                                     "InVertexID",
                                                     "InInstanceID",
                                                     "OutPosition",
                                                     "InFragCoord",
                                                     "InSampleID",
                                                     "mat2",
                                                     "Float64"};

ShaderRecords MakeWordRecords(const Id& language) {
  std::string code;
  for (const char* statement : kStatements) code.append(statement).append("\n");
  code.resize(code.rfind("KERNEL_RETURN"));
  for (const char* statement : kUntranslatedStatements) code.append(statement).append("\n");
  ShaderRecords records = MakeRecords(language, code);
  ShaderStruct particle{"Particle"_s, {}, {}};
  EXPECT_THAT(particle.members.Append(ShaderMember{"vec3"_s, "position"_s, {}}), IsOk());
  EXPECT_THAT(particle.members.Append(ShaderMember{"float"_s, "mass"_s, {}}), IsOk());
  EXPECT_THAT(records.structs.Append(std::move(particle)), IsOk());
  EXPECT_THAT(records.groupShared.Append(ShaderCode{"groupSharedMemory float cache[64]; \n"_s, {}}), IsOk());
  AddValue(records, "color", DrawportShaderValueType::Float3);
  AddValue(records, "turn", DrawportShaderValueType::Matrix3);
  AddValue(records, "place", DrawportShaderValueType::Matrix4);
  AddValue(records, "ramp", DrawportShaderValueType::Gradient);
  AddBuffer(records, "vectors", "Vector32");
  AddBuffer(records, "particles", "Particle");
  AddBuffer(records, "matrices", "mat3");
  AddBuffer(records, "halves", "half4", DrawportBufferAccess::ReadOnly);
  AddBuffer(records, "bins", "UInt32");
  AddBuffer(records, "signeds", "int");
  AddCounter(records, "hits");
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  AddTexture(records, "layers", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id, false, true);
  AddTexture(records, "target", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id, true);
  records.noiseTableCount = 2;
  return records;
}

// The names that the support code of a program defines for kernel files; its own begin with "ostra".
std::set<std::string> GetDefinedWords(const AssembledShader& shader) {
  std::set<std::string> words;
  const std::vector<std::string> lines = GetLines(shader.text);
  for (Int i = 0; i < shader.supportLineCount; ++i) {
    const std::string& line = lines[static_cast<std::size_t>(i)];
    constexpr std::string_view kDefine = "#define ";
    // Names of a standard library that kernel files may use for functions of their own are no words.
    if (!line.starts_with(kDefine) || line.find(" ostraOwn_") != std::string::npos) continue;
    const std::string name = line.substr(kDefine.size(), line.find_first_of(" (", kDefine.size()) - kDefine.size());
    if (!name.starts_with("ostra")) words.insert(name);
  }
  return words;
}

class ShaderWordsTest : public testing::TestWithParam<const Id*> {};

// The kernel file that has all words, and its header.
std::string WriteWordKernel(const TemporaryFolder& folder) {
  folder.Write("words.h", "struct Particle\n{\n\tVector32 position;\n\tFloat32 mass;\n};\n");
  std::string text =
      "#define KERNELINPUTS \\\n(Vector32) color, \\\n(SquareMatrix32) turn, \\\n(Matrix32) place, \\\n"
      "(GradientRenderData) ramp, \\\n(Block<Vector32>) vectors, \\\n(Block<Particle>) particles, \\\n"
      "(Block<mat3>) matrices, \\\n(const Block<half4>) halves, \\\n(Block<UInt32>) bins, \\\n"
      "(Block<int>) signeds, \\\n(AtomicUInt32*) hits, \\\n(const TextureSampler_2D_RGBA_F32_LINEAR) image, \\\n"
      "(const TextureSampler_2D_RGBA_F32_LINEAR) layers, \\\n(TextureSampler_2D_RGBA_F32_LINEAR) target\n\n"
      "GROUPSIZE(64, 1, 1)\n\nOSTRA_PARALLEL_KERNEL(Words, KERNELINPUTS)\n{\n"
      "\tGROUPSHAREDMEM(float, cache, 64)\n\tADDNOISECALL\n";
  for (const char* statement : kStatements) text.append("\t").append(statement).append("\n");
  return folder.Write("words.krn", text + "}\nOSTRA_PARALLEL_KERNEL_END\n");
}

TEST_P(ShaderWordsTest, EveryWordOfAKernelFileCompilesWhenItIsTranslated) {
  if (const std::string missing = FindMissingCompiler(*GetParam()); !missing.empty()) GTEST_SKIP() << missing;
  const TemporaryFolder folder;
  WriteWordKernel(folder);
  auto parser = ShaderParser::Create(*GetParam());
  ASSERT_THAT(parser, IsOk());
  ASSERT_THAT((*parser)->Init(folder.MakeUrl("words.krn"), DataDictionary()), IsOk());
  auto records = MakeShaderRecords(**parser, DrawportStage::Compute);
  ASSERT_THAT(records, IsOk());
  EXPECT_EQ(records->noiseTableCount, 2);
  EXPECT_EQ(Compile(*records), "");
}

TEST_P(ShaderWordsTest, WordsThatTheTranslatorTakesApartCompileByThemselves) {
  if (const std::string missing = FindMissingCompiler(*GetParam()); !missing.empty()) GTEST_SKIP() << missing;
  ShaderRecords records = MakeWordRecords(*GetParam());
  EXPECT_EQ(Compile(records), "");
}

TEST_P(ShaderWordsTest, NoWordOfTheSupportCodeIsLeftOut) {
  ShaderRecords records = MakeWordRecords(*GetParam());
  std::string statements;
  for (const char* statement : kStatements) statements += statement;
  for (const char* statement : kUntranslatedStatements) statements += statement;
  for (const std::string& word : GetDefinedWords(Assemble(records))) {
    const Bool isTypedef = word.ends_with("_TYPEDEF");
    const Bool isTested =
        isTypedef || kWordsTestedElsewhere.contains(word) || statements.find(word) != std::string::npos;
    EXPECT_TRUE(isTested) << word;
  }
}

TEST_P(ShaderWordsTest, AllLanguagesHaveTheWordsOfTheCommonList) {
  ShaderRecords records = MakeWordRecords(*GetParam());
  const AssembledShader shader = Assemble(records);
  const std::string text(shader.text.GetView());
  for (const char* word : {"UNIFORM", "UNIFORM_BUFFER", "groupSharedMemory", "groupSharedBarrier", "CPU_CONSTREF",
                           "CPU_PASS_BUFFER", "Sqrt", "sqmat", "GetAtomicCounter", "LinearInvocation", "MatrixOffset",
                           "KERNEL_RETURN", "AtomicAdd", "SampleTexture", "FetchTexture", "TextureSize", "StoreImage"})
    EXPECT_TRUE(GetDefinedWords(shader).contains(word)) << word;
}

TEST_P(ShaderWordsTest, EveryTypedefOfSamplersAndFramebufferLayersCompiles) {
  if (const std::string missing = FindMissingCompiler(*GetParam()); !missing.empty()) GTEST_SKIP() << missing;
  const char* const macros[] = {"FRAMEBUFFER_LAYER_TYPEDEF",
                                "FRAMEBUFFER_LAYER_DEPTH_TYPEDEF",
                                "FRAMEBUFFER_LAYER_INT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_UINT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_CUBE_TYPEDEF",
                                "FRAMEBUFFER_LAYER_CUBE_INT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_CUBE_UINT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_DEPTH_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_INT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_UINT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_INT_TYPEDEF",
                                "FRAMEBUFFER_LAYER_MULTISAMPLE_CUBE_UINT_TYPEDEF",
                                "SAMPLER1D_TYPEDEF",
                                "SAMPLER2D_TYPEDEF",
                                "SAMPLER3D_TYPEDEF",
                                "SAMPLER1D_ARRAY_TYPEDEF",
                                "SAMPLER2D_ARRAY_TYPEDEF",
                                "SAMPLER2D_DEPTH_ARRAY_TYPEDEF",
                                "ISAMPLER1D_TYPEDEF",
                                "ISAMPLER2D_TYPEDEF",
                                "ISAMPLER3D_TYPEDEF",
                                "ISAMPLER1D_ARRAY_TYPEDEF",
                                "ISAMPLER2D_ARRAY_TYPEDEF",
                                "USAMPLER1D_TYPEDEF",
                                "USAMPLER2D_TYPEDEF",
                                "USAMPLER3D_TYPEDEF",
                                "USAMPLER1D_ARRAY_TYPEDEF",
                                "USAMPLER2D_ARRAY_TYPEDEF"};
  ASSERT_EQ(std::size(macros), 30u);
  ShaderRecords records = MakeRecords(*GetParam(), "");
  records.stage = DrawportStage::Fragment;
  for (const char* macro : macros) {
    const std::string_view name = macro;
    const Bool isLayer = name.starts_with("FRAMEBUFFER");
    const Bool isMultisampled = name.find("MULTISAMPLE") != std::string_view::npos;
    const std::string element = name.find("UINT") != std::string_view::npos || name.starts_with("USAMPLER")  ? "uint4"
                                : name.find("INT") != std::string_view::npos || name.starts_with("ISAMPLER") ? "int4"
                                                                                                             : "vec4";
    std::string at = "int2(1, 2)", uv = "vec2(0.5, 0.5)";
    if (name.find("CUBE") != std::string_view::npos || name.find("3D") != std::string_view::npos ||
        name.find("2D_ARRAY") != std::string_view::npos || name.find("DEPTH_ARRAY") != std::string_view::npos) {
      at = "int3(1, 2, 3)";
      uv = "vec3(0.5, 0.5, 1.0)";
    } else if (name.find("1D_TYPEDEF") != std::string_view::npos) {
      at = "1";
      uv = "0.5";
    }
    std::string body;
    if (isLayer)
      body = "return GetFramebufferTexel(layer, " + at + (isMultisampled ? ", 1" : "") + ");";
    else
      body = element == "vec4" ? "return SampleParameter(layer, " + uv + ") + FetchParameter(layer, " + at + ");"
                               : "return FetchParameter(layer, " + at + ");";
    AddFunction(records, element + " Read_" + macro + "(" + macro + "(layer))\n{\n" + body + "\n}\n");
  }
  EXPECT_EQ(Compile(records), "");
}

TEST_P(ShaderWordsTest, ATextureIsHandedToAFunction) {
  if (const std::string missing = FindMissingCompiler(*GetParam()); !missing.empty()) GTEST_SKIP() << missing;
  ShaderRecords records = MakeRecords(*GetParam(), "vec4 mean = Mean(PassTexture(image), vec2(0.5, 0.5));");
  AddFunction(records,
              "vec4 Mean(SAMPLER2D_TYPEDEF(picture), vec2 uv)\n{\nreturn SampleParameter(picture, uv) * 0.5;\n}\n");
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  EXPECT_EQ(Compile(records), "");
}

TEST_P(ShaderWordsTest, ABareNameOfAParameterIsAnError) {
  if (const std::string missing = FindMissingCompiler(*GetParam()); !missing.empty()) GTEST_SKIP() << missing;
  ShaderRecords records = MakeRecords(*GetParam(), "float x = radius;");
  AddValue(records, "radius", DrawportShaderValueType::Float);
  EXPECT_NE(Compile(records), "");
}

INSTANTIATE_TEST_SUITE_P(Languages, ShaderWordsTest, testing::ValuesIn(kLanguages),
                         [](const auto& language) { return std::string(language.param->GetView()); });

}  // namespace
}  // namespace ostra::test
