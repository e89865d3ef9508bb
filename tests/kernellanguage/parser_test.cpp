// From text to syntax trees, and mistakes of syntax.
#include "parallelprogram/kernellanguage/parse.h"

#include <gtest/gtest.h>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace ostra::kernellanguage {
namespace {

// The statements of a body, printed without their indentation.
std::string PrintBody(std::string_view body, std::string_view before = {}) {
  SourceMap sources;
  const std::string text = MakeKernel(body, before);
  const TokenStream tokens = Preprocess({.fileName = "k.krn", .text = text}, sources);
  const ParsedFile file = Parse(tokens);
  if (!file.errors.empty()) return "error: " + file.errors[0].text;
  if (file.notUnderstood) return "reason: " + file.notUnderstood->reason;
  const std::string whole = PrintTree(file.tree);
  const std::size_t begin = whole.find("kernel Test");
  std::string lines;
  for (std::size_t at = whole.find('\n', begin) + 1; at < whole.size(); at = whole.find('\n', at) + 1)
    lines += whole.substr(at + 6 < whole.find('\n', at) ? at + 6 : at, whole.find('\n', at) - at - 5);
  return lines.substr(lines.find('\n') + 1);
}

TEST(ParserTest, OperatorsBindAsInCpp) {
  EXPECT_EQ(PrintBody("a = b + c * d - e;"), "(= a (- (+ b (* c d)) e));\n");
  EXPECT_EQ(PrintBody("a = b = c ? d : e ? f : g;"), "(= a (= b (? c d (? e f g))));\n");
  EXPECT_EQ(PrintBody("a = b || c && d | e ^ f & g == h < i << j;"),
            "(= a (|| b (&& c (| d (^ e (& f (== g (< h (<< i j)))))))));\n");
  EXPECT_EQ(PrintBody("a += -b++ * !c.x[d];"), "(+= a (* (- (postfix++ b)) (! (at c.x d))));\n");
  EXPECT_EQ(PrintBody("a, b;"), "(, a b);\n");
}

TEST(ParserTest, DeclarationsHaveTypesDimensionsAndValues) {
  EXPECT_EQ(PrintBody("const float a = 1.0, b;"), "declare const float a = 1.0\ndeclare const float b\n");
  EXPECT_EQ(PrintBody("Vec4<UInt32> c[2][3];"), "declare Vec4<UInt32> c[2][3]\n");
  EXPECT_EQ(PrintBody("float d[] = {1.0, {2.0}};"), "declare float d[] = (list 1.0 (list 2.0))\n");
  EXPECT_EQ(PrintBody("vec3 e(1.0, 2.0, 3.0); unsigned int g = 3u;"),
            "declare vec3 e = (make vec3 1.0 2.0 3.0)\ndeclare uint g = 3u\n");
}

TEST(ParserTest, EveryStatementHasItsNode) {
  EXPECT_EQ(PrintBody("if (a) b; else if (c) { } else ;"), "if a\n  b;\n  if c\n    block\n    empty\n");
  EXPECT_EQ(PrintBody("for (int i = 0; i < 3; i++) continue;"),
            "for (< i 3) step (postfix++ i)\n  declare int i = 0\n  continue\n");
  EXPECT_EQ(PrintBody("for (;;) break;"), "for - step -\n  -\n  break\n");
  EXPECT_EQ(PrintBody("do { } while (a); while (b) return;"), "doWhile a\n  block\nwhile b\n  return -\n");
  EXPECT_EQ(PrintBody("switch (a) { case 1: case 2: b; default: c; }"),
            "switch a\n  block\n    case 1\n    case 2\n    b;\n    default\n    c;\n");
  EXPECT_EQ(PrintBody("GROUPSHAREDMEM(float, s, 64)\nMAKELOCAL(s, 64, Index);\ngroupSharedBarrier;\nADDNOISECALL"),
            "sharedArray float s 64\nmakeLocal s 64 Index\nbarrier\nnoiseMark\n");
}

TEST(ParserTest, WordsOfTheLanguageHaveNodesOfTheirOwn) {
  EXPECT_EQ(PrintBody("UNIFORM_BUFFER(out)[UNIFORM(n)] = LOCALDATA(in, 1, 2);"),
            "(= (at buffer.out uniform.n) (local.in 1 2));\n");
  EXPECT_EQ(PrintBody("a = float(b) + (int)c + static_cast<uint>(d) + vec3(1.0, 2.0, 3.0).x;"),
            "(= a (+ (+ (+ (make float b) (cast int c)) (cast uint d)) (make vec3 1.0 2.0 3.0).x));\n");
}

TEST(ParserTest, FunctionsHaveParametersOfAllKinds) {
  SourceMap sources;
  const std::string text = MakeKernel("",
                                      "struct P { float a[2], b; };\ninline P F(INOUT P a, out float b[2], const P& c, "
                                      "CPU_CONSTREF(vec3) d, in int e)\n{\nreturn a;\n}\n");
  const ParsedFile file = Parse(Preprocess({.text = text}, sources));
  const std::string tree = PrintTree(file.tree);
  EXPECT_NE(tree.find("  struct P\n    member float a[2]\n    member float b\n"), std::string::npos) << tree;
  EXPECT_NE(
      tree.find("  function P F\n    functionParameter inout P a\n    functionParameter out float b[2]\n"
                "    functionParameter const P& c\n    functionParameter const vec3 d\n    functionParameter int e\n"),
      std::string::npos)
      << tree;
}

TEST(ParserTest, BothFormsOfParametersAreOneList) {
  SourceMap sources, others;
  const std::string kernel = "OSTRA_PARALLEL_KERNEL(T, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  const std::string define = "#define KERNELINPUTS \\\n(const Block<Vec4<Int32>>) a, \\\n(Float32) b\n\n" + kernel;
  const std::string members = "struct KernelInput\n{\n\tconst Block<Vec4<Int32>>& a;\n\tFloat32 b;\n};\n" + kernel;
  const ParsedFile first = Parse(Preprocess({.text = define}, sources));
  const ParsedFile second = Parse(Preprocess({.text = members}, others));
  EXPECT_NE(PrintTree(first.tree).find("parameter const Block<Vec4<Int32>> a\n    parameter Float32 b\n"),
            std::string::npos);
  EXPECT_EQ(second.tree.GetChildren(second.tree.parameters).size(), 2u);
  EXPECT_TRUE(second.tree.HasFlag(second.tree.parameters, kIsStructForm));
}

TEST(ParserTest, ATreeIsTheSameWhereverItsTextStands) {
  SourceMap one, two;
  const ParsedFile first = Parse(Preprocess({.text = MakeKernel("int a = 1;")}, one));
  const ParsedFile second = Parse(Preprocess({.text = MakeKernel("\n\n  int /* b */ a=1 ;")}, two));
  SourceMap three;
  const ParsedFile third = Parse(Preprocess({.text = MakeKernel("int a = 2;")}, three));
  EXPECT_TRUE(first.tree.IsSame(second.tree));
  EXPECT_FALSE(first.tree.IsSame(third.tree));
}

TEST(ParserErrorTest, AMissingSemicolonIsToldBehindTheStatement) {
  EXPECT_EQ(FindErrors("\tfloat a = 1.0\n\tfloat b = 2.0;"), "1:14: \";\" is missing after this");
  EXPECT_EQ(FindErrors("int a;\na = 3\n"), "2:5: \";\" is missing after this");
}

TEST(ParserErrorTest, AMissingParenthesisIsToldWithItsPartner) {
  const AnalyzedKernel kernel = AnalyzeBody("float a = sqrt((1.0 + 2.0);");
  EXPECT_EQ(FindErrors("float a = sqrt((1.0 + 2.0);"), "1:26: \")\" is missing here");
  ASSERT_EQ(kernel.errors[0].notes.size(), 1u);
  EXPECT_EQ(kernel.sources.Locate(kernel.errors[0].notes[0].offset).column, 15);
  EXPECT_EQ(FindErrors("int a[3];\na[1 = 2;"), "2:7: \"]\" is missing here");
  EXPECT_EQ(FindErrors("int a = 1);"), "1:10: there is no \"(\" to which this \")\" belongs");
}

TEST(ParserErrorTest, BrokenStatementsAreNamed) {
  EXPECT_EQ(FindErrors("float a = ;"), "1:11: an expression is missing before this \";\"");
  EXPECT_EQ(FindErrors("else { }"), "1:1: this \"else\" follows no \"if\"");
  EXPECT_EQ(FindErrors("while true { }"), "1:7: \"while\" needs its condition in parentheses");
  EXPECT_EQ(FindErrors("for (int i = 0; i < 3, i++) { }"), "1:27: \"for\" needs three parts with \";\" between them");
  EXPECT_EQ(FindErrors("do { } until (true);"), "1:8: the \"while\" of this \"do\" is missing here");
  EXPECT_EQ(FindErrors("int a = true ? 1;"), "1:17: the \":\" of this \"?\" is missing here");
  EXPECT_EQ(FindErrors("floatt a = 1.0;"), "1:1: unknown type \"floatt\"; did you mean \"float\"?");
}

TEST(ParserErrorTest, ReadingGoesOnAfterAMistakeButSaysOnePerLine) {
  EXPECT_EQ(FindErrors("float a = ;\nfloat b = * ;\nfloat c = ) + ) ;\nelse;").substr(0, 12), "1:11: an exp");
  EXPECT_EQ(FindErrors("int a = ;\nint b = ) ) ) ) ;\nint c = 3;\nelse;"),
            "1:9: an expression is missing before this \";\"\n2:9: an expression is missing before this \")\"\n"
            "4:1: this \"else\" follows no \"if\"");
}

TEST(ParserErrorTest, TheNumberOfErrorsHasALimit) {
  std::string body;
  for (int i = 0; i < 100; ++i) body += "else;\n";
  EXPECT_EQ(AnalyzeBody(body).errors.size(), kMaxErrors);
}

TEST(ParserErrorTest, AnOpenBraceIsToldWhereItIsOpened) {
  EXPECT_EQ(FindErrors("if (true)\n{\n"), "0:1: this brace is not closed")
      << "that of the kernel: the last one closes the other";
}

TEST(ParserReasonTest, CppBeyondTheLanguageIsNamedWithItsPlace) {
  EXPECT_EQ(FindReason("auto a = 1;"), "1: \"auto\" is C++ beyond the language of kernels");
  EXPECT_EQ(FindReason("int a;\nstd::swap(a, a);"), "2: this use of \"::\"");
  EXPECT_EQ(FindReason("CPU_SCOPE_START\nCPU_SCOPE_END"), "1: a part for the CPU only (CPU_SCOPE_START)");
  EXPECT_EQ(FindReason("int a; int& b = a;"), "1: a local reference or pointer");
  EXPECT_EQ(FindReason("for (int a : b) { }"), "1: a loop over a range");
  EXPECT_EQ(FindReason("float a = v.length();"), "1: the call of a method");
  EXPECT_EQ(FindReason("const char* a = \"text\";"), "1: \"char\" is C++ beyond the language of kernels");
  EXPECT_EQ(FindErrors("Something a;"), "1:1: unknown type \"Something\"");
  EXPECT_EQ(FindReason("InFragCoord;"), "1: \"InFragCoord\" is a word of graphics stages");
}

TEST(ParserReasonTest, WhatIsNestedTooDeepIsNotUnderstood) {
  const auto nest = [](std::string_view open, std::string_view middle, std::string_view close, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += open;
    text += middle;
    for (int i = 0; i < count; ++i) text += close;
    return text;
  };
  EXPECT_EQ(FindReason("int a = " + nest("(", "1", ")", 40) + ";"), "");
  for (const std::string& body :
       {"int a = " + nest("(", "1", ")", 5000) + ";", "int a = " + nest("-", "1", "", 5000) + ";",
        nest("{", "", "}", 5000), "Vec4" + nest("<Vec4", "", ">", 5000) + " a;", nest("if (true) ", ";", "", 5000),
        nest("for (;;) ", ";", "", 5000), "int a[1] = " + nest("{", "1", "}", 5000) + ";",
        "int a = sqrt" + nest("(sqrt", "(1.0)", ")", 5000) + ";", "int a = " + nest("true ? 1 : ", "1", "", 5000) + ";",
        "int a; a" + nest(" = a", "", "", 5000) + ";"}) {
    EXPECT_EQ(FindReason(body), "1: code nested deeper than 200") << body.substr(0, 40);
  }
  EXPECT_EQ(FindReason("int a = 1" + nest(" + 1", "", "", 100000) + ";"), "1: a tree higher than 1000 nodes");
  EXPECT_EQ(FindReason("int a = n" + nest("[0]", "", "", 100000) + ";"), "1: a tree higher than 1000 nodes");
}

}  // namespace
}  // namespace ostra::kernellanguage
