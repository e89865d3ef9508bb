// The compiler: messages on lines of kernel files, and arithmetic that stays as written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <span>

#include "ostra/shadercompiler/contraction.h"
#include "ostra/shadercompiler/inlining.h"
#include "ostra/shadercompiler/scalar_layout.h"
#include "ostra/shadercompiler/version.h"
#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Calls `use(opcode, words of the instruction)`.
template <class Words, class Use>
void ForEachInstruction(const Words& words, Use&& use) {
  const std::vector<UInt32> all(words.begin(), words.end());
  for (std::size_t at = 5; at < all.size();) {
    const std::size_t size = all[at] >> 16;
    ASSERT_GT(size, 0u);
    ASSERT_LE(at + size, all.size());
    use(all[at] & 0xFFFFu, std::span(all).subspan(at, size));
    at += size;
  }
}

constexpr UInt32 kOpDecorate = 71, kNoContraction = 42, kOpFunction = 54, kOpFAdd = 129, kOpFMul = 133;

struct Arithmetic {
  Int operations = 0;
  Int unmarked = 0;
  Int functions = 0;
};
Arithmetic CountArithmetic(const BaseArray<UInt32>& words) {
  std::set<UInt32> marked;
  Arithmetic count;
  ForEachInstruction(words, [&](UInt32 opcode, std::span<const UInt32> instruction) {
    if (opcode == kOpDecorate && instruction[2] == kNoContraction) marked.insert(instruction[1]);
  });
  ForEachInstruction(words, [&](UInt32 opcode, std::span<const UInt32> instruction) {
    if (opcode == kOpFunction) ++count.functions;
    if (opcode != kOpFAdd && opcode != kOpFMul) return;
    ++count.operations;
    if (!marked.contains(instruction[2])) ++count.unmarked;
  });
  return count;
}

ShaderRecords MakeSumRecords(const Id& language) {
  ShaderRecords records = MakeRecords(
      language, "uint i = InGlobalInvocationID.x;\nUNIFORM_BUFFER(a)[i] = Fused(UNIFORM_BUFFER(a)[i], 2.0);");
  AddFunction(records, "float Fused(float x, float y)\n{\nreturn x * y + x;\n}\n");
  AddBuffer(records, "a", "float");
  return records;
}

Result<CompiledShader> CompileRecords(ShaderRecords& records, const ShaderCompilerOptions& options = {}) {
  const AssembledShader shader = Assemble(records);
  return CompileShader(records.language, records.stage, shader, options);
}

TEST(ShaderCompilerTest, AProgramBecomesSpirv) {
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    ShaderRecords records = MakeSumRecords(*language);
    auto compiled = CompileRecords(records);
    ASSERT_THAT(compiled, IsOk());
    ASSERT_TRUE(compiled->IsCompiled());
    EXPECT_EQ(compiled->words[0], 0x07230203u);
    EXPECT_TRUE(compiled->messages.IsEmpty());
  }
}

TEST(ShaderCompilerTest, NoArithmeticIsContracted) {
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    for (const Bool isOptimized : {false, true}) {
      ShaderRecords records = MakeSumRecords(*language);
      auto compiled = CompileRecords(records, {.isOptimized = isOptimized});
      ASSERT_THAT(compiled, IsOk());
      const Arithmetic arithmetic = CountArithmetic(compiled->words);
      EXPECT_GE(arithmetic.operations, 2);
      EXPECT_EQ(arithmetic.unmarked, 0);
    }
  }
}

TEST(ShaderCompilerTest, SmallFunctionsAreInlinedAndNoisesStayFunctions) {
  ShaderRecords small = MakeSumRecords(kShadingLanguageGlsl);
  auto compiled = CompileRecords(small);
  ASSERT_THAT(compiled, IsOk());
  EXPECT_EQ(CountArithmetic(compiled->words).functions, 1);

  ShaderRecords noises =
      MakeRecords(kShadingLanguageGlsl,
                  "UNIFORM_BUFFER(a)[0] = RenderNoise(0, 0.5, 0.0);\nUNIFORM_BUFFER(a)[1] = RenderNoise(0, 0.7, 0.0);");
  AddBuffer(noises, "a", "float");
  noises.noiseTableCount = 1;
  auto large = CompileRecords(noises);
  ASSERT_THAT(large, IsOk());
  ASSERT_TRUE(large->IsCompiled());
  EXPECT_GT(CountArithmetic(large->words).functions, 20);
  EXPECT_EQ(CountArithmetic(large->words).unmarked, 0);
  EXPECT_LT(large->words.GetCount(), 60000);
}

