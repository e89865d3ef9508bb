// What the rules make of lines of code.
#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/texts.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

class BodyRulesTest : public ParserTest {
 protected:
  void ExpectError(std::string_view line, std::string_view message, const ParseSettings& settings = {}) const {
    EXPECT_THAT(TryTranslateLine(line, settings), IsErrorWith(kIllegalArgumentError, std::string(message))) << line;
  }
};

const Id kAllTargets[] = {kTargetHlsl, kTargetGlsl, kTargetMetal};

TEST_F(BodyRulesTest, LinesWithoutKeywordsStayAsTheyAre) {
  for (const char* line : {"int a = 1;", "atomic", "Atomic(x)", "sqrt(x) sq", "mat", "MAKE LOCAL", "Get AtomicCounter",
                           "INOUT Block<Float32> x", "x = a<b>c;", "\"\\n\"", "// a comment, with ) and ("})
    EXPECT_EQ(TranslateLine(line), line);
}

TEST_F(BodyRulesTest, WordsOfTheCpuAreUnwrapped) {
  EXPECT_EQ(TranslateLine("f(CPU_CONSTREF(Foo) x)"), "f(Foo x)");
  EXPECT_EQ(TranslateLine("CPU_CONSTREF(Foo) x, CPU_CONSTREF(Bar) y"), "Foo x, Bar y");
  EXPECT_EQ(TranslateLine("f(CPU_PASS_BUFFER(points))"), "f(points)");
  // The first closing parenthesis goes, whichever it closes.
  EXPECT_EQ(TranslateLine("CPU_CONSTREF(f(a)) x"), "f(a) x");
  EXPECT_EQ(TranslateLine("CPU_CONSTREF(Foo x"), "Foo x");
  EXPECT_EQ(TranslateLine("a) CPU_PASS_BUFFER(b"), "a) b");
  EXPECT_EQ(TranslateLine("CPU_CONSTREFX(Foo) x"), "(Foo x");
  EXPECT_EQ(TranslateLine("x CPU_CONSTREF"), "x ");
}

TEST_F(BodyRulesTest, WordsAreReplaced) {
  EXPECT_EQ(TranslateLine("AtomicAdd(GetAtomicCounter(c), 1u, old);"), "AtomicAdd((c), 1u, old);");
  EXPECT_EQ(TranslateLine("x = Sqrt(Sqrt(y));"), "x = sqrt(sqrt(y));");
  EXPECT_EQ(TranslateLine("sqmat m = sqmat(v);"), "mat3 m = mat3(v);");
  EXPECT_EQ(TranslateLine("MySqrtx mysqmats"), "Mysqrtx mymat3s");
}

TEST_F(BodyRulesTest, WhatARemovalPutsTogetherBehindThePlaceIsFoundAgain) {
  EXPECT_EQ(TranslateLine("GetAtomicCounterGetAtomicCounter x"), " x");
  // In front of the place it is not.
  EXPECT_EQ(TranslateLine("GetAtomicGetAtomicCounterCounter x"), "GetAtomicCounter x");
}

TEST_F(BodyRulesTest, TheTemplateArgumentTakesThePlaceOfTYPE) {
  const ParseSettings settings{.templateArgument = "Vector32"};
  EXPECT_EQ(TranslateLine("TYPE x = TYPE(0);", settings), "Vector32 x = Vector32(0);");
  EXPECT_EQ(TranslateLine("MYTYPE", settings), "MYVector32");
  EXPECT_EQ(TranslateLine("TYPES", settings), "Vector32S");
  EXPECT_EQ(TranslateLine("TYPE x;"), "TYPE x;");
}

TEST_F(BodyRulesTest, AnEmptyTemplateArgumentIsNone) {
  Write("k.krn", "FP_KERNEL(K)\nTYPE x;\nFP_KERNEL_END\n");
  DataDictionary options;
  ASSERT_THAT(options.Set(kShaderTemplateArgument, String()), IsOk());
  const ParserRef parser = MakeParser(kTargetGlsl);
  ASSERT_THAT(parser->Init(MakeUrl("k.krn"), options), IsOk());
  EXPECT_EQ(ToText(parser->GetKernelCode()), "TYPE x;");
}

