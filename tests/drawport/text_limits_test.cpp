// Texts that would end the process or take all memory in a compiler.
#include "ostra/shadercompiler/text_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using shadercompiler::FindTextLimitError;
using testing::HasSubstr;
using testing::StartsWith;

std::string Repeat(std::string_view text, Int count) {
  std::string result;
  for (Int i = 0; i < count; ++i) result += text;
  return result;
}

// "line: text"; empty for a text within the limits.
std::string Find(std::string_view text) {
  const auto found = FindTextLimitError(text);
  return found ? std::to_string(found->line) + ": " + found->text : std::string();
}

std::string MakeDoublingDefines(Int count, std::string_view sign = " ; ") {
  std::string text = "#define D0 x\n";
  for (Int i = 0; i < count; ++i) {
    const std::string from = "D" + std::to_string(i);
    text.append("#define D").append(std::to_string(i + 1)).append(" ").append(from).append(sign).append(from);
    text += '\n';
  }
  return text;
}

TEST(TextLimitsTest, OrdinaryTextsAreWithinTheLimits) {
  EXPECT_EQ(Find(""), "");
  EXPECT_EQ(Find("float f(float x) { return x > 0.0 ? -x : x * (2.0 + x); }"), "");
  EXPECT_EQ(Find(Repeat("float f(float x) { return x; }\n", 20000)), "");
  EXPECT_EQ(Find("float t[] = float[](" + Repeat("1.0, ", 50000) + "1.0);"), "");
  EXPECT_EQ(Find("float t[] = {" + Repeat("{1.0, 2.0}, ", 50000) + "};"), "");
  EXPECT_EQ(Find(Repeat("(", 256) + Repeat(")", 256)), "");
  EXPECT_EQ(Find("/* " + Repeat("(", 5000) + "*/ // " + Repeat("(", 5000) + "\na = 1;"), "");
  EXPECT_EQ(Find("a = " + Repeat("a + ", 3000) + "a; a = " + Repeat("a + ", 3000) + "a;"), "");
}

TEST(TextLimitsTest, MacrosThatNameThemselvesEnd) {
  EXPECT_EQ(Find("#define F(x) F(x)\nF(1) F\n#define G H\n#define H G\nG H G(1)\n"
                 "#define X(a) Y(a)\n#define Y X\nX(1)\n#define P(a) Q(a)\n#define Q(a) P(a)\nP(P(1)) Q(P"),
            "");
}

TEST(TextLimitsTest, DeepBracketsAreFoundOnTheirLine) {
  for (const std::string brackets : {"()", "[]", "{}"})
    EXPECT_THAT(Find("a;\n" + Repeat(brackets.substr(0, 1), 257) + Repeat(brackets.substr(1), 257)),
                StartsWith("2: brackets are nested more than 256 deep"));
  EXPECT_THAT(Find("#if " + Repeat("(", 300) + "1" + Repeat(")", 300) + "\n#endif\n"), StartsWith("1: brackets"));
}

TEST(TextLimitsTest, LongChainsAreFoundOnTheirLine) {
  const auto isFound = StartsWith("2: an expression or a chain of statements has more than 10000 words and operators");
  for (const char* part : {"a + ", "b = ", "a > 1.0 ? a : ", "if (a) ", "if (a) b; else ", "(float)", "- - "})
    EXPECT_THAT(Find("\n c = " + Repeat(part, 5100) + "a;"), isFound) << part;
  for (const char* begin : {"c = (", "return (", "c = f(g + ("})
    EXPECT_THAT(Find("\n " + std::string(begin) + Repeat("a, ", 6000) + "a));"), isFound) << begin;
  EXPECT_THAT(Find("\n if (a) { b; }" + Repeat(" else if (a) { b; }", 3000)), isFound);
  // The depth of what is in brackets counts for what is around them.
  EXPECT_THAT(Find("\n c = (" + Repeat("a + ", 3000) + "a)" + Repeat(" + a", 3000) + ";"), isFound);
}