// A generated program: `count` functions of some 80 words, each called once by the body.
ShaderRecords MakeManyFunctions(const Id& language, int count) {
  std::string body = "float x = UNIFORM_BUFFER(a)[0];\n";
  for (int i = 0; i < count; ++i) body += "x = Step" + std::to_string(i) + "(x, 1.5);\n";
  ShaderRecords records = MakeRecords(language, body + "UNIFORM_BUFFER(a)[0] = x;");
  for (int i = 0; i < count; ++i) {
    const std::string text = "float Step" + std::to_string(i) +
                             "(float x, float y)\n{\nfloat b = x * 3.5 + y;\nfloat c = sqrt(abs(b)) + sin(x);\n"
                             "if (b > c) return b - c;\nreturn b * c;\n}\n";
    AddFunction(records, text);
  }
  AddBuffer(records, "a", "float");
  return records;
}

TEST(ShaderCompilerTest, ThousandsOfSmallFunctionsDoNotBecomeOneHugeFunction) {
  constexpr UInt32 kOpLabel = 248;
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    // Optimised, and beyond the size up to which programs are.
    for (const int count : {800, 2000}) {
      ShaderRecords records = MakeManyFunctions(*language, count);
      auto compiled = CompileRecords(records);
      ASSERT_THAT(compiled, IsOk());
      ASSERT_TRUE(compiled->IsCompiled());
      Int blocks = 0, mostBlocks = 0;
      ForEachInstruction(compiled->words, [&](UInt32 opcode, std::span<const UInt32>) {
        if (opcode == kOpFunction) blocks = 0;
        if (opcode == kOpLabel) mostBlocks = std::max(mostBlocks, ++blocks);
      });
      EXPECT_GE(CountArithmetic(compiled->words).functions, count) << language->GetView();
      EXPECT_LT(mostBlocks, 20) << language->GetView();
    }
  }
}

TEST(ShaderCompilerTest, HlslThatIsNotOptimisedIsStillValidForDevices) {
  // A buffer that a function takes is not, before the passes for HLSL have replaced it.
  ShaderRecords records =
      MakeRecords(kShadingLanguageHlsl, "UNIFORM_BUFFER(a)[0] = First(UNIFORM_BUFFER(a), UNIFORM_BUFFER(a)[1]);");
  AddFunction(records, "float First(RWStructuredBuffer<float> b, float x)\n{\nreturn b[2] * x;\n}\n");
  AddBuffer(records, "a", "float");
  auto compiled = CompileRecords(records, {.isOptimized = false});
  ASSERT_THAT(compiled, IsOk());
  EXPECT_TRUE(compiled->IsCompiled()) << compiled->messages[0].text.GetView();
}

TEST(ShaderCompilerTest, NamesAreKeptOnlyForWhoAsks) {
  constexpr UInt32 kOpName = 5;
  const auto countNames = [](const ShaderCompilerOptions& options) {
    ShaderRecords records = MakeSumRecords(kShadingLanguageGlsl);
    auto compiled = CompileRecords(records, options);
    Int count = 0;
    ForEachInstruction(compiled->words, [&](UInt32 opcode, std::span<const UInt32>) { count += opcode == kOpName; });
    return count;
  };
  EXPECT_EQ(countNames({.isOptimized = false}), 0);
  EXPECT_GT(countNames({.isOptimized = false, .keepsNames = true}), 0);
}

