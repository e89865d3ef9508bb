// The plain form: what it says, that it says the same again, and that its places are those of the kernel.
#include "parallelprogram/kernellanguage/plain_form.h"

#include <gtest/gtest.h>

#include "kernel_source_files.h"
#include "kernel_text.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace ostra::kernellanguage {
namespace {

PlainForm PrintPlain(const AnalyzedKernel& kernel, Bool isForGpu = false) {
  PlainForm form = PrintPlainForm(kernel, {.isForGpu = isForGpu});
  EXPECT_FALSE(form.refusal) << form.refusal->reason;
  return form;
}

// The lines of the kernel's body without their blanks, one behind the other.
std::string PlainBody(std::string_view body, std::string_view before = {}, Bool isForGpu = false) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  const std::string text = PrintPlain(kernel, isForGpu).text;
  const std::size_t begin = text.find("{\n", text.find("OSTRA_PARALLEL_KERNEL(")) + 2;
  std::string lines;
  for (const char c : text.substr(begin, text.find("}\nOSTRA_PARALLEL_KERNEL_END") - begin)) {
    if (c != '\t') lines += c == '\n' ? ' ' : c;
  }
  if (lines.ends_with(' ')) lines.pop_back();
  return lines;
}

std::string Refusal(std::string_view body, std::string_view before = {}, Bool isForGpu = false) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  const PlainForm form = PrintPlainForm(kernel, {.isForGpu = isForGpu});
  return form.refusal ? form.refusal->reason : "";
}

TEST(PlainFormTest, SwizzlesBecomeComponents) {
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v).zyx;"), "vec3 a = vec3(UNIFORM(v).z, UNIFORM(v).y, UNIFORM(v).x);");
  EXPECT_EQ(PlainBody("vec2 a = (UNIFORM(v) * 2.0).xy;"), "vec2 a = ostra_xy_of_vec3(UNIFORM(v) * 2.0);");
  EXPECT_EQ(
      PlainBody("vec3 a = UNIFORM(v); a.xz = vec2(1.0, 2.0);"),
      "vec3 a = UNIFORM(v); { const vec2 ostraValue1 = vec2(1.0, 2.0); a.x = ostraValue1.x; a.z = ostraValue1.y; }");
  EXPECT_EQ(
      PlainBody("vec3 a = UNIFORM(v); a.yx *= 2;"),
      "vec3 a = UNIFORM(v); { const float ostraValue1 = 2.0; a.y = a.y * ostraValue1; a.x = a.x * ostraValue1; }");
}

TEST(PlainFormTest, AnIndexWithEffectsIsComputedOnce) {
  EXPECT_EQ(PlainBody("vec3 a[2]; int k = 0; a[k++].xy = vec2(1.0, 2.0);"),
            "vec3 a[2]; int k = 0; { const int ostraIndex1 = k++; const vec2 ostraValue2 = vec2(1.0, 2.0); "
            "a[ostraIndex1].x = ostraValue2.x; a[ostraIndex1].y = ostraValue2.y; }");
}

TEST(PlainFormTest, ConstructorsHaveAllTheirNumbers) {
  EXPECT_EQ(PlainBody("vec3 a = vec3(1);"), "vec3 a = vec3(1.0, 1.0, 1.0);");
  EXPECT_EQ(PlainBody("vec4 a = vec4(UNIFORM(v), 1);"),
            "vec4 a = vec4(UNIFORM(v).x, UNIFORM(v).y, UNIFORM(v).z, 1.0);");
  EXPECT_EQ(PlainBody("vec2 a = vec2(sin(UNIFORM(f)));"), "vec2 a = ostra_vec2_of_float(sin(UNIFORM(f)));");
  EXPECT_EQ(PlainBody("ivec3 a = ivec3(UNIFORM(v));"),
            "int3 a = int3(int(UNIFORM(v).x), int(UNIFORM(v).y), int(UNIFORM(v).z));");
}