TEST(TextLimitsTest, WhatMacrosStandForIsCounted) {
  const auto isFound = HasSubstr("2000000 words and operators with what its macros stand for");
  EXPECT_EQ(Find(MakeDoublingDefines(40)), "");  // of no use, and of no harm
  EXPECT_EQ(Find(MakeDoublingDefines(10) + "float a = D10;"), "");
  EXPECT_THAT(Find(MakeDoublingDefines(40) + "\nfloat a;\nfloat b = D40;"), AllOf(StartsWith("44: "), isFound));
  EXPECT_THAT(Find(MakeDoublingDefines(40, " + ") + "D40"), StartsWith("42: an expression"));
  std::string calls = "#define F0(x) x; x\n", empty = "#define E0\n", nested = "#define N0 1\n";
  for (int i = 0; i < 40; ++i) {
    const std::string to = std::to_string(i + 1), from = std::to_string(i);
    calls.append("#define F").append(to).append("(x) F").append(from).append("(x); F").append(from).append("(x;1)\n");
    empty.append("#define E").append(to).append(" E").append(from).append(" E").append(from).append("\n");
  }
  EXPECT_THAT(Find(calls + "F40(a)"), isFound);
  EXPECT_THAT(Find(calls + "#define A F40\nA(a)"), isFound);
  EXPECT_THAT(Find(empty + "E40"), isFound);
  for (int i = 0; i < 5000; ++i)
    nested.append("#define N").append(std::to_string(i + 1)).append(" (N").append(std::to_string(i)).append(")\n");
  EXPECT_THAT(Find(nested + "N5000"), StartsWith("5002: "));
  EXPECT_EQ(Find(nested + "N200"), "");
}

// Whatever is within the limits is compiled, whatever stack the caller has.
TEST(TextLimitsTest, CompilersSurviveTheLargestTexts) {
  const std::string values[] = {Repeat("a + ", 4900) + "a",
                                Repeat("- ", 2400) + "a",
                                Repeat("b = ", 4900) + "a",
                                "(" + Repeat("a, ", 4900) + "a)",
                                Repeat("(", 240) + "a" + Repeat(")", 240),
                                Repeat("a > 1.0 ? a : ", 1400) + "a",
                                Repeat("sin(", 240) + "a" + Repeat(")", 240)};
  for (const Id* const language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl})
    for (const std::string& value : values) {
      ShaderRecords records = MakeRecords(
          *language, "float a = UNIFORM_BUFFER(a)[0];\nfloat b = 0.0;\nUNIFORM_BUFFER(a)[1] = " + value + ";");
      AddBuffer(records, "a", "float");
      const auto compiled = CompileShader(*language, DrawportStage::Compute, Assemble(records), {.isOptimized = false});
      ASSERT_THAT(compiled, IsOk());
      // Compilers have limits of their own, which they tell.
      EXPECT_TRUE(compiled->IsCompiled() || compiled->messages.IsPopulated());
    }
}

TEST(TextLimitsTest, TheLibraryRefusesWhatIsBeyondThem) {
  for (const Id* const language : {&kShadingLanguageGlsl, &kShadingLanguageHlsl}) {
    ShaderRecords records = MakeRecords(
        *language, "float a = 1.0;\nUNIFORM_BUFFER(a)[0] = " + Repeat("(", 5000) + "a" + Repeat(")", 5000) + ";");
    AddBuffer(records, "a", "float");
    const auto compiled = CompileShader(*language, DrawportStage::Compute, Assemble(records));
    ASSERT_THAT(compiled, IsOk());
    EXPECT_FALSE(compiled->IsCompiled());
    ASSERT_EQ(compiled->messages.GetCount(), 1);
    EXPECT_THAT(std::string(compiled->messages[0].text.GetView()),
                StartsWith("brackets are nested more than 256 deep"));
  }
}

}  // namespace
}  // namespace ostra::test