TEST(ShaderCompilerTest, AMistakeIsReportedOnTheLineOfTheKernelFile) {
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    ShaderRecords records = MakeRecords(*language, "int a = 1;\nfloat b = UNIFORM(missing);");
    for (Int line = 10; line < 14; ++line)
      ASSERT_THAT(records.body.origins.Append(ShaderOrigin{"folder/k.krn"_s, line}), IsOk());
    const AssembledShader shader = Assemble(records);
    auto compiled = CompileShader(*language, DrawportStage::Compute, shader);
    ASSERT_THAT(compiled, IsOk());
    EXPECT_FALSE(compiled->IsCompiled());
    ASSERT_GE(compiled->messages.GetCount(), 1);
    const SourceMessage placed = *PlaceShaderMessage(shader, compiled->messages[0], "fallback.krn");
    EXPECT_EQ(placed.file, "folder/k.krn");
    EXPECT_EQ(placed.line, 12);
    const std::string message = FormatSourceMessage(placed);
    EXPECT_THAT(message, StartsWith("folder/k.krn:12: error: "));
    EXPECT_THAT(message, HasSubstr("UNIFORM(missing)"));
    const Error error = MakeCompileError(shader, *compiled, "fallback.krn");
    EXPECT_EQ(error.GetKind(), kIllegalArgumentError);
    EXPECT_THAT(std::string(error.GetMessage().GetView()), StartsWith(message));
    EXPECT_EQ(GetSourceMessages(error).front(), placed);
  }
}

TEST(ShaderCompilerTest, ABraceThatStaysOpenIsReportedOnTheLastLine) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "int a = 1;\nif (a > 0) {");
  for (Int line = 10; line < 14; ++line)
    ASSERT_THAT(records.body.origins.Append(ShaderOrigin{"folder/k.krn"_s, line}), IsOk());
  const AssembledShader shader = Assemble(records);
  auto compiled = CompileShader(kShadingLanguageGlsl, DrawportStage::Compute, shader);
  ASSERT_THAT(compiled, IsOk());
  const std::string message(MakeCompileError(shader, *compiled, "fallback.krn").GetMessage().GetView());
  EXPECT_THAT(message, StartsWith("folder/k.krn:1"));
  EXPECT_THAT(message, HasSubstr("(behind the last line: is a brace left open?)"));
}

TEST(ShaderCompilerTest, MessagesThatGoOnInFurtherLinesAreWhole) {
  ShaderRecords recursion = MakeRecords(kShadingLanguageGlsl, "float x = Down(3.0);");
  AddFunction(recursion, "float Down(float x)\n{\nreturn x > 0.0 ? Down(x - 1.0) : x;\n}\n");
  EXPECT_THAT(Compile(recursion), HasSubstr("Recursion detected: Down calling Down"));
  ShaderRecords extension = MakeRecords(kShadingLanguageGlsl, "int16_t x = int16_t(1);");
  EXPECT_THAT(Compile(extension), testing::ContainsRegex("Possible extensions include: GL_[A-Za-z0-9_]+ GL_"));
}

// The library's linker finds it, which knows no lines.
TEST(ShaderCompilerTest, RecursionIsReportedAtTheFunction) {
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    const auto compile = [language](std::string_view function) {
      ShaderRecords records = MakeRecords(*language, "float x = Down(3.0);");
      AddFunction(records, "float CountDown(float x)\n{\nreturn x;\n}\n");
      AddFunction(records, function);
      return Compile(records);
    };
    const std::string mistake = compile("float Down(float x, missing y)\n{\nreturn x;\n}\n");
    const std::string line = mistake.substr(0, mistake.find(':') + 1);
    EXPECT_THAT(line, testing::MatchesRegex("[1-9][0-9]*:"));
    EXPECT_THAT(compile("float Down(float x)\n{\nreturn x > 0.0 ? Down(x - 1.0) : x;\n}\n"),
                AllOf(StartsWith(line), HasSubstr("Recursion detected: Down calling Down")));
  }
}

TEST(ShaderCompilerTest, FunctionsThatCallEachOtherOrHaveNoBodyAreReported) {
  ShaderRecords circle = MakeRecords(kShadingLanguageGlsl, "float x = Down(3.0);");
  AddFunction(
      circle,
      "float Down(float x)\n{\nreturn x;\n}\nfloat Left(float x);\nfloat Right(float x)\n{\nreturn Left(x);\n}\n"
      "float Left(float x)\n{\nreturn Right(x);\n}\n");
  EXPECT_THAT(Compile(circle), HasSubstr("Recursion detected: "));
  ShaderRecords bodiless = MakeRecords(kShadingLanguageGlsl, "float x = Down(3.0);");
  AddFunction(
      bodiless,
      "float Down(float x)\n{\nreturn x;\n}\nfloat Left(float x);\nfloat Right(float x)\n{\nreturn Left(x);\n}\n");
  EXPECT_EQ(Compile(bodiless), "");  // it is not called
  ShaderRecords called = MakeRecords(kShadingLanguageGlsl, "float x = Down(3.0);");
  AddFunction(called, "float Left(float x);\nfloat Down(float x)\n{\nreturn Left(x);\n}\n");
  EXPECT_THAT(Compile(called), HasSubstr("No function definition (body) found"));
}

