// Jumps, labels, ends of functions, expressions of no certain order.
#include "parallelprogram/kernellanguage/check.h"

#include <gtest/gtest.h>

#include "kernel_text.h"

namespace ostra::kernellanguage {
namespace {

TEST(CheckTest, JumpsNeedSomethingToLeave) {
  EXPECT_EQ(FindErrors("break;"), "1:1: \"break\" outside of loops and switches");
  EXPECT_EQ(FindErrors("switch (1) { default: continue; }"), "1:23: \"continue\" outside of loops");
  EXPECT_EQ(FindErrors("case 1: return;"), "1:1: a label outside of a switch");
  EXPECT_EQ(FindErrors("for (;;) { if (true) break; else continue; }"), "");
}

TEST(CheckTest, LabelsOfASwitchAreDifferentAndJumpOverNoValue) {
  EXPECT_EQ(FindErrors("switch (1) { case 1: case 2: case 1: break; }"), "1:30: a second \"case 1\" in one switch");
  EXPECT_EQ(FindErrors("switch (1) { default: default: break; }"), "1:23: a second \"default\" in one switch");
  EXPECT_EQ(FindErrors("switch (1) { case 1: int a = 1; break; case 2: break; }"),
            "1:40: this label jumps over a variable with a value: put braces around the statements of the case");
  EXPECT_EQ(FindErrors("switch (1) { case 1: { int a = 1; break; } case 2: break; }"), "");
  EXPECT_EQ(FindReason("switch (1) { case 1: { case 2: break; } }"),
            "1: a label inside of another statement than its switch");
}

std::string FindWarning(std::string_view functionBody) {
  const AnalyzedKernel kernel = AnalyzeBody("", "inline float F(float x)\n{\n" + std::string(functionBody) + "\n}\n");
  EXPECT_TRUE(kernel.errors.empty()) << ListErrors(kernel);
  return kernel.warnings.empty() ? "" : kernel.warnings[0].text;
}

TEST(CheckTest, ExpressionsOfNoCertainOrderAreErrors) {
  const std::string text =
      "\"k\" is changed in one part of this expression and named in another, in no certain order; write the change as "
      "a "
      "statement of its own";
  EXPECT_EQ(FindErrors("int k = 0; int a = k++ + k;"), "1:24: " + text);
  EXPECT_EQ(FindErrors("int k = 0; int a = max(k, k += 2);"), "1:20: " + text);
  EXPECT_EQ(FindErrors("int k = 0; vec2 a = vec2(float(k++), float(k++));"), "1:21: " + text);
  EXPECT_EQ(FindErrors("int k = 0; float a = UNIFORM_BUFFER(in)[k] * UNIFORM_BUFFER(in)[--k];"), "1:44: " + text);
  EXPECT_EQ(FindErrors("int k = 0; int a = (k++, k) + 1; bool b = k++ > 1 && k > 2; int c = b ? k++ : k; k = k++ + 1;"),
            "");
  EXPECT_EQ(FindErrors("int k = 1; int a = k++ << k; int b = k-- >> k;"), "");  // the left side comes first
  EXPECT_EQ(FindErrors("int k = 0; float a[4]; a[k++] = float(k); a[k] = float(k++); a[k] += a[k++];"), "");
}

TEST(CheckTest, AFunctionWithoutAReturnIsWarnedOf) {
  constexpr std::string_view kWarning = "the end of \"F\" can be reached without a return";
  EXPECT_EQ(FindWarning("if (x > 1.0) return x;"), kWarning);
  EXPECT_EQ(FindWarning("for (int i = 0; i < 3; i++) { return x; }"), kWarning);
  EXPECT_EQ(FindWarning("while (true) { if (x > 1.0) break; }"), kWarning);
  EXPECT_EQ(FindWarning("if (x > 1.0) return x; else { return 1.0; }"), "");
  EXPECT_EQ(FindWarning("for (;;) { if (x > 1.0) return x; }"), "");
  EXPECT_EQ(FindWarning("switch (int(x)) { case 1: return 1.0; default: return 2.0; }"), "");
  EXPECT_EQ(FindWarning("do { return x; } while (true);"), "");
}

TEST(CheckTest, AVectorThatWouldBeCutIsAnError) {
  EXPECT_EQ(FindErrors("vec2 a = UNIFORM(v);"), "1:10: \"a\" is a vec2, this is a vec3; write .xy");
  EXPECT_EQ(FindErrors("vec2 a; a = vec4(1.0).zyx;"), "1:23: what is assigned to is a vec2, this is a vec3; write .xy");
  EXPECT_EQ(FindErrors("F(UNIFORM(v));", "inline void F(vec2 a)\n{\n}\n"),
            "4:3: the argument \"a\" is a vec2, this is a vec3; write .xy");
  EXPECT_EQ(FindErrors("vec2 a = vec2(UNIFORM(v)); a = UNIFORM(v).xy; vec3 b = int3(1, 2, 3);"), "");
}

// The errors of a kernel that has an array in group memory, and names it, with lines of the body after those.
std::string FindGroupErrors(std::string_view body, std::string_view functions = "") {
  return FindErrors(
      "GROUPSHAREDMEM(float, tile, 256)\nuint k = InLocalInvocationID.x; tile[k] = 1.0;\n" + std::string(body),
      functions);
}

TEST(GroupPlanTest, AGroupComesToABarrierTogether) {
  constexpr std::string_view kDiffers =
      "all invocations of a group must come to a groupSharedBarrier together, but this condition differs between them";
  const auto isAt = [&](std::string_view place) { return std::string(place).append(": ").append(kDiffers); };
  for (const std::string_view body :
       {"groupSharedBarrier;", "if (InWorkGroupID.x > 2u) { groupSharedBarrier; return; } groupSharedBarrier;",
        "for (uint i = 0u; i < UNIFORM(n); ++i) { groupSharedBarrier; if (k > i) tile[k] = 2.0; }",
        "groupSharedBarrier; if (k > 2u) return; tile[k] = 2.0;",
        "do { groupSharedBarrier; for (;;) { if (k > 2u) break; } } while (UNIFORM(n) > 5u);",
        "if (InLocalInvocationID.y == 0u) groupSharedBarrier;", "switch (k) { default: break; } groupSharedBarrier;"})
    EXPECT_EQ(FindGroupErrors(body), "") << body;
  EXPECT_EQ(FindGroupErrors("if (k > 2u) groupSharedBarrier;"), isAt("3:7"));
  EXPECT_EQ(FindGroupErrors("if (k > 2u) return;\ngroupSharedBarrier;"), isAt("3:7"));
  EXPECT_EQ(FindGroupErrors("for (uint i = 0u; i < k; ++i) { groupSharedBarrier; }"), isAt("3:21"));
  EXPECT_EQ(FindGroupErrors("while (true) { groupSharedBarrier;\nif (tile[0] > 1.0) break; }"), isAt("4:13"));
  EXPECT_EQ(FindGroupErrors("while (UNIFORM(n) > 1u) { if (k > 1u) continue; groupSharedBarrier; }"), isAt("3:33"));
  EXPECT_EQ(FindGroupErrors("for (;;) { for (;;) { if (k > 1u) return; } groupSharedBarrier; }"), isAt("3:29"));
}

TEST(GroupPlanTest, BarriersStandInTheKernelAndInNoSwitch) {
  EXPECT_EQ(FindGroupErrors("switch (1) { default: groupSharedBarrier; }"),
            "3:23: groupSharedBarrier stands in a switch: write the cases as ifs");
  EXPECT_EQ(
      FindGroupErrors("switch (k) { default: return; }\ngroupSharedBarrier;"),
      "3:23: a groupSharedBarrier comes after what some invocations leave in this switch: write the cases as ifs");
  EXPECT_NE(FindGroupErrors("F();", "inline void F()\n{\n\tgroupSharedBarrier;\n}\n").find("stands in a function"),
            std::string::npos);
}

TEST(GroupPlanTest, CopiesOfBuffersNeedNoPlan) {
  const AnalyzedKernel kernel =
      AnalyzeBody("GROUPSHAREDMEM(float, tile, 256)\nif (InLocalInvocationID.x > 2u) groupSharedBarrier;");
  EXPECT_TRUE(kernel.errors.empty()) << ListErrors(kernel);
  EXPECT_FALSE(kernel.groups.isNeeded);
}

}  // namespace
}  // namespace ostra::kernellanguage
