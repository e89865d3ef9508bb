// The plain form: what it says, that it says the same again, and that its places are those of the kernel.
#include "parallelprogram/kernellanguage/plain_form.h"

#include <gmock/gmock.h>

#include "kernel_source_files.h"
#include "kernel_text.h"
#include "parallelprogram/kernellanguage/print_tree.h"
#include "parallelprogram/kernellanguage/remainders.h"

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

TEST(PlainFormTest, ValuesComeBeforeIndicesThatTheyDependOn) {
  constexpr std::string_view kPlace = "float a[2]; int k = 0; a[k++] = float(k);";
  EXPECT_EQ(PlainBody(kPlace), kPlace);
  EXPECT_EQ(PlainBody(kPlace, {}, true),
            "float a[2]; int k = 0; { const float ostraValue1 = float(k); { const int ostraIndex2 = k++; "
            "a[ostraIndex2] = ostraValue1; } }");
  EXPECT_EQ(PlainBody("float a[2]; int k = 0; a[k] = k++;", {}, true),
            "float a[2]; int k = 0; { const int ostraValue1 = k++; { a[k] = float(ostraValue1); } }");
  EXPECT_EQ(PlainBody("vec3 a[2]; int k = 0; a[k++].yx = vec2(float(k), 1.0);"),
            "vec3 a[2]; int k = 0; { const vec2 ostraValue1 = vec2(float(k), 1.0); { const int ostraIndex2 = k++; "
            "const vec2 ostraValue3 = ostraValue1; a[ostraIndex2].y = ostraValue3.x; a[ostraIndex2].x = "
            "ostraValue3.y; } }");
  EXPECT_EQ(PlainBody("float a[2]; int k = 0; a[k++] = 1.0;", {}, true), "float a[2]; int k = 0; a[k++] = 1.0;");
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

TEST(PlainFormTest, RemaindersThatMayBeNegativeAreMadeOfQuotientsOnGpus) {
  constexpr std::string_view kNumber = "int k = int(UNIFORM(n)); ";
  const auto remainder = [&](const std::string& body) {
    const std::string text = PlainBody(std::string(kNumber) + body, {}, true);
    EXPECT_TRUE(text.starts_with(kNumber)) << text;
    return text.substr(kNumber.size());
  };
  EXPECT_EQ(remainder("int a = 2 * (k % 3);"), "int a = 2 * (ostra_remainder_int(k, 3));");
  EXPECT_EQ(remainder("int a = 5 % k;"), "int a = ostra_remainder_int(5, k);");
  EXPECT_EQ(remainder("k %= 5;"), "k = ostra_remainder_int(k, 5);");
  EXPECT_EQ(remainder("int2 a = int2(k, 1); a %= 3; a.yx %= int2(3, 4);"),
            "int2 a = int2(k, 1); a = ostra_remainder_int2_int(a, 3); { const int2 ostraValue1 = int2(3, 4); "
            "a.y = ostra_remainder_int(a.y, ostraValue1.x); a.x = ostra_remainder_int(a.x, ostraValue1.y); }");
  EXPECT_EQ(remainder("int a[4]; a[k & 3] %= 5;"),
            "int a[4]; { const int ostraIndex1 = k & 3; a[ostraIndex1] = ostra_remainder_int(a[ostraIndex1], 5); }");
  EXPECT_EQ(PlainBody("int a = int(UNIFORM(n)) % 3;"), "int a = int(UNIFORM(n)) % 3;");
  const AnalyzedKernel kernel = AnalyzeBody("int k = int(UNIFORM(n)) % 3;");
  EXPECT_NE(PrintPlain(kernel, true)
                .text.find("inline int ostra_remainder_int(int v0, int v1)\n{\n"
                           "\treturn v0 - (v0 / v1) * v1;\n}\n"),
            std::string::npos);
}

// The remainders of such a body that are helped.
std::size_t CountOpenRemainders(std::string_view body) {
  const AnalyzedKernel kernel = AnalyzeBody(body);
  EXPECT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  return FindOpenRemainders(kernel.tree, kernel.resolved).size();
}

TEST(PlainFormTest, RemaindersOfWhatIsVisiblyNotNegativeStay) {
  EXPECT_EQ(CountOpenRemainders("uint a = UNIFORM(n) % 3u; int b = 7 % 4;"), 0u);
  EXPECT_EQ(CountOpenRemainders("for (int k = 0; k < 99; ++k) { int a = k % 3; }"), 0u);
  EXPECT_EQ(CountOpenRemainders("int end = int(UNIFORM(n)); for (int k = 0; k < end; k++) { int a = k % 3; }"), 0u);
  EXPECT_EQ(
      CountOpenRemainders("for (int k = int(InLocalInvocationID.x) * 16; k < 99; k = k + 256) { int a = k % 3; }"), 0u);
  EXPECT_EQ(CountOpenRemainders("int a = (int(UNIFORM(n)) & 15) % 3; int b = (a / 2 + 1) % 5; int c = b % a;"), 0u);
  EXPECT_EQ(CountOpenRemainders("const int size = 8; int a = int(UNIFORM(n) & 255u) % size;"), 0u);
}

TEST(PlainFormTest, RemaindersOfWhatMayBecomeNegativeAreHelped) {
  EXPECT_EQ(CountOpenRemainders("int a = -5 % 3; int b = 5 % -3;"), 2u);
  EXPECT_EQ(CountOpenRemainders("int a = int(UNIFORM(n)) % 3; int b = int(InGlobalInvocationID.x) % 3;"), 2u);
  EXPECT_EQ(CountOpenRemainders("int a = 7; a -= 9; int b = a % 3;"), 1u);
  EXPECT_EQ(CountOpenRemainders("for (int k = 0; k < 9; ++k) { int a = k % 3; k -= 2; }"), 1u);
  EXPECT_EQ(CountOpenRemainders("for (int k = -3; k < 9; ++k) { int a = k % 3; }"), 1u);
  EXPECT_EQ(CountOpenRemainders("for (int k = 9; k >= -3; --k) { int a = k % 3; }"), 1u);
  EXPECT_EQ(CountOpenRemainders("for (int k = 0; k < 2147483647; k += 7) { int a = k % 3; }"), 1u);
  EXPECT_EQ(CountOpenRemainders("for (Int8 k = 0; k < 300; ++k) { int a = k % 3; }"), 1u);
  EXPECT_EQ(CountOpenRemainders("int a = 2147483647; int b = (a + 1) % 3; int c = (a * 2) % 3;"), 2u);
  EXPECT_EQ(CountOpenRemainders("int a = 7; int b = (a - 9) % 3; int2 c = int2(7, 8) % 3;"), 2u);
}

TEST(PlainFormTest, VectorsOfBoolsAreNumbers) {
  EXPECT_EQ(PlainBody("bvec2 b = bvec2(true, UNIFORM(f) > 1.0); if (b.y) return;"),
            "int2 b = int2(int(true), int(UNIFORM(f) > 1.0)); if ((b.y != 0)) { return; }");
}

TEST(PlainFormTest, FloatsAreRoundedBeforeTheyAreDoublesOnGpus) {
  EXPECT_EQ(PlainBody("Float64 d = 0.1; d = d * 2.0;", {}, true).find("0.1;"), std::string::npos);
  EXPECT_NE(PlainBody("Float64 d = 0.1;", {}, true).find("(0.10000000149011612)"), std::string::npos);
  EXPECT_NE(PlainBody("Float64 d = 16777217.0;", {}, true).find("(16777216.0)"), std::string::npos);
  EXPECT_NE(PlainBody("Float64 d = 0.5; d = 1e10;", {}, true).find("0.5"), std::string::npos);
}

TEST(PlainFormTest, DoublesAreCutByFloorOnGpus) {
  EXPECT_EQ(PlainBody("Float64 d = 1.5; Float64 e = trunc(d); float f = trunc(UNIFORM(f));", {}, true),
            "double d = double(1.5); double e = ostra_trunc_of_double(d); float f = trunc(UNIFORM(f));");
  EXPECT_EQ(PlainBody("Float64 d = 1.5; Float64 e = trunc(d);"), "double d = double(1.5); double e = trunc(d);");
  const AnalyzedKernel kernel = AnalyzeBody("Float64 d = 1.5; Float64 e = trunc(d);");
  EXPECT_TRUE(IsOpenOnGpus(kernel));
}

TEST(PlainFormTest, VectorsAreComparedByAFunctionOnGpus) {
  EXPECT_EQ(PlainBody("bool a = UNIFORM(v) == UNIFORM(v);"), "bool a = UNIFORM(v) == UNIFORM(v);");
  EXPECT_EQ(PlainBody("bool a = !(UNIFORM(v) == UNIFORM(v));", {}, true),
            "bool a = !ostra_equal_vec3(UNIFORM(v), UNIFORM(v));");
  EXPECT_EQ(PlainBody("int2 a = int2(1, 2); if (a != int2(3, 4)) return;", {}, true),
            "int2 a = int2(1, 2); if (ostra_different_int2(a, int2(3, 4))) { return; }");
}

TEST(PlainFormTest, ComponentsOfBoolsHaveIndicesToo) {
  constexpr std::string_view kBools = "bvec2 b = bvec2(true, false); int2 b2 = int2(0, 1); ";
  const std::string before = "int2 b = int2(int(true), int(false)); int2 b2 = int2(0, 1); ";
  const auto body = [&](const std::string& text) {
    const std::string plain = PlainBody(std::string(kBools) + text, {}, true);
    EXPECT_TRUE(plain.starts_with(before)) << plain;
    return plain.substr(before.size());
  };
  EXPECT_EQ(body("if (!b[1] && b2[1] > 0) return;"), "if (!(b.y != 0) && b2.y > 0) { return; }");
  EXPECT_EQ(body("bool c = b[b2.x];"), "bool c = (b[b2.x] != 0);");
  EXPECT_EQ(body("b[1] = b2.x > 3;"), "{ b[1] = int(b2.x > 3); }");
  EXPECT_EQ(body("b[b2.x] = b[0];"), "{ b[b2.x] = int((b.x != 0)); }");
  EXPECT_EQ(body("bvec2 c[2]; c[1][b2.x] = true; bool d = c[0][1];"),
            "int2 c[2]; { c[1][b2.x] = int(true); } bool d = (c[0].y != 0);");
}

TEST(PlainFormTest, ParametersOfBoolsAreNumbersToo) {
  const AnalyzedKernel kernel = AnalyzeText(
      "#define KERNELINPUTS \\\n(bvec2) b, \\\n(Block<Float32>) target\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n"
      "\tbvec2 c = UNIFORM(b);\n\tif (UNIFORM(b).y && c.x)\n\t\treturn;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  EXPECT_NE(PrintPlain(kernel).text.find("(Vec2<Int32>) b"), std::string::npos);
  const std::string text = PrintPlain(kernel, true).text;
  EXPECT_NE(text.find("(int2) b"), std::string::npos) << text;
  EXPECT_NE(text.find("int2 c = int2(int(UNIFORM(b).x != 0), int(UNIFORM(b).y != 0));"), std::string::npos) << text;
  EXPECT_NE(text.find("if ((UNIFORM(b).y != 0) && (c.x != 0))"), std::string::npos) << text;
}

TEST(PlainFormTest, ParametersForTheCpuAloneKeepTheirMark) {
  const AnalyzedKernel kernel = AnalyzeText(
      "#define KERNELINPUTS \\\n(IGNORE_VARIABLE_GPU Float64) fine, \\\n(Block<vec3>) points\n\n"
      "OSTRA_PARALLEL_KERNEL(A, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(points)[0].xy = vec2(1.0);\n}\n"
      "OSTRA_PARALLEL_KERNEL_END\n");
  EXPECT_THAT(PrintPlain(kernel, true).text, testing::HasSubstr("(IGNORE_VARIABLE_GPU double) fine, \\\n"));
}

TEST(PlainFormTest, ConstantsOfTheFileStandWhereTheyAreUsedOnGpus) {
  constexpr std::string_view kConstants = "const float kHalf = 0.5; const int kTable[2] = {3, 4};\n";
  EXPECT_EQ(PlainBody("float a = kHalf; int b = kTable[1];", kConstants), "float a = kHalf; int b = kTable[1];");
  EXPECT_EQ(PlainBody("float a = kHalf; int b = kTable[1];", kConstants, true),
            "float a = 0.5; int b = ostra_table_kTable(1);");
}

TEST(PlainFormTest, HalvesAreFloatsWhileTheyAreComputed) {
  EXPECT_EQ(PlainBody("half2 a; a += 0.5;"), "half2 a; { a = ostra_half2_of_vec2(ostra_vec2_of_half2(a) + 0.5); }");
  EXPECT_EQ(PlainBody("half2 a; a.y++; a--;"),
            "half2 a; { a.y = half(float(a.y) + 1.0); } { a = ostra_half2_of_vec2(ostra_vec2_of_half2(a) - 1.0); }");
  EXPECT_EQ(PlainBody("half a = 3; half b = a * a;", "", true),
            "half a = half(3.0); half b = half(float(a) * float(a));");
  EXPECT_EQ(PlainBody("half a = half(UNIFORM(n));", "", true), "half a = half(float(UNIFORM(n)));");
  EXPECT_EQ(PlainBody("half a; int b = int(a); bool c = a;", "", true),
            "half a; int b = int(float(a)); bool c = bool(float(a));");
}

TEST(PlainFormTest, WordsThatALanguageKeepsGetAnotherName) {
  EXPECT_EQ(PlainBody("float sample = 1.0; float sample_ = sample;"),
            "float sample__ = 1.0; float sample_ = sample__;");
}

TEST(PlainFormTest, MembersThatALanguageKeepsGetAnotherNameOnGpus) {
  const AnalyzedKernel kernel = AnalyzeBody("Path p = Path(1.0, 2.0, 3.0); p.length += p.sample + p.width;",
                                            "struct Path { float length, sample, width; };\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  const std::string text = PrintPlain(kernel, true).text;
  EXPECT_NE(text.find("float ostra_member_length;"), std::string::npos) << text;
  EXPECT_NE(text.find("float width;"), std::string::npos) << text;
  EXPECT_NE(text.find("v.ostra_member_sample = v1;"), std::string::npos) << text;
  EXPECT_NE(text.find("p.ostra_member_length += p.ostra_member_sample + p.width;"), std::string::npos) << text;
  EXPECT_NE(PrintPlain(kernel).text.find("p.length += p.sample + p.width;"), std::string::npos);
}

TEST(PlainFormTest, MembersOfElementsGetAnotherNameOnGpusToo) {
  const AnalyzedKernel kernel = AnalyzeText(
      "struct Path\n{\n\tfloat length;\n};\n\n#define KERNELINPUTS \\\n(Block<Path>) paths\n\n"
      "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(paths)[0].length = 1.0;\n}\n"
      "OSTRA_PARALLEL_KERNEL_END\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  EXPECT_FALSE(kernel.resolved.extensions.empty());
  EXPECT_EQ(kernel.resolved.firstUnprintable, kNoNode);
  const std::string text = PrintPlain(kernel, true).text;
  EXPECT_NE(text.find("float ostra_member_length;"), std::string::npos) << text;
  EXPECT_NE(text.find("UNIFORM_BUFFER(paths)[0].ostra_member_length = 1.0;"), std::string::npos) << text;
}

TEST(PlainFormTest, FloatsBecomeSmallIntegersByWayOfInts) {
  EXPECT_EQ(PlainBody("UInt8 a = UNIFORM(f); Int16 b = Int16(UNIFORM(f)); b += 0.5;"),
            "UInt8 a = UInt8(int(UNIFORM(f))); Int16 b = Int16(int(UNIFORM(f))); { b = Int16(int(float(b) + 0.5)); }");
  EXPECT_EQ(PlainBody("UInt8 a = UNIFORM(f);", "", true), "int a = (int(UNIFORM(f)) & 255);");
}

TEST(PlainFormTest, FunctionsOf64BitIntegersAreWritten) {
  EXPECT_EQ(PlainBody("Int64 a = min(Int64(1), 2);"), "Int64 a = ostra_min_Int64_Int64(Int64(1), Int64(2));");
}

TEST(PlainFormTest, AStructOfArraysIsMadeBeforeTheStatement) {
  EXPECT_EQ(PlainBody("float a[2]; Path p = Path(1.0, a); p = UNIFORM(n) > 1u ? Path(2.0, p.steps) : p;",
                      "struct Path { float x; float steps[2]; };\n"),
            "float a[2]; Path ostraStruct1; ostraStruct1.x = 1.0; "
            "for (int ostraIndex2 = 0; ostraIndex2 < 2; ++ostraIndex2) { "
            "ostraStruct1.steps[ostraIndex2] = a[ostraIndex2]; } Path p = ostraStruct1; "
            "{ Path ostraValue3; if (UNIFORM(n) > 1u) { Path ostraStruct4; ostraStruct4.x = 2.0; "
            "for (int ostraIndex5 = 0; ostraIndex5 < 2; ++ostraIndex5) { "
            "ostraStruct4.steps[ostraIndex5] = p.steps[ostraIndex5]; } ostraValue3 = ostraStruct4; } "
            "else { ostraValue3 = p; } p = ostraValue3; }");
}

TEST(PlainFormTest, AConstantOfTheFileThatIsMadeOfATableIsAList) {
  constexpr std::string_view kConstants =
      "struct Path { float steps[2]; int n; };\nconst float kTable[2] = {1.0, 2.0};\n"
      "const Path kPath = Path(kTable, 3);\n";
  const AnalyzedKernel kernel = AnalyzeBody("float a = kPath.steps[1];", kConstants);
  EXPECT_THAT(PrintPlain(kernel).text, testing::HasSubstr("const Path kPath = {{1.0, 2.0}, 3};"));
  EXPECT_THAT(PrintPlain(kernel, true).text, testing::HasSubstr("const Path value = {{1.0, 2.0}, 3};"));
  EXPECT_EQ(PlainBody("Path a = kPath; Path b = Path(a);", kConstants, true),
            "Path a = ostra_constant_kPath(); Path b = a;");
  EXPECT_EQ(Refusal("float a = kInner.at.n;",
                    std::string(kConstants) + "struct Inner { float x[2]; Path at; };\n"
                                              "const Inner kInner = Inner(kPath.steps, kPath);\n",
                    true),
            "an array among the members that a struct is made of, other than a table of the file");
}

TEST(PlainFormTest, SizesOfGroupMemoryHaveNoParentheses) {
  constexpr std::string_view kMacros = "#define TILE 8\n#define WIDTH (TILE + 2 * 1)\n";
  EXPECT_EQ(PlainBody("GROUPSHAREDMEM(float, tile, WIDTH * WIDTH)", kMacros, true), "GROUPSHAREDMEM(float, tile, 100)");
  EXPECT_EQ(PlainBody("GROUPSHAREDMEM(float, tile, (TILE))", kMacros), "GROUPSHAREDMEM(float, tile, 8)");
  EXPECT_EQ(PlainBody("GROUPSHAREDMEM(float, tile, -(-8))", {}, true), "GROUPSHAREDMEM(float, tile, 8)");
}

TEST(PlainFormTest, VectorsThatGpusLackAreRefusedByName) {
  constexpr std::string_view kReason = "GPUs have no Vec2<Int64>: use several Int64";
  EXPECT_EQ(Refusal("Vec2<Int64> a;", {}, true), kReason);
  constexpr std::string_view kConstant = "const Vec2<Int64> kOffset = Vec2<Int64>(1, 2);\n";
  EXPECT_EQ(Refusal("Int64 a = kOffset.x;", kConstant, true), kReason);
  EXPECT_EQ(Refusal("int a = 1;", kConstant, true), "");
}

TEST(PlainFormTest, OperatorsKeepTheirOrder) {
  EXPECT_EQ(PlainBody("float f = UNIFORM(f); float a = (f + 1.0) * f - (f - (f - 2.0)) / (f / f);"),
            "float f = UNIFORM(f); float a = (f + 1.0) * f - (f - (f - 2.0)) / (f / f);");
  EXPECT_EQ(PlainBody("int a = 1; int b = -(-a) + (a << 2 & 3);"), "int a = 1; int b = -(-a) + ((a << 2) & 3);");
}

TEST(PlainFormTest, AnExpressionWithACommaIsOneArgument) {
  constexpr std::string_view kTable = "const int kTable[2] = {3, 4};\n";
  const std::string body = PlainBody("int i = 1; int j = 0; float f = (i, j); int b = kTable[(i, j)];", kTable, true);
  EXPECT_THAT(body, testing::HasSubstr("float f = float((i, j));"));
  EXPECT_THAT(body, testing::HasSubstr("ostra_table_kTable((i, j))"));
}

TEST(PlainFormTest, ArgumentsThatAreChangedAreVariables) {
  constexpr std::string_view kSwap = "inline void Swap(INOUT vec2 a)\n{\n\ta = vec2(a.y, a.x);\n}\n";
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v); Swap(a.zx);", kSwap),
            "vec3 a = UNIFORM(v); vec2 ostraArgument1 = vec2(a.z, a.x); Swap(ostraArgument1); a.z = ostraArgument1.x; "
            "a.x = ostraArgument1.y;");
  EXPECT_EQ(PlainBody("vec2 a[2]; Swap(a[1]);", kSwap), "vec2 a[2]; Swap(a[1]);");
  EXPECT_EQ(PlainBody("vec2 a[2]; Swap(a[1]);", kSwap, true),
            "vec2 a[2]; vec2 ostraArgument1 = a[1]; Swap(ostraArgument1); a[1] = ostraArgument1;");
  EXPECT_EQ(
      PlainBody("vec2 b; vec3 a = UNIFORM(v); b.y = 1.0 + Half(a.x);",
                "inline float Half(INOUT float a)\n{\n\ta = a * 0.5;\n\treturn a;\n}\n", true),
      "vec2 b; vec3 a = UNIFORM(v); { float ostraArgument1 = a.x; const float ostraValue2 = Half(ostraArgument1); "
      "a.x = ostraArgument1; b.y = 1.0 + ostraValue2; }");
}

// What a call writes back must not come after what is assigned.
TEST(PlainFormTest, AResultIsAssignedBehindWhatTheCallChanges) {
  constexpr std::string_view kHalf = "inline float Half(INOUT vec2 a)\n{\n\ta = a * 0.5;\n\treturn a.x;\n}\n";
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v); a.x += Half(a.xy);", kHalf),
            "vec3 a = UNIFORM(v); { vec2 ostraArgument1 = vec2(a.x, a.y); const float ostraValue2 = "
            "Half(ostraArgument1); a.x = ostraArgument1.x; a.y = ostraArgument1.y; a.x += ostraValue2; }");
}