TEST(PlainFormTest, NumbersHaveTheTypeThatTheyAreWantedAs) {
  EXPECT_EQ(PlainBody("float a = max(UNIFORM(f), 0);"), "float a = max(UNIFORM(f), 0.0);");
  EXPECT_EQ(PlainBody("int k = 3; k *= 1.5;"), "int k = 3; { k = int(float(k) * 1.5); }");
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v) * 2;"), "vec3 a = UNIFORM(v) * 2.0;");
}

TEST(PlainFormTest, ConversionsAreWritten) {
  EXPECT_EQ(PlainBody("int a = UNIFORM(n); if (a & 1) a += UNIFORM(n);"),
            "int a = int(UNIFORM(n)); if (bool(a & 1)) { { a = int(uint(a) + UNIFORM(n)); } }");
  EXPECT_EQ(PlainBody("float local = 1.0;", {}, true), "float local_ = 1.0;");
}

TEST(PlainFormTest, MatricesAreMultipliedByAWord) {
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(m) * UNIFORM(v);"), "vec3 a = mul(UNIFORM(m), UNIFORM(v));");
  EXPECT_EQ(PlainBody("mat3 a = UNIFORM(m); a *= UNIFORM(m);"), "mat3 a = UNIFORM(m); { a = mul(a, UNIFORM(m)); }");
}

TEST(PlainFormTest, ColumnsHaveNamesOnTheCpuAndNumbersOnGpus) {
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(m)[1];"), "vec3 a = UNIFORM(m).v1;");
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(m)[1];", {}, true), "vec3 a = UNIFORM(m)[1];");
  EXPECT_EQ(PlainBody("mat3 a = UNIFORM(m); a[1] *= 2; ++a[2].x;"), "mat3 a = UNIFORM(m); a.v1 *= 2.0; ++a.v2.x;");
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(m).v1;", {}, true), "vec3 a = UNIFORM(m)[1];");
}

TEST(PlainFormTest, VectorsOfBoolsAreNumbers) {
  EXPECT_EQ(PlainBody("bvec2 b = bvec2(true, UNIFORM(f) > 1.0); if (b.y) return;"),
            "int2 b = int2(int(true), int(UNIFORM(f) > 1.0)); if ((b.y != 0)) { return; }");
}

TEST(PlainFormTest, ConstantsOfTheFileStandWhereTheyAreUsedOnGpus) {
  constexpr std::string_view kConstants = "const float kHalf = 0.5; const int kTable[2] = {3, 4};\n";
  EXPECT_EQ(PlainBody("float a = kHalf; int b = kTable[1];", kConstants), "float a = kHalf; int b = kTable[1];");
  EXPECT_EQ(PlainBody("float a = kHalf; int b = kTable[1];", kConstants, true),
            "float a = 0.5; int b = ostra_table_kTable(1);");
}

TEST(PlainFormTest, WordsThatALanguageKeepsGetAnotherName) {
  EXPECT_EQ(PlainBody("float sample = 1.0; float sample_ = sample;"),
            "float sample__ = 1.0; float sample_ = sample__;");
}

TEST(PlainFormTest, OperatorsKeepTheirOrder) {
  EXPECT_EQ(PlainBody("float f = UNIFORM(f); float a = (f + 1.0) * f - (f - (f - 2.0)) / (f / f);"),
            "float f = UNIFORM(f); float a = (f + 1.0) * f - (f - (f - 2.0)) / (f / f);");
  EXPECT_EQ(PlainBody("int a = 1; int b = -(-a) + (a << 2 & 3);"), "int a = 1; int b = -(-a) + ((a << 2) & 3);");
}

