// Headers, macros and conditions.
#include "parallelprogram/kernellanguage/preprocessor.h"

#include <gtest/gtest.h>

#include <map>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

struct Expanded {
  SourceMap sources;
  TokenStream stream;
  std::string text;  // tokens with a blank between them, or the first error or reason
};

Expanded Expand(std::string_view text, const std::map<std::string, std::string>& headers = {},
                std::string_view templateArgument = {}) {
  Expanded result;
  Source source{.fileName = "k.krn", .text = text, .templateArgument = templateArgument};
  source.readHeader = [&](const std::string& name, const std::string&) -> std::optional<Header> {
    const auto found = headers.find(name);
    if (found == headers.end()) return std::nullopt;
    return Header{name, found->second};
  };
  result.stream = Preprocess(source, result.sources);
  if (!result.stream.errors.empty()) {
    result.text = Join({"error: ", result.stream.errors[0].text});
  } else if (result.stream.notUnderstood) {
    result.text = Join({"reason: ", result.stream.notUnderstood->reason});
  } else {
    for (const Token& token : result.stream.tokens) {
      if (token.kind == TokenKind::kEnd) break;
      if (!result.text.empty()) result.text += ' ';
      result.text += token.kind == TokenKind::kInputsBegin ? "<"
                     : token.kind == TokenKind::kInputsEnd ? ">"
                                                           : token.text;
    }
  }
  return result;
}

TEST(PreprocessorTest, MacrosAreExpandedWithTheirArguments) {
  EXPECT_EQ(Expand("#define A 1 + B\n#define B 2\nA").text, "1 + 2");
  EXPECT_EQ(Expand("#define TWICE(x) ((x) + (x))\nTWICE(TWICE(a))").text,
            "( ( ( ( a ) + ( a ) ) ) + ( ( ( a ) + ( a ) ) ) )");
  EXPECT_EQ(Expand("#define F(x, y) x y\nF((a, b), c) F").text, "( a , b ) c F");
  EXPECT_EQ(Expand("#define F() 3\nF()").text, "3");
}

TEST(PreprocessorTest, AMacroIsNotExpandedInItself) {
  EXPECT_EQ(Expand("#define A B\n#define B A\nA B").text, "A B");
  EXPECT_EQ(Expand("#define F(x) F(x + 1)\nF(F(2))").text, "F ( F ( 2 + 1 ) + 1 )");
}

TEST(PreprocessorTest, AMacroHoldsFromItsDefinitionToItsEnd) {
  EXPECT_EQ(Expand("A\n#define A 1\nA\n#undef A\nA").text, "A 1 A");
}

TEST(PreprocessorTest, ArgumentsKeepTheirOwnPlace) {
  const Expanded result = Expand("#define F(x) (x)\nF(argument)");
  ASSERT_GE(result.stream.tokens.size(), 3u);
  EXPECT_EQ(result.sources.Locate(result.stream.tokens[1].offset), (SourceLocation{"k.krn", 2, 3}));
  EXPECT_TRUE(SourceMap::IsExpansion(result.stream.tokens[0].offset));
}

TEST(PreprocessorTest, HeadersArePutInWhereTheyAreIncluded) {
  EXPECT_EQ(Expand("a\n#include \"h.h\"\nb", {{"h.h", "#define X 1\nh"}}).text, "a h b");
  EXPECT_EQ(Expand("#include \"a.h\"\nX", {{"a.h", "#include \"b.h\"\n"}, {"b.h", "#define X 5\n"}}).text, "5");
}

TEST(PreprocessorTest, GuardedHeadersAreReadOnce) {
  const std::string guarded = "#ifndef H\n#define H\nh\n#endif\n", once = "#pragma once\nh\n";
  EXPECT_EQ(Expand("#include \"h.h\"\n#include \"h.h\"\n", {{"h.h", guarded}}).text, "h");
  EXPECT_EQ(Expand("#include \"h.h\"\n#include \"h.h\"\n", {{"h.h", once}}).text, "h");
  EXPECT_EQ(Expand("#include \"h.h\"\n", {{"h.h", "a\n#include \"h.h\"\nb\n"}}).text, "a b");
}

