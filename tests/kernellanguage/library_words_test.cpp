// Words that are written in the language itself: every one is understood, and so is what its plain form says.
#include "parallelprogram/kernellanguage/library_words.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/plain_form.h"

namespace ostra::kernellanguage {
namespace {

std::string PrintPlain(const AnalyzedKernel& kernel, Bool isForGpu) {
  const PlainForm form = PrintPlainForm(kernel, {.isForGpu = isForGpu});
  EXPECT_FALSE(form.refusal) << form.refusal->reason;
  return form.text;
}

// A body that calls one overload with variables of its types.
std::string MakeCall(std::string_view word, const Overload& overload) {
  const TypeTable types;
  std::string body, arguments;
  for (UInt8 i = 0; i < overload.count; ++i) {
    const std::string name = Join({"a", std::to_string(i)});
    body += Join({types.GetName(overload.parameters[i]), " ", name, ";\n"});
    arguments += Join({i == 0 ? "" : ", ", name});
  }
  const std::string result = overload.result == kVoidType ? "" : Join({types.GetName(overload.result), " r = "});
  return Join({body, result, word, "(", arguments, ");"});
}

// The overloads of the word that the language itself defines.
std::vector<Overload> ListWritten(const Word& word) {
  std::vector<Overload> written;
  if (IsLibraryWord(word.id)) written.assign(GetOverloads(word.id).begin(), GetOverloads(word.id).end());
  const auto longs = GetLongOverloads(word.id);
  written.insert(written.end(), longs.begin(), longs.end());
  return written;
}

TEST(LibraryWordsTest, EveryOverloadHasAPlainFormThatIsItsOwnPlainForm) {
  int count = 0;
  for (const Word& word : GetWords()) {
    for (const Overload& overload : ListWritten(word)) {
      ++count;
      const std::string call = MakeCall(word.name, overload);
      const AnalyzedKernel kernel = AnalyzeBody(call);
      ASSERT_TRUE(kernel.IsUnderstood()) << call << ListErrors(kernel);
      EXPECT_FALSE(kernel.resolved.extensions.empty()) << call;
      const std::string text = PrintPlain(kernel, false);
      const AnalyzedKernel again = AnalyzeText(text);
      ASSERT_TRUE(again.IsUnderstood()) << text << ListErrors(again);
      EXPECT_EQ(again.resolved.firstUnprintable, kNoNode) << text;
      EXPECT_EQ(PrintPlain(again, false), text);
      EXPECT_TRUE(AnalyzeText(PrintPlain(kernel, true)).IsUnderstood()) << PrintPlain(kernel, true);
    }
  }
  EXPECT_GT(count, 100);
}

TEST(LibraryWordsTest, EveryDefinitionIsUsed) {
  std::string all;
  for (const Word& word : GetWords()) {
    for (const Overload& overload : ListWritten(word))
      all += PrintPlain(AnalyzeBody(MakeCall(word.name, overload)), false);
  }
  for (const LibraryFunction& function : GetLibraryFunctions())
    EXPECT_NE(all.find(Join({" ", function.name, "("})), std::string::npos) << function.name;
}

TEST(LibraryWordsTest, ADefinitionStandsOnceAndBeforeItsUse) {
  const std::string text = PrintPlain(
      AnalyzeBody("vec3 a = round(UNIFORM(v)); float b = round(UNIFORM(f)); uint c = packUnorm2x16(vec2(b, b));"),
      false);
  const std::size_t first = text.find("float ostra_round_float(float v0)");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(text.find("float ostra_round_float(float v0)", first + 1), std::string::npos);
  EXPECT_LT(first, text.find("ostra_round_vec3("));
  EXPECT_LT(first, text.find("ostra_unorm_of("));
}

// What a file says itself comes first.
TEST(LibraryWordsTest, FunctionsVariablesAndMacrosOfTheFileWin) {
  constexpr std::string_view kOwn = "inline float round(float x)\n{\n\treturn x;\n}\n";
  EXPECT_EQ(PrintPlain(AnalyzeBody("float a = round(UNIFORM(f));", kOwn), false).find("ostra_round"),
            std::string::npos);
  EXPECT_EQ(FindReason("float a = round(UNIFORM(f));", kOwn), "");
  EXPECT_EQ(FindReason("float lerp = 1.0; float a = lerp;"), "");
  EXPECT_EQ(FindReason("float a = saturate(UNIFORM(f));", "#define saturate(x) clamp(x, 0.0, 2.0)\n"), "");
  EXPECT_EQ(
      PrintPlain(AnalyzeBody("float a = lerp(1.0, 2.0);", "#define lerp(x, y) max(x, y)\n"), false).find("ostra_"),
      std::string::npos);
}

TEST(LibraryWordsTest, AFunctionBelowWins) {
  const AnalyzedKernel kernel = AnalyzeText(
      "inline float F(float x)\n{\n\treturn round(x);\n}\ninline float round(float x)\n{\n\treturn x;\n}\n"
      "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tfloat a = F(1.0);\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  const std::string text = PrintPlain(kernel, false);
  EXPECT_EQ(text.find("ostra_round"), std::string::npos) << text;
  EXPECT_LT(text.find("float round(float x)"), text.find("float F(float x)")) << text;
}

TEST(LibraryWordsTest, ArgumentsThatAreSetAreVariablesOfTheirType) {
  EXPECT_EQ(FindErrors("float w; float a = modf(1.5, w);"), "");
  EXPECT_EQ(FindErrors("uint e; float a = frexp(1.5, e);"),
            "1:19: there is no frexp of float, uint; it takes (float, int), (vec2, int2), (vec3, int3), (vec4, int4)");
  EXPECT_EQ(FindErrors("float a = modf(1.5, 2.0);"), "1:21: an argument that modf sets needs a variable, not a value");
  EXPECT_EQ(FindErrors("const float w = 1.0; float a = modf(1.5, w);"), "1:42: \"w\" is const");
}

// Metal takes no element of a buffer and no component where a function sets its argument.
TEST(LibraryWordsTest, WhatIsSetGoesThroughAVariable) {
  const std::string text =
      PrintPlain(AnalyzeBody("vec3 w; vec3 a = modf(UNIFORM(v), w); float b = modf(2.5, w.x);"), true);
  EXPECT_NE(text.find("\tfloat rx = ostra_modf_float_float(v0.x, v1x);\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\tv1 = vec3(v1x, v1y, v1z);\n"), std::string::npos) << text;
  EXPECT_NE(text.find("float b = ostra_modf_float_float(2.5, ostraArgument1);\n\tw.x = ostraArgument1;\n"),
            std::string::npos)
      << text;
}

// Words of a group are barriers: every invocation comes to them.
TEST(LibraryWordsTest, WordsOfAGroupNeedAllOfIt) {
  const auto find = [](std::string_view body, std::string_view before = "") {
    const AnalyzedKernel kernel = AnalyzeBody(body, before);
    return kernel.errors.empty() ? std::string() : kernel.errors[0].text;
  };
  constexpr std::string_view kTogether =
      "all invocations of a group must come to a groupSharedBarrier together, but this condition differs between them";
  EXPECT_EQ(find("float a = groupReduceAdd(UNIFORM(f)) + 1.0; a += groupReduceMin(a);"), "");
  EXPECT_EQ(find("if (UNIFORM(n) > 1u) { float a = groupReduceAdd(UNIFORM(f)); }"), "");
  EXPECT_EQ(find("if (InLocalInvocationID.x > 1u) { float a = groupReduceAdd(UNIFORM(f)); }"), kTogether);
  EXPECT_EQ(find("if (InLocalInvocationID.x > 1u) return; float a = groupReduceAdd(UNIFORM(f));"), kTogether);
  EXPECT_EQ(find("bool b = groupAny(InLocalInvocationID.x > 1u); if (b) { groupSharedBarrier; }"), "");
  EXPECT_EQ(find("uint b = groupScanInclusiveAdd(1u); if (b > 1u) { groupSharedBarrier; }"), kTogether);
  EXPECT_EQ(find("uint b = UNIFORM(n) > 1u ? groupReduceAdd(1u) : 0u;"),
            "groupReduceAdd needs a statement of its own here: assign its value to a variable before");
  EXPECT_EQ(find("if (groupAny(UNIFORM(n) > 1u)) return;"),
            "groupAny needs a statement of its own here: assign its value to a variable before");
  EXPECT_EQ(find("", "inline uint F()\n{\nreturn groupReduceAdd(1u);\n}\n"),
            "groupReduceAdd stands in a function: it belongs into the kernel");
}

// C++ has functions by some of these names, which take other numbers.
TEST(LibraryWordsTest, WhatOnlyCppKnowsIsLeftToIt) {
  EXPECT_EQ(FindErrors("double d = 1.5; double a = round(d);"), "");
  EXPECT_NE(FindReason("double d = 1.5; double a = round(d);"), "");
  EXPECT_EQ(FindErrors("float a = fmod(1.0);"), "");
  EXPECT_EQ(FindErrors("float a = saturate(1.0, 2.0);"), "1:11: saturate does not take 2 arguments");
}

}  // namespace
}  // namespace ostra::kernellanguage