TEST(PlainFormTest, ArgumentsThatAreChangedAreVariables) {
  constexpr std::string_view kSwap = "inline void Swap(INOUT vec2 a)\n{\n\ta = vec2(a.y, a.x);\n}\n";
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v); Swap(a.zx);", kSwap),
            "vec3 a = UNIFORM(v); vec2 ostraArgument1 = vec2(a.z, a.x); Swap(ostraArgument1); a.z = ostraArgument1.x; "
            "a.x = ostraArgument1.y;");
  EXPECT_EQ(PlainBody("vec2 a[2]; Swap(a[1]);", kSwap), "vec2 a[2]; Swap(a[1]);");
  EXPECT_EQ(PlainBody("vec2 a[2]; Swap(a[1]);", kSwap, true),
            "vec2 a[2]; vec2 ostraArgument1 = a[1]; Swap(ostraArgument1); a[1] = ostraArgument1;");
  EXPECT_EQ(Refusal("vec3 a = UNIFORM(v); for (; a.x < 1.0; Swap(a.yz)) a.x += 1.0;", kSwap),
            "an argument that is changed and no variable, in a call inside of an expression");
}

TEST(PlainFormTest, WhatHasNoPlainFormIsRefused) {
  EXPECT_EQ(Refusal("mat3 a = UNIFORM(m); int k = 1; ++a[k].x;"), "a column that is written inside of an expression");
  EXPECT_EQ(Refusal("vec2 a[2]; int k = 0; for (; k < 2; a[k].yx = a[0]) ++k;"),
            "components that are written inside of an expression");
  EXPECT_EQ(Refusal("vec3 a = UNIFORM(v); float b = (a.xy = vec2(1.0, 2.0)).x;"),
            "components that are written inside of an expression");
}

// Structs, functions and constants that the kernel does not need may have no meaning on a GPU.
TEST(PlainFormTest, WhatTheKernelDoesNotUseIsLeftOut) {
  const AnalyzedKernel kernel = AnalyzeBody(
      "float a = F(1.0);", "inline float F(float x)\n{\n\treturn x;\n}\ninline float G(float x)\n{\n\treturn x;\n}\n");
  const std::string text = PrintPlain(kernel).text;
  EXPECT_NE(text.find("float F("), std::string::npos);
  EXPECT_EQ(text.find("float G("), std::string::npos);
}

// The plain form of a plain form is itself, for every kernel of the repository.
TEST(PlainFormTest, EveryPlainFormIsUnderstoodAndItsOwnPlainForm) {
  int count = 0;
  for (const auto& path : FindKernelFiles()) {
    const KernelSourceFile file(path);
    const auto kernel = AnalyzeKernel(file.source);
    if (!kernel->IsUnderstood()) continue;
    ++count;
    const PlainForm form = PrintPlain(*kernel);
    const AnalyzedKernel again = AnalyzeText(form.text);
    ASSERT_TRUE(again.IsUnderstood()) << path << ListErrors(again) << form.text
                                      << (again.notUnderstood ? again.notUnderstood->reason : "");
    const NodeIndex extension = again.resolved.firstUnprintable;
    ASSERT_EQ(extension, kNoNode) << path << ": " << PrintExpression(again.tree, extension);
    EXPECT_EQ(PrintPlain(again).text, form.text) << path;
    EXPECT_EQ(AnalyzeText(PrintPlain(*kernel, true).text).errors.size(), 0u) << path;
  }
  EXPECT_GT(count, 50);
}

TEST(PlainFormTest, PlacesAreThoseOfTheKernel) {
  auto kernel = AnalyzeBody("float a = UNIFORM(f);\nvec2 b = UNIFORM(v).xy;\nfloat c = b.x + a;");
  PlainForm form = PrintPlain(kernel);
  auto origin = std::make_shared<TextOrigin>();
  origin->marks = form.marks;
  const SourceLocation expected = kernel.sources.Locate(kernel.tree.nodes[FindVariable(kernel, "c")].offset);
  const std::string line(kernel.sources.GetLine(kernel.tree.nodes[FindVariable(kernel, "c")].offset));
  origin->sources = std::make_shared<SourceMap>(std::move(kernel.sources));
  Source source{.fileName = "plain", .text = form.text};
  source.origin = origin;
  const auto again = AnalyzeKernel(source);
  const SourceOffset offset = again->tree.nodes[FindVariable(*again, "c")].offset;
  EXPECT_EQ(again->sources.Locate(offset), expected);
  EXPECT_EQ(again->sources.GetLine(offset), line);
}

}  // namespace
}  // namespace ostra::kernellanguage