TEST_F(BodyRulesTest, TheTemplateArgumentComesBeforeTheOtherRules) {
  EXPECT_EQ(TranslateLine("TYPE(x)", {.templateArgument = "Sqrt"}), "sqrt(x)");
  EXPECT_EQ(TranslateLine("TYPE x", {.target = kTargetMetal, .templateArgument = "ATOMIC uint"}), "atomic_uint x");
}

TEST_F(BodyRulesTest, OptionsOfAWrongTypeAreErrors) {
  Write("k.krn", "");
  DataDictionary options;
  ASSERT_THAT(options.Set(kShaderTemplateArgument, Int32(3)), IsOk());
  EXPECT_THAT(MakeParser(kTargetGlsl)->Init(MakeUrl("k.krn"), options), IsErrorOfKind(kIllegalArgumentError));
  options.Reset();
  ASSERT_THAT(options.Set(kShaderMultisampling, "4"_s), IsOk());
  EXPECT_THAT(MakeParser(kTargetGlsl)->Init(MakeUrl("k.krn"), options), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(BodyRulesTest, MakeLocalReplacesTheWholeLine) {
  const std::string expected =
      "uint groupIndex = InLocalInvocationID.z * InWorkGroupSize.x * InWorkGroupSize.y + InLocalInvocationID.y * "
      "InWorkGroupSize.x + InLocalInvocationID.x; \n\tif (groupIndex < 64) \n\t{\n\ttile[groupIndex] =  "
      "UNIFORM_BUFFER(tile)[TileIndex(InGlobalInvocationID, groupIndex)]; \n } \n\tgroupSharedBarrier;";
  for (const Id& target : kAllTargets) {
    EXPECT_EQ(TranslateLine("MAKELOCAL(tile, 64, TileIndex)", {.target = target}), expected);
    EXPECT_EQ(TranslateLine("x; MAKELOCAL(tile, 64, TileIndex); y;", {.target = target}), expected);
  }
}

TEST_F(BodyRulesTest, PlaceholdersInArgumentsAreOrdinaryCharacters) {
  EXPECT_EQ(TranslateLine("LOCALDATA(@, @@, x)"), "@[@@]");
  EXPECT_THAT(TranslateLine("MAKELOCAL(@, 6@, f)"), testing::HasSubstr("if (groupIndex < 6@) \n\t{\n\t@[groupIndex]"));
}

TEST_F(BodyRulesTest, AMakeLocalWithWrongArgumentsIsAnError) {
  ExpectError("MAKELOCAL(tile, 64, TileIndex", "MAKELOCAL missing )");
  ExpectError(") MAKELOCAL", "MAKELOCAL missing )");
  ExpectError("MAKELOCAL(tile, 64)", "MAKELOCAL macro needs three parameters");
  ExpectError("MAKELOCAL(tile, 64, a, b)", "MAKELOCAL macro needs three parameters");
  ExpectError("MAKELOCAL(tile, 64, a, b, c, d)", "MAKELOCAL macro needs three parameters");
  ExpectError("MAKELOCAL(tile,64,TileIndex)", "MAKELOCAL macro needs three parameters");
  ExpectError("MAKELOCAL)", "MAKELOCAL macro needs three parameters");
  ExpectError("MAKELOCAL()", "MAKELOCAL macro needs three parameters");
}

TEST_F(BodyRulesTest, LocalDataBecomesAnIndex) {
  EXPECT_EQ(TranslateLine("x = LOCALDATA(tile, i + 1, g);"), "x = tile[i + 1];");
  EXPECT_EQ(TranslateLine("LOCALDATA(a, b, c) + LOCALDATA(d, e, f)"), "a[b] + d[e]");
  // Parentheses inside are not understood.
  EXPECT_EQ(TranslateLine("LOCALDATA(a, b, f(c))"), "a[b])");
  ExpectError("LOCALDATA(a, b, c", "LOCALDATA missing )");
  ExpectError("LOCALDATA(a, b)", "LOCALDATA macro needs three parameters");
  ExpectError("LOCALDATA(a, f(b), c)", "LOCALDATA macro needs three parameters");
  ExpectError("LOCALDATA(a, b, c, d)", "LOCALDATA macro needs three parameters");
}

TEST_F(BodyRulesTest, GroupSharedMemoryIsDeclaredElsewhere) {
  const ParserRef parser =
      Parse("FP_KERNEL(K)\na;\nx GROUPSHAREDMEM(float, cache, 256) y\nGROUPSHAREDMEM(int, other, 2)\nFP_KERNEL_END\n");
  EXPECT_EQ(ToText(parser->GetKernelCode()), "a;\n\n");
  EXPECT_THAT(GetTexts(parser->GetGroupSharedDeclarations()),
              ElementsAre("groupSharedMemory float cache[256]; \n", "groupSharedMemory int other[2]; \n"));
  ExpectError("GROUPSHAREDMEM(float, cache, 256", "GROUPSHAREDMEM missing )");
  ExpectError("GROUPSHAREDMEM(float, cache)", "GROUPSHAREDMEM macro needs two parameters");
  ExpectError("GROUPSHAREDMEM(float, cache, 1, 2)", "GROUPSHAREDMEM macro needs two parameters");
}

TEST_F(BodyRulesTest, AtomicsAreATargetsMatter) {
  EXPECT_EQ(TranslateLine("ATOMIC uint counter", {.target = kTargetMetal}), "atomic_uint counter");
  EXPECT_EQ(TranslateLine("ATOMIC uint counter", {.target = kTargetHlsl}), "uint counter");
  EXPECT_EQ(TranslateLine("ATOMIC uint counter", {.target = kTargetGlsl}), "uint counter");
  EXPECT_EQ(TranslateLine("ATOMIC uint counter", {.target = "OTHER"_id}), "uint counter");
  // Everything up to the blank goes with it.
  EXPECT_EQ(TranslateLine("MY_ATOMIC_ADD(a, b)", {.target = kTargetMetal}), "MY_atomic_b)");
  EXPECT_EQ(TranslateLine("MY_ATOMIC_ADD(a, b)", {.target = kTargetHlsl}), "MY_b)");
  EXPECT_EQ(TranslateLine("ATOMIC ATOMIC x", {.target = kTargetHlsl}), "x");
  EXPECT_EQ(TranslateLine("ATOMIC ATOMIC x", {.target = kTargetMetal}), "atomic_atomic_x");
}

TEST_F(BodyRulesTest, MatrixOffsetsWalkToTheEndOfTheLine) {
  EXPECT_EQ(TranslateLine("matoff(m)"), "vec3((m.v0.w, (m.v1.w, (m.v2.w)");
  EXPECT_EQ(TranslateLine("x = matoff(m);"), "vec3((m.v0.w, (m.v1.w, (m.v2.w)");
  EXPECT_EQ(TranslateLine("x = matoff(m) + f(a, b) - c;"), "vec3((m(a, b.v0.w, (m(a, b.v1.w, (m(a, b.v2.w)");
  EXPECT_EQ(TranslateLine("matoff(f(m))"), "vec3((f(m.v0.w, (f(m.v1.w, (f(m.v2.w)");
  EXPECT_EQ(TranslateLine("matoff"), "vec3(.v0.w, .v1.w, .v2.w)");
  EXPECT_EQ(TranslateLine("matoff) (a (b"), "vec3((b.v0.w, (b.v1.w, (b.v2.w)");
  EXPECT_EQ(TranslateLine("matoff(x) + matoff(y)"), "vec3((x(y.v0.w, (x(y.v1.w, (x(y.v2.w)");
}

TEST_F(BodyRulesTest, RulesGoOnWithWhatEarlierOnesWrote) {
  EXPECT_EQ(TranslateLine("matoff(CPU_CONSTREF(m))"), "vec3((m.v0.w, (m.v1.w, (m.v2.w)");
  EXPECT_EQ(TranslateLine("LOCALDATA(Sqrt, sqmat, x)"), "sqrt[mat3]");
  EXPECT_EQ(TranslateLine("ATOCPU_CONSTREF(MIC) x", {.target = kTargetMetal}), "atomic_x");
  // An earlier rule does not see what a later one writes.
  EXPECT_EQ(TranslateLine("SqLOCALDATA(rt, b, c)"), "Sqrt[b]");
}

TEST_F(BodyRulesTest, TheFirstSampleIsAskedForWithManySamplesOnly) {
  for (const Int32 samples : {-1, 0, 1}) {
    EXPECT_EQ(TranslateLine("ONLY_USE_FIRST_MSAA_SAMPLE", {.multisampling = samples}), "");
    EXPECT_EQ(TranslateLine("a; ONLY_USE_FIRST_MSAA_SAMPLE b;", {.multisampling = samples}), "a;  b;");
  }
  for (const Int32 samples : {2, 4, 8})
    EXPECT_EQ(TranslateLine("ONLY_USE_FIRST_MSAA_SAMPLE", {.multisampling = samples}), "if (InSampleID > 0) discard;");
}

TEST_F(BodyRulesTest, TexelsOfFramebuffersWithoutTheOptionStay) {
  const std::string two = "color = GetFramebufferTexel(layer, pos);";
  const std::string three = "color = GetFramebufferTexel(layer, pos, InSampleID);";
  EXPECT_EQ(TranslateLine(two), two);
  EXPECT_EQ(TranslateLine(three), three);
  EXPECT_EQ(TranslateLine("color = GetFramebufferTexel(a"), "color = GetFramebufferTexel(a");
}

TEST_F(BodyRulesTest, TexelsOfFramebuffersHaveASampleWithManySamples) {
  const std::string two = "color = GetFramebufferTexel(layer, pos);";
  const std::string three = "color = GetFramebufferTexel(layer, pos, InSampleID);";
  for (const Int32 samples : {0, 1}) {
    EXPECT_EQ(TranslateLine(two, {.multisampling = samples}), "color =GetFramebufferTexel(layer, pos);");
    EXPECT_EQ(TranslateLine(three, {.multisampling = samples}), "color =GetFramebufferTexel(layer, pos);");
  }
  for (const Int32 samples : {2, 4}) {
    EXPECT_EQ(TranslateLine(two, {.multisampling = samples}), "color =GetFramebufferTexel(layer, pos, InSampleID);");
    EXPECT_EQ(TranslateLine(three, {.multisampling = samples}), "color =GetFramebufferTexel(layer, pos, InSampleID);");
  }
}

TEST_F(BodyRulesTest, ATexelCallWithoutABlankBeforeItIsLeftAlone) {
  EXPECT_EQ(TranslateLine("x=GetFramebufferTexel(a, b);", {.multisampling = 4}), "x=GetFramebufferTexel(a, b);");
  EXPECT_EQ(TranslateLine("GetFramebufferTexel(a, b, 0);", {.multisampling = 4}), "GetFramebufferTexel(a, b, 0);");
  // One blank is consumed, and the call is not met again.
  EXPECT_EQ(TranslateLine("x =  GetFramebufferTexel(a, b);", {.multisampling = 0}), "x = GetFramebufferTexel(a, b);");
}

TEST_F(BodyRulesTest, ATexelCallReachesToTheLastParenthesisOfTheLine) {
  EXPECT_EQ(TranslateLine("x = GetFramebufferTexel(a, f(b)) + (c);", {.multisampling = 4}),
            "x =GetFramebufferTexel(a, f(b)) + (c, InSampleID);");
}

TEST_F(BodyRulesTest, ATexelCallWithWrongArgumentsIsAnError) {
  const char* const message =
      "GetFramebufferTexel function needs two parameters or three with the last being InSampleID";
  for (const Int32 samples : {0, 1, 4}) {
    const ParseSettings settings{.multisampling = samples};
    ExpectError("x = GetFramebufferTexel(t, p, 0)", message, settings);
    ExpectError("x = GetFramebufferTexel(t)", message, settings);
    ExpectError("x = GetFramebufferTexel(t,p)", message, settings);
    ExpectError("x = GetFramebufferTexel()", message, settings);
    ExpectError("f() = GetFramebufferTexel(a, b", message, settings);
    ExpectError("x = GetFramebufferTexel(a, b, c, InSampleID)", message, settings);
    ExpectError("x = GetFramebufferTexel(a, b) + GetFramebufferTexel(c, d);", message, settings);
    ExpectError("x = GetFramebufferTexel(a, b", "GetFramebufferTexel missing )", settings);
  }
}

}  // namespace
}  // namespace ostra::test