TEST(ShaderCompilerTest, WhatIsNotCalledIsLeftOut) {
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    const auto count = [language](std::string_view functions) {
      ShaderRecords records = MakeSumRecords(*language);
      if (!functions.empty()) AddFunction(records, functions);
      const auto compiled = CompileShader(*language, DrawportStage::Compute, Assemble(records), {.isOptimized = false});
      EXPECT_TRUE(compiled && compiled->IsCompiled());
      return compiled ? CountArithmetic(compiled->words).functions : 0;
    };
    const Int alone = count("");
    EXPECT_GT(alone, 1);
    EXPECT_EQ(count("float Inner(float x)\n{\nreturn x + 1.0;\n}\nfloat Outer(float x)\n{\nreturn Inner(x);\n}\n"),
              alone);
  }
}

TEST(ShaderCompilerTest, AMistakeOutsideOfKernelFilesNamesTheKernelFileAsAWhole) {
  ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "int a = missing;");
  const AssembledShader shader = Assemble(records);
  auto compiled = CompileShader(kShadingLanguageGlsl, DrawportStage::Compute, shader);
  ASSERT_THAT(compiled, IsOk());
  const std::string message = FormatSourceMessage(*PlaceShaderMessage(shader, compiled->messages[0], "k.krn"));
  EXPECT_THAT(message, StartsWith("k.krn: error: 'missing' : undeclared identifier (line "));
  EXPECT_EQ(FormatSourceMessage(*PlaceShaderMessage(shader, {false, 0, "odd"_s}, "k.krn")), "k.krn: warning: odd");
}

