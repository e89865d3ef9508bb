// PRINT and ASSERT: what the front end says about them, and their plain form.
#include <gtest/gtest.h>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/plain_form.h"

namespace ostra::kernellanguage {
namespace {

PlainForm PrintPlain(std::string_view body, const PlainOptions& options = {}, std::string_view before = {}) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  PlainForm form = PrintPlainForm(kernel, options);
  EXPECT_FALSE(form.refusal) << form.refusal->reason;
  return form;
}

Bool Has(const PlainForm& form, std::string_view text) { return form.text.find(text) != std::string::npos; }

// The plain form is a kernel of its own, which the front end takes.
void ExpectReadable(const PlainForm& form) {
  const AnalyzedKernel again = AnalyzeText(form.text);
  EXPECT_TRUE(again.IsUnderstood()) << ListErrors(again) << form.text;
}

TEST(ReportTest, MistakesOfPrintAreTold) {
  EXPECT_EQ(FindErrors("PRINT(1);"), "1:7: PRINT begins with a text in quotes: PRINT(\"x = %v\", x)");
  EXPECT_EQ(FindErrors("PRINT(\"%v %v\", 1);"), "1:1: the text of PRINT shows 2 values (%v), and there is 1 value");
  EXPECT_EQ(FindErrors("PRINT(\"x\", 1, 2);"), "1:1: the text of PRINT shows 0 values (%v), and there are 2 values");
  EXPECT_EQ(FindErrors("PRINT(\"%d\", 1);"), "1:1: \"%d\" in a text: every value is %v, and %% a percent sign");
  EXPECT_EQ(FindErrors("int a[2]; PRINT(\"%v\", a);").substr(0, 5), "1:23:");
  EXPECT_EQ(FindErrors("PRINT(\"%v\", sqr(2.0));"), "1:13: unknown name \"sqr\"; did you mean \"sqrt\"?");
  EXPECT_EQ(FindErrors("PRINT('x');"), "1:1: the text of PRINT stands in double quotes, on one line");
  EXPECT_EQ(FindErrors("PRINT(\"x\")"), "1:10: \";\" is missing after this");
}

TEST(ReportTest, MistakesOfAssertAreTold) {
  EXPECT_EQ(FindErrors("ASSERT(UNIFORM(v));"), "1:8: a condition must be a bool or a number, not a vec3");
  EXPECT_EQ(FindErrors("ASSERT(true, 1);"),
            "1:14: behind the condition ASSERT takes a text in quotes: ASSERT(x > 0, \"x is positive\")");
  EXPECT_EQ(FindErrors("ASSERT(true, \"%v\");"), "1:1: the text of ASSERT shows 1 value (%v), and there are 0 values");
}

TEST(ReportTest, TheTableNamesPlacesTypesAndTexts) {
  const PlainForm form = PrintPlain("PRINT(\"a %v b %v\", UNIFORM(f), UNIFORM(v));\nASSERT(true, \"why\");");
  const std::string line = std::to_string(kBodyLine), next = std::to_string(kBodyLine + 1);
  EXPECT_NE(form.reportTable.find("\t" + line + "\t1\tf,f3\ta %v b %v\n"), std::string::npos) << form.reportTable;
  EXPECT_NE(form.reportTable.find("\t" + next + "\t1\t\twhy\n"), std::string::npos) << form.reportTable;
  EXPECT_TRUE(form.reportTable.starts_with("9\t32\t137\nprint\t")) << form.reportTable;
  ExpectReadable(form);
}

TEST(ReportTest, NumbersOf64BitsAreTwoWords) {
  const PlainForm form =
      PrintPlain("Int64 a = Int64(1); UInt64 b = UInt64(a); double c = 2.0; PRINT(\"%v %v %v\", a, b, c);");
  EXPECT_NE(form.reportTable.find("\tl,w,d\t"), std::string::npos) << form.reportTable;
  EXPECT_TRUE(Has(form, " = uint(a);")) << form.text;
  EXPECT_TRUE(Has(form, " = uint(b >> 32);")) << form.text;
  ExpectReadable(form);
}

TEST(ReportTest, TheHighWordIsThatOfTheWholeNumber) {
  const PlainForm form = PrintPlain("PRINT(\"%v\", 0x8000000000000001UL);");
  EXPECT_TRUE(Has(form, "uint(((UInt64(2147483648u) << 32) | UInt64(1u)) >> 32)")) << form.text;
}

TEST(ReportTest, DivisionsOf64BitsAreChecked) {
  const PlainForm form = PrintPlain("Int64 a = Int64(1); Int64 b = (a + a) / a;", {.hasChecks = true});
  EXPECT_TRUE(Has(form, "Int64 b = ostra_quotient_of_Int64_Int64(ostraState, 0u, a + a, a);")) << form.text;
  EXPECT_TRUE(Has(form, "if (value == -Int64(1) && dividend == (Int64(1) << 63))")) << form.text;
  ExpectReadable(form);
}

// The counter must not begin again at 0.
TEST(ReportTest, LostPrintsAreCountedUpToALimit) {
  const PlainForm form = PrintPlain("PRINT(\"a\");", {.isForGpu = true});
  EXPECT_TRUE(Has(form, "< 4026531840u)")) << form.text;
  EXPECT_TRUE(Has(form, "AtomicAdd(UNIFORM_BUFFER(ostraReport)[2], 1u, ")) << form.text;
}

TEST(ReportTest, WithoutReportsNothingIsLeftOfThem) {
  const std::string_view body = "float a = 1.0; PRINT(\"%v\", a++); ASSERT(a++ > 0.0); UNIFORM_BUFFER(out)[0] = a;";
  const PlainForm silent = PrintPlain(body, {.hasReports = false});
  EXPECT_EQ(silent.text, PrintPlain("float a = 1.0; UNIFORM_BUFFER(out)[0] = a;").text);
  EXPECT_EQ(silent.reportTable, "");
}

TEST(ReportTest, FunctionsHandTheReportOn) {
  const PlainForm form = PrintPlain("float a = Outer(1.0);", {.isForGpu = true},
                                    "inline float Inner(float x)\n{\n\tPRINT(\"%v\", x);\n\treturn x;\n}\n\n"
                                    "inline float Outer(float x)\n{\n\treturn Inner(x) + 1.0;\n}\n\n"
                                    "inline float Other(float x)\n{\n\treturn x;\n}\n");
  EXPECT_TRUE(Has(form, "inline float Inner(float x, INOUT OstraReport ostraState)")) << form.text;
  EXPECT_TRUE(Has(form, "return Inner(x, ostraState) + 1.0;")) << form.text;
  EXPECT_TRUE(Has(form, "Outer(1.0, ostraState)")) << form.text;
  EXPECT_FALSE(Has(form, "Other")) << form.text;
}

// The list of parameters that the report needs stands where the kernel begins.
TEST(ReportTest, KernelsWithoutParametersReportToo) {
  const AnalyzedKernel kernel =
      AnalyzeText("OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\nPRINT(\"%v\", 1);\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  for (const Bool isForGpu : {false, true}) {
    const PlainForm form = PrintPlainForm(kernel, {.isForGpu = isForGpu});
    ASSERT_FALSE(form.refusal) << form.refusal->reason;
    EXPECT_TRUE(Has(form, "#define KERNELINPUTS \\\n(Block<UInt32>) ostraReport\n")) << form.text;
    ExpectReadable(form);
  }
}

TEST(ReportTest, PrintsOfAllTypesAreReadAgain) {
  ExpectReadable(
      PrintPlain("PRINT(\"%v %v %v %v %v %v\", 1, 2u, true, UNIFORM(m), lessThan(UNIFORM(v), UNIFORM(v)), "
                 "mat2(1, 2, 3, 4)); if (UNIFORM(n) > 1u) PRINT(\"only a text\"); else ASSERT(false);"));
}

TEST(ReportTest, ChecksStandAroundIndicesDivisorsAndLoops) {
  const PlainForm form = PrintPlain(
      "int a[4]; int k = int(UNIFORM(n)); a[k] = 1; a[3] = 2; UNIFORM_BUFFER(out)[k] = float(a[1] / k + 7 % 2); "
      "for (int i = 0; i < k; ++i) k -= 2; k /= k;",
      {.isForGpu = true, .hasChecks = true});
  EXPECT_TRUE(Has(form, "a[ostra_index_int(ostraState, 0u, k, 4u)] = 1;")) << form.text;
  EXPECT_TRUE(Has(form, "a[3] = 2;")) << form.text;
  EXPECT_TRUE(Has(form, "ostra_quotient_of_int_int(ostraState, 2u, a[1], k) + 7 % 2")) << form.text;
  EXPECT_TRUE(Has(form, "for (int i = 0; (i < k) && ostra_step(ostraState, 3u); ++i)")) << form.text;
  EXPECT_TRUE(Has(form, "k /= ostra_divisor_of_int_int(ostraState, 4u, k, k);")) << form.text;
  ExpectReadable(
      PrintPlain("int a[4]; a[int(UNIFORM(n))] = 1 / int(UNIFORM(n)); do { } while (a[0] > 0);", {.hasChecks = true}));
}

// The report of each invocation differs; what the checks give to the loop's condition is the same.
TEST(ReportTest, CheckedConditionsAreTheSameInAGroup) {
  const std::string_view before = "inline uint Half(uint x)\n{\n\twhile (x > 9u) x = x / 2u;\n\treturn x;\n}\n";
  const std::string array = "GROUPSHAREDMEM(float, shared, 8)\nshared[0] = 1;\n";
  for (const std::string loop :
       {"for (uint i = 0; i < 16u / UNIFORM(n); ++i)", "for (uint i = 16; i > 0u; i = i / UNIFORM(n))",
        "for (uint i = 0; i < uint(UNIFORM_BUFFER(in)[UNIFORM(n)]); ++i)",
        "for (uint i = 0; i < Half(UNIFORM(n)); ++i)", "if (16 % int(UNIFORM(n)) > 0)"})
    ExpectReadable(PrintPlain(array + loop + "\n{\ngroupSharedBarrier;\n}\n", {.hasChecks = true}, before));
}

// A check of what differs gives what differs.
TEST(ReportTest, CheckedConditionsThatDifferAreTold) {
  const PlainForm form = PrintPlain(
      "GROUPSHAREDMEM(float, part, 8)\npart[0] = 1;\nuint i = InLocalInvocationID.x;\n"
      "groupSharedBarrier;\nif (1u / (i + 1u) > 0u) part[0] = 2;",
      {.hasChecks = true});
  std::string differing = form.text;
  const std::string_view check = "part[0] = 2.0;";
  const std::size_t at = differing.find(check);
  ASSERT_NE(at, std::string::npos) << form.text;
  const AnalyzedKernel again = AnalyzeText(differing.replace(at, check.size(), "groupSharedBarrier;"));
  EXPECT_NE(ListErrors(again).find("this condition differs between them"), std::string::npos) << ListErrors(again);
}

TEST(ReportTest, UncheckedKernelsStayAsTheyAre) {
  const std::string_view body = "int k = 1; UNIFORM_BUFFER(out)[k] = 1.0 / 2; vec2 v = vec2(1).yx;";
  EXPECT_EQ(PrintPlain(body).text.find("ostraReport"), std::string::npos);
  EXPECT_EQ(PrintPlain(body).reportTable, "");
}

TEST(TraceTest, WhatIsWrittenIsRecorded) {
  const PlainForm form = PrintPlain(
      "float a = 1.0; a += UNIFORM(f); vec3 b = UNIFORM(v); b.xy = b.yx;\n"
      "for (int k = 0; k < 2; ++k) a = a * 2.0;\n"
      "UNIFORM_BUFFER(out)[3u * UNIFORM(n)] = a; PRINT(\"%v\", a); ASSERT(a > 0.0);",
      {.isTraced = true});
  ExpectReadable(form);
  EXPECT_NE(form.reportTable.find("\t@\t@n\t@f\t@v\t@m\t@in\t@out\t"), std::string::npos) << form.reportTable;
  std::string texts;
  for (std::size_t at = 0; (at = form.reportTable.find("print\t", at)) != std::string::npos;) {
    const std::size_t end = form.reportTable.find('\n', at);
    const std::size_t text = form.reportTable.rfind('\t', end) + 1;
    texts += form.reportTable.substr(text, end - text) + "\n";
    at = end;
  }
  EXPECT_EQ(texts, "a = %v\na = %v\nb = %v\nb = %v\nk = %v\na = %v\nout[%v] = %v\n");
}

TEST(TraceTest, CallsThatRecordComeFromLeftToRight) {
  const std::string_view before = "inline float F(float x)\n{\n\treturn x;\n}\n";
  const PlainForm form = PrintPlain("float a = max(F(1.0), F(2.0));", {.isTraced = true}, before);
  ExpectReadable(form);
  const std::size_t first = form.text.find("= F(1.0, ostraState);"), second = form.text.find("= F(2.0, ostraState);");
  ASSERT_NE(second, std::string::npos) << form.text;
  EXPECT_LT(first, second);
  // Which of them is called at all is not for a line of its own.
  const PlainForm chosen = PrintPlain("float a = UNIFORM(f) > 0.0 ? F(1.0) : F(2.0);", {.isTraced = true}, before);
  EXPECT_TRUE(Has(chosen, "? F(1.0, ostraState) : F(2.0, ostraState)")) << chosen.text;
}

TEST(TraceTest, AStoreWhoseIndexChangesIsRefused) {
  for (const std::string_view body :
       {"uint i = 0u; UNIFORM_BUFFER(out)[i++] = 1.0;", "UNIFORM_BUFFER(counts)[UNIFORM_BUFFER(counts)[0]] = 1u;",
        "uint i = 0u; UNIFORM_BUFFER(counts)[i] = i++;"}) {
    const AnalyzedKernel kernel = AnalyzeBody(body);
    ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
    const PlainForm form = PrintPlainForm(kernel, {.isTraced = true});
    ASSERT_TRUE(form.refusal) << form.text;
    EXPECT_EQ(form.refusal->reason, "a store whose index is changed by its own statement cannot be followed");
  }
}

}  // namespace
}  // namespace ostra::kernellanguage