TEST(PlainFormTest, ChangesInsideOfExpressionsAreStatementsBefore) {
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v); float b = (a.xy = vec2(1.0, 2.0)).x;"),
            "vec3 a = UNIFORM(v); const vec2 ostraValue1 = vec2(1.0, 2.0); a.x = ostraValue1.x; a.y = ostraValue1.y; "
            "const vec2 ostraValue2 = vec2(a.x, a.y); float b = ostraValue2.x;");
  EXPECT_EQ(PlainBody("mat3 a = UNIFORM(m); int k = 1; ++a[k].x;", {}, true),
            "mat3 a = UNIFORM(m); int k = 1; { a[k].x = a[k].x + 1.0; }");
  EXPECT_EQ(PlainBody("vec3 a = UNIFORM(v); if (a.x > 0.0) return; else if ((a.xy--).y > 0.0) return;"),
            "vec3 a = UNIFORM(v); if (a.x > 0.0) { return; } else { { const vec2 ostraValue1 = vec2(a.x, a.y); "
            "a.x = a.x - 1.0; a.y = a.y - 1.0; if (ostraValue1.y > 0.0) { return; } } }");
}

TEST(PlainFormTest, ChangesComeOnlyWhereTheyAreComputed) {
  EXPECT_EQ(PlainBody("vec2 a = UNIFORM(v).xy; bool b = a.x > 0.0 && (a.yx += 1.0).x > 0.0;"),
            "vec2 a = vec2(UNIFORM(v).x, UNIFORM(v).y); bool ostraValue1 = a.x > 0.0; if (ostraValue1) { const float "
            "ostraValue2 = 1.0; a.y = a.y + ostraValue2; a.x = a.x + ostraValue2; const vec2 ostraValue3 = "
            "vec2(a.y, a.x); ostraValue1 = ostraValue3.x > 0.0; } bool b = ostraValue1;");
  EXPECT_EQ(
      PlainBody("vec2 a = UNIFORM(v).xy; a.x > 0.0 ? a.yx++ : --a.xy;"),
      "vec2 a = vec2(UNIFORM(v).x, UNIFORM(v).y); { if (a.x > 0.0) { { a.y = a.y + 1.0; a.x = a.x + 1.0; } } else "
      "{ { a.x = a.x - 1.0; a.y = a.y - 1.0; } } }");
}