TEST(ShaderCompilerTest, OtherLanguagesAndStagesAreRefused) {
  ShaderRecords records = MakeSumRecords(kShadingLanguageGlsl);
  const AssembledShader shader = Assemble(records);
  EXPECT_THAT(CompileShader(kShadingLanguageMetal, DrawportStage::Compute, shader),
              IsErrorWith(kIllegalArgumentError, "Shaders in the language \"METAL\" cannot be compiled."));
  EXPECT_THAT(CompileShader(kShadingLanguageGlsl, static_cast<DrawportStage>(4), shader),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST(ShaderCompilerTest, TextThatIsNoShaderIsAMessageAndNoError) {
  for (const char* text : {"", "nonsense", "\x01\xFF", "#version 450\nvoid main() {"}) {
    AssembledShader shader;
    shader.text = MakeText(text);
    for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
      auto compiled = CompileShader(*language, DrawportStage::Compute, shader);
      ASSERT_THAT(compiled, IsOk());
      EXPECT_FALSE(compiled->IsCompiled());
      EXPECT_FALSE(compiled->messages.IsEmpty()) << text << " " << language->GetView();
    }
  }
}

// The same bytes as on the CPU: 12 for three floats, 36 for nine, 16 for a struct of three and one.
TEST(ScalarLayoutTest, BuffersArePackedInBothLanguages) {
  for (const Id* language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    for (const Bool isOptimized : {false, true}) {
      ShaderRecords records =
          MakeRecords(*language,
                      "uint i = InGlobalInvocationID.x;\nUNIFORM_BUFFER(p)[i].position = mul(UNIFORM_BUFFER(m)[i], "
                      "UNIFORM_BUFFER(v)[i]);\n"
                      "UNIFORM_BUFFER(p)[i].mass = 1.0;\nUNIFORM_BUFFER(p)[i].turn = UNIFORM_BUFFER(m)[i];");
      ShaderStruct particle{"Particle"_s, {}, {}};
      ASSERT_THAT(particle.members.Append(ShaderMember{"vec3"_s, "position"_s, {}}), IsOk());
      ASSERT_THAT(particle.members.Append(ShaderMember{"float"_s, "mass"_s, {}}), IsOk());
      ASSERT_THAT(particle.members.Append(ShaderMember{"mat3"_s, "turn"_s, {}}), IsOk());
      ASSERT_THAT(records.structs.Append(std::move(particle)), IsOk());
      AddBuffer(records, "v", "vec3");
      AddBuffer(records, "m", "mat3");
      AddBuffer(records, "p", "Particle");
      auto compiled = CompileRecords(records, {.isOptimized = isOptimized});
      ASSERT_THAT(compiled, IsOk());
      ASSERT_TRUE(compiled->IsCompiled()) << compiled->messages[0].text.GetView();
      std::set<UInt32> strides, matrixStrides, offsets;
      ForEachInstruction(compiled->words, [&](UInt32 opcode, std::span<const UInt32> instruction) {
        constexpr UInt32 kOpMemberDecorate = 72, kArrayStride = 6, kMatrixStride = 7, kOffset = 35;
        if (opcode == kOpDecorate && instruction[2] == kArrayStride) strides.insert(instruction[3]);
        if (opcode == kOpMemberDecorate && instruction[3] == kMatrixStride) matrixStrides.insert(instruction[4]);
        if (opcode == kOpMemberDecorate && instruction[3] == kOffset) offsets.insert(instruction[4]);
      });
      EXPECT_THAT(strides, testing::ElementsAre(12, 36, 52)) << language->GetView();
      EXPECT_THAT(matrixStrides, testing::ElementsAre(12)) << language->GetView();
      EXPECT_THAT(offsets, testing::ElementsAre(0, 12, 16)) << language->GetView();
    }
  }
}

TEST(ContractionTest, WordsThatAreNoSpirvStayAsTheyAre) {
  for (const std::vector<UInt32>& words :
       {std::vector<UInt32>{}, std::vector<UInt32>{1, 2, 3}, std::vector<UInt32>{1, 2, 3, 4, 5, 0},
        std::vector<UInt32>{1, 2, 3, 4, 5, 0xFFFF0081u}}) {
    std::vector<UInt32> changed = words;
    shadercompiler::ForbidContraction(changed);
    EXPECT_EQ(changed, words);
    shadercompiler::LimitInlining(changed);
    EXPECT_EQ(changed, words);
    shadercompiler::PackStructuredBuffers(changed);
    EXPECT_EQ(changed, words);
  }
}

TEST(ClangReportTest, ErrorsAndWarningsAreTakenAndNotesLeftOut) {
  const std::vector<ShaderMessage> messages = tool::ReadClangReport(
      "/tmp/x:12:5: error: use of undeclared identifier 'a'\n/tmp/x:3:1: note: here\n/tmp/x:14:5: warning: odd\n"
      "/other:1:2: error: inside\n/tmp/x:1:10: fatal error: no file\n2 errors generated.\n",
      "/tmp/x");
  ASSERT_EQ(messages.size(), 4u);
  EXPECT_TRUE(messages[0].isError);
  EXPECT_EQ(messages[0].line, 12);
  EXPECT_EQ(messages[0].text, "use of undeclared identifier 'a'");
  EXPECT_FALSE(messages[1].isError);
  EXPECT_EQ(messages[1].line, 14);
  EXPECT_EQ(messages[2].line, 0);
  EXPECT_EQ(messages[2].text, "inside");
  EXPECT_EQ(messages[3].text, "no file");
}

// What is kept of the compiler's results is found by this.
TEST(ShaderCompiler, ItsVersionNamesTheLibrariesAndTheFilesOfItsOwnPasses) {
  const auto version = GetShaderCompilerVersion();
  ASSERT_THAT(version, IsOk());
  EXPECT_THAT(std::string(version->GetView()),
              testing::MatchesRegex("glslang [0-9]+\\.[0-9]+\\.[0-9]+.*, .*, passes [0-9a-f]+"));
  const std::string_view text = version->GetView();
  EXPECT_EQ(text.size() - text.rfind(' ') - 1, 16u);
}

}  // namespace
}  // namespace ostra::test