TEST(PreprocessorTest, WhatTheCompilerAloneFindsIsNotUnderstood) {
  EXPECT_EQ(Expand("#include <cmath>\n").text, "reason: this #include: the header is not one of the kernel's own");
  EXPECT_EQ(Expand("#include \"x.h\"\n").text, "reason: the header \"x.h\" is not one of the kernel's own");
  EXPECT_EQ(Expand("#ifdef __GNUC__\n#endif\n").text, "reason: whether the macro \"__GNUC__\" is defined");
  EXPECT_EQ(Expand("#if VERSION > 3\n#endif\n").text, "reason: the value of \"VERSION\"");
  EXPECT_EQ(Expand("#pragma GCC ivdep\n").text, "reason: the directive #pragma");
  EXPECT_EQ(Expand("#define F(x) #x\nF(a)").text, "reason: a macro with # or ##");
  EXPECT_EQ(Expand("#define sqrt fast\n").text, "reason: \"sqrt\" is a word of the language and defined as a macro");
}

TEST(PreprocessorTest, ConditionsChooseLines) {
  EXPECT_EQ(Expand("#define A 3\n#if A > 2 && defined(A) && !0\nyes\n#else\nno\n#endif").text, "yes");
  EXPECT_EQ(Expand("#define A 1\n#if A == 0\na\n#elif A == 1\nb\n#elif A == 1\nc\n#else\nd\n#endif").text, "b");
  EXPECT_EQ(Expand("#if 0\n#if 1\na\n#else\nb\n#endif\n#include <no>\n#endif\nc").text, "c");
  EXPECT_EQ(Expand("#if (2 + 3) * 2 - 1 != 9\na\n#endif\nb").text, "b");
  EXPECT_EQ(Expand("#define A\n#undef A\n#ifndef A\na\n#endif").text, "a");
}

// The CPU form takes them out of their place, whatever condition they stand under.
TEST(PreprocessorTest, DirectivesOfTheLanguageBelowConditionsAreNotUnderstood) {
  EXPECT_EQ(Expand("#if 0\nGROUPSIZE(8, 8, 1)\n#endif").text,
            "reason: GROUPSIZE below a condition of the preprocessor");
}

TEST(PreprocessorTest, OpenConditionsAndCommentsAreErrors) {
  EXPECT_EQ(Expand("#if 1\na").text, "error: this condition has no #endif");
  EXPECT_EQ(Expand("a\n#endif").text, "error: #endif without an #if");
  EXPECT_EQ(Expand("a /* b").text, "error: this comment is not closed: */ is missing");
}

TEST(PreprocessorTest, ParametersStandBetweenMarks) {
  EXPECT_EQ(Expand("#define KERNELINPUTS \\\n(UInt32) n, \\\n(Block<Float32>) b\n\nc").text,
            "< ( UInt32 ) n , ( Block < Float32 > ) b > c");
}

TEST(PreprocessorTest, TheTemplateArgumentReplacesItsWordInWords) {
  EXPECT_EQ(Expand("TYPE a MYTYPE2", {}, "Vec4<Int32>").text, "Vec4 < Int32 > a MYVec4 < Int32 > 2");
  EXPECT_EQ(Expand("TYPE a").text, "TYPE a");
}

TEST(PreprocessorTest, EndlessSourcesEndWithALimit) {
  std::string macros = "#define A0 x x\n";
  for (int i = 1; i < 60; ++i)
    macros += Join({"#define A", std::to_string(i), " A", std::to_string(i - 1), " A", std::to_string(i - 1), "\n"});
  EXPECT_EQ(Expand(macros + "A59").text, "reason: more than 200000 expansions of macros");
  std::string deep = "#define B0 x\n";
  for (int i = 1; i < 400; ++i) deep += Join({"#define B", std::to_string(i), " B", std::to_string(i - 1), " y\n"});
  EXPECT_EQ(Expand(deep + "B399").text, "reason: macros nested deeper than 200");
  const auto chain = [](const std::string& name) { return Join({"#include \"", name, "x\"\n"}); };
  std::map<std::string, std::string> headers;
  for (std::string name = "h"; name.size() < 100; name += "x") headers[name] = chain(name);
  EXPECT_EQ(Expand("#include \"h\"\n", headers).text, "reason: headers nested deeper than 64");
  std::string many;
  for (int i = 0; i < 1001; ++i) many += "#include \"e\"\n";
  EXPECT_EQ(Expand(many, {{"e", ""}}).text, "reason: more than 1000 headers are included");
  EXPECT_EQ(Expand(std::string(kMaxTokens + 1, ';')).text, "reason: more than 2000000 tokens");
  std::string conditions;
  for (int i = 0; i < 100; ++i) conditions += "#if 1\n";
  EXPECT_EQ(Expand(conditions).text, "reason: conditions nested deeper than 64");
  EXPECT_EQ(Expand("#if " + std::string(10000, '(') + "\n#endif").text, "reason: this condition of the preprocessor");
}

}  // namespace
}  // namespace ostra::kernellanguage