TEST(PlainFormTest, ChangesInLoopsComeInEachRound) {
  EXPECT_EQ(
      PlainBody("vec2 a[2]; int k = 0; for (; k < 2; a[k].yx = a[0]) ++k;"),
      "vec2 a[2]; int k = 0; { bool ostraAgain1 = false; while (true) { if (ostraAgain1) { { const vec2 "
      "ostraValue2 = a[0]; a[k].y = ostraValue2.x; a[k].x = ostraValue2.y; } } ostraAgain1 = true; if (!(k < 2)) { "
      "break; } { ++k; } } }");
  EXPECT_EQ(
      PlainBody("vec2 a; for (int k = 0; (a.xy = vec2(0.0, 1.0)).x > 1.0; ++k) ;"),
      "vec2 a; { int k = 0; for (; true; ++k) { const vec2 ostraValue1 = vec2(0.0, 1.0); a.x = ostraValue1.x; a.y "
      "= ostraValue1.y; const vec2 ostraValue2 = vec2(a.x, a.y); if (!(ostraValue2.x > 1.0)) { break; } { } } }");
}

TEST(PlainFormTest, ASwizzleThatAnIndexChangesIsReadBefore) {
  EXPECT_EQ(
      PlainBody("vec2 a = vec2(1.0); vec2 b[2]; b[int((a.xy = vec2(0.0)).x)] = a;"),
      "vec2 a = vec2(1.0, 1.0); vec2 b[2]; { const vec2 ostraValue1 = a; const vec2 ostraValue2 = vec2(0.0, 0.0); "
      "a.x = ostraValue2.x; a.y = ostraValue2.y; const vec2 ostraValue3 = vec2(a.x, a.y); "
      "b[int(ostraValue3.x)] = ostraValue1; }");
}

TEST(PlainFormTest, WhatHasNoPlainFormIsRefused) {
  constexpr std::string_view kNoOrder =
      "\"a\" is changed in one part of this expression and named in another, in no certain order; write the change as "
      "a "
      "statement of its own";
  EXPECT_EQ(Refusal("vec3 a = UNIFORM(v); float b = (a.xy = vec2(1.0, 2.0)).x + a.x;"), kNoOrder);
  EXPECT_EQ(Refusal("vec3 a = UNIFORM(v); float b = max(a.z, (a.xy *= 2.0).x);"), kNoOrder);
  EXPECT_EQ(Refusal("vec3 a = UNIFORM(v); (a.xy = vec2(1.0, 2.0)).x = 3.0;"),
            "a place that is changed twice in one expression");
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
