// Which values differ between lanes. Conditions and calls are tested against each other in a table, larger kernels by
// the golden files.
#include "parallelprogram/kernellanguage/uniformity.h"

#include <gtest/gtest.h>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

std::string Describe(const Uniformity& uniformity) {
  switch (uniformity.variance) {
    case Variance::kUniform:
      return "uniform";
    case Variance::kRow:
      return "row";
    case Variance::kLinear:
      return "linear " + std::to_string(uniformity.stride);
    default:
      return "varying";
  }
}

// Of the variable `r`.
std::string Find(std::string_view body, std::string_view before = {}) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_TRUE(kernel.IsUnderstood()) << body << "\n"
                                     << ListErrors(kernel)
                                     << (kernel.notUnderstood ? kernel.notUnderstood->reason : "");
  if (!kernel.IsUnderstood()) return "";
  return Describe(kernel.uniformity.Get(FindVariable(kernel, "r")));
}

constexpr std::string_view kStart =
    "uint i = InGlobalInvocationID.x; uint row = InGlobalInvocationID.y; uint u = UNIFORM(n); float a = "
    "UNIFORM_BUFFER(in)[i];\n";
std::string FindAfterStart(std::string_view body, std::string_view before = {}) {
  return Find(Join({kStart, body}), before);
}

TEST(UniformityTest, SourcesDifferInTheirOwnWay) {
  EXPECT_EQ(Find("uint r = InGlobalInvocationID.x;"), "linear 1");
  EXPECT_EQ(Find("uint r = LinearInvocation();"), "linear 1");
  EXPECT_EQ(Find("uint r = InGlobalInvocationID.y + InGlobalInvocationID.z;"), "row");
  EXPECT_EQ(Find("uint r = InLocalInvocationID.x;"), "varying");
  EXPECT_EQ(Find("uint r = InWorkGroupID.x;"), "varying");
  EXPECT_EQ(Find("uint r = InWorkGroupID.y;"), "row");
  EXPECT_EQ(Find("uint r = InWorkGroupSize.x;"), "uniform");
  EXPECT_EQ(Find("uint3 r = InGlobalInvocationID;"), "varying");
  EXPECT_EQ(Find("float r = UNIFORM(f) * 2.0;"), "uniform");
  EXPECT_EQ(Find("int2 r = TextureSize(image);"), "uniform");
}

TEST(UniformityTest, ElementsOfConstBuffersAreAsTheirIndexThoseOfOthersDiffer) {
  EXPECT_EQ(Find("float r = UNIFORM_BUFFER(in)[3];"), "uniform");
  EXPECT_EQ(Find("float r = UNIFORM_BUFFER(in)[InGlobalInvocationID.y];"), "row");
  EXPECT_EQ(Find("float r = UNIFORM_BUFFER(in)[InGlobalInvocationID.x];"), "varying");
  EXPECT_EQ(Find("float r = UNIFORM_BUFFER(out)[3];"), "varying");
  EXPECT_EQ(Find("float r = LOCALDATA(in, 0, 3);"), "uniform");
}

TEST(UniformityTest, LinearValuesKeepTheirStride) {
  EXPECT_EQ(FindAfterStart("uint r = u - i * 4u + row;"), "linear -4");
  EXPECT_EQ(FindAfterStart("int r = int(i) * -3 + 7;"), "linear -3");
  EXPECT_EQ(FindAfterStart("uint r = i << 2;"), "linear 4");
  EXPECT_EQ(FindAfterStart("uint r = i + i;"), "linear 2");
  EXPECT_EQ(FindAfterStart("uint r = i - i;"), "row");
  EXPECT_EQ(FindAfterStart("uint r = i * u;"), "varying");
  EXPECT_EQ(FindAfterStart("uint r = i / 2u;"), "varying");
  EXPECT_EQ(FindAfterStart("float r = float(i);"), "varying");
  EXPECT_EQ(FindAfterStart("Int64 r = Int64(i);"), "varying") << "wraps at another place";
  EXPECT_EQ(FindAfterStart("uint r = i; r += 3u; r++;"), "linear 1");
  EXPECT_EQ(FindAfterStart("uint r; r = i;"), "linear 1");
  EXPECT_EQ(FindAfterStart("uint r = 0u; r = i;"), "varying");
  EXPECT_EQ(FindAfterStart("uint r = u > 3u ? i : i + 1u;"), "linear 1");
  EXPECT_EQ(FindAfterStart("uint r = i > 3u ? i : i + 1u;"), "varying");
}

// Every way to control an assignment, against every kind of condition.
TEST(UniformityTest, AssignmentsTakeOverTheirControl) {
  struct Condition {
    std::string_view text, expected;
  };
  constexpr Condition kConditions[] = {
      {"u > 3u", "uniform"}, {"row > 3u", "row"}, {"i > 3u", "varying"}, {"a > 0.5", "varying"}};
  constexpr std::string_view kForms[] = {
      "float r = 0.0; if (@) r = 1.0;",
      "float r = 0.0; if (@) { } else { r = 1.0; }",
      "float r = 0.0; for (int k = 0; @; k++) r = r + 1.0;",
      "float r = 0.0; while (@) { r += 1.0; }",
      "float r = 0.0; do { r++; } while (@);",
      "float r = 0.0; switch (int(@)) { case 1: r = 1.0; }",
      "float r = 0.0; bool b = (@) && (r = 1.0) > 0.0;",
      "float r = 0.0; bool b = (@) ? (r = 1.0) > 0.0 : false;",
      "float r = (@) ? 1.0 : 2.0;",
      "bool r = @;",
      "float r = 0.0; if (u > 1u) { if (@) { r = 1.0; } }",
      "float r[2]; r[0] = 1.0; if (@) { r[1] = 1.0; }",
      "vec3 r = vec3(0.0); if (@) { r.x = 1.0; }",
  };
  for (const std::string_view form : kForms) {
    for (const Condition& condition : kConditions) {
      const std::size_t place = form.find('@');
      const std::string body = Join({form.substr(0, place), condition.text, form.substr(place + 1)});
      EXPECT_EQ(FindAfterStart(body), condition.expected) << body;
    }
  }
}

TEST(UniformityTest, WhatIsDeclaredBelowAConditionIsNotChangedByIt) {
  EXPECT_EQ(FindAfterStart("if (a > 0.5) { float r = 1.0; r = 2.0; }"), "uniform");
  EXPECT_EQ(FindAfterStart("if (a > 0.5) { for (int r = 0; r < 4; r++) { } }"), "uniform");
  EXPECT_EQ(FindAfterStart("for (int r = 0; r < 4 && a > 0.5; r++) { a += 1.0; }"), "uniform")
      << "lanes that are left agree";
  EXPECT_EQ(FindAfterStart("int r = 0; for (; r < 4 && a > 0.5; r++) { }"), "varying");
}

TEST(UniformityTest, LoopsThatLanesLeaveApartMakeTheirVariablesDiffer) {
  EXPECT_EQ(FindAfterStart("float r = 0.0; for (int k = 0; k < 9; k++) { r += 1.0; if (a > r) break; }"), "varying");
  EXPECT_EQ(FindAfterStart("float r = 0.0; for (int k = 0; k < 9; k++) { if (a > 0.5) continue; r += 1.0; }"),
            "varying");
  EXPECT_EQ(FindAfterStart("float r = 0.0; for (int k = 0; k < 9; k++) { r += 1.0; if (u > 3u) break; }"), "uniform");
  EXPECT_EQ(FindAfterStart("float r = 0.0; for (int k = 0; k < 9; k++) { r += 1.0; if (a > 0.5) return; }"), "uniform")
      << "lanes that have returned do not count";
  EXPECT_EQ(FindAfterStart("if (a > 0.5) return; float r = 0.0; r = 1.0;"), "uniform");
  EXPECT_EQ(
      FindAfterStart(
          "float r = 0.0; for (;;) { while (a > 0.5) { a -= 1.0; if (a > 2.0) break; } r += 1.0; if (u > 1u) break; }"),
      "uniform")
      << "the inner loop is left by all lanes";
}

TEST(UniformityTest, LanesThatAreStillInALoopHaveTheSameNumberOfTurns) {
  const auto find = [](std::string_view count, std::string_view step) {
    return FindAfterStart(
        Join({"uint t = 0u; ", count, " while (a < 9.0) { uint r = n; a = a * a + 1.0; ", step, " }"}));
  };
  EXPECT_EQ(find("uint n = 0u;", "n++;"), "row");
  EXPECT_EQ(find("uint n = u;", "n += u; if (a > 3.0) break;"), "row");
  EXPECT_EQ(find("uint n = row;", "n = n * 2u + u; --n;"), "row");
  EXPECT_EQ(FindAfterStart("int n = 0; for (; n < 9; n++) { int r = n; if (a > 1.0) continue; if (a > 0.5) break; }"),
            "row");
  EXPECT_EQ(FindAfterStart("int n = 0; do { n++; } while (a > float(n)); int r = n;"), "varying");
  // Lanes begin with numbers of their own, go on by steps of their own, or not in every turn.
  EXPECT_EQ(find("uint n = i;", "n++;"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "n += i;"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "if (a > 3.0) n++;"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "if (a > 3.0) continue; n++;"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "while (a > 2.0) { a -= 1.0; n++; }"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "n++; if (a > 3.0) n = 4u;"), "varying");
  EXPECT_EQ(find("uint n = 0u; n = i;", "n++;"), "varying");
  EXPECT_EQ(find("uint n = 0u; while (a < 2.0) { a += 1.0; n++; }", "n++;"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "n++; t = n++;"), "varying");
  EXPECT_EQ(find("uint n = 0u;", "++(++n);"), "varying");
}

TEST(UniformityTest, LoopsSayWhetherTheyAreLeftApart) {
  const auto isApart = [](std::string_view body, NodeKind kind) {
    const AnalyzedKernel kernel = AnalyzeBody(Join({kStart, body}));
    return kernel.uniformity.isLeftApart[FindNode(kernel, kind)];
  };
  EXPECT_TRUE(isApart("while (a > 0.5) { a -= 1.0; }", NodeKind::kWhile));
  EXPECT_FALSE(isApart("while (u > 5u) { u -= 1u; if (a > 0.5) return; }", NodeKind::kWhile));
  EXPECT_TRUE(isApart("for (;;) { if (a > 0.5) break; }", NodeKind::kFor));
  EXPECT_FALSE(isApart("for (;;) { if (a > 0.5) { for (;;) break; } }", NodeKind::kFor));
  EXPECT_TRUE(isApart("switch (int(u)) { case 1: if (a > 0.5) break; a = 1.0; }", NodeKind::kSwitch));
  EXPECT_TRUE(isApart("for (;;) { switch (int(u)) { case 1: if (a > 0.5) continue; } }", NodeKind::kSwitch));
}

TEST(UniformityTest, StatementsSayWhetherAllLanesComeThere) {
  const auto find = [](std::string_view body) {
    const AnalyzedKernel kernel = AnalyzeBody(Join({kStart, body, " groupSharedBarrier;"}));
    return Describe(kernel.uniformity.Get(FindNode(kernel, NodeKind::kBarrier)));
  };
  EXPECT_EQ(find(""), "uniform");
  EXPECT_EQ(find("if (u > 3u)"), "uniform");
  EXPECT_EQ(find("if (row > 3u)"), "row");
  EXPECT_EQ(find("if (i < 64u)"), "varying");
  EXPECT_EQ(find("if (i < 64u) { return; }"), "varying");
  EXPECT_EQ(find("if (u < 64u) { return; }"), "uniform");
  EXPECT_EQ(find("for (int k = 0; k < 3; k++) { if (a > 0.5) { break; } }"), "uniform");
  EXPECT_EQ(find("for (int k = 0; k < 3; k++) { if (a > 0.5) { return; } }"), "varying");
}

TEST(UniformityTest, SwizzlesDifferAsTheirComponents) {
  const AnalyzedKernel kernel =
      AnalyzeBody("uint2 a = InGlobalInvocationID.yz;\nuint2 b = InGlobalInvocationID.yx;\nvec2 c = UNIFORM(v).xx;");
  ASSERT_EQ(ListErrors(kernel), "");
  EXPECT_EQ(kernel.uniformity.Get(FindVariable(kernel, "a")).variance, Variance::kRow);
  EXPECT_EQ(kernel.uniformity.Get(FindVariable(kernel, "b")).variance, Variance::kVarying);
  EXPECT_EQ(kernel.uniformity.Get(FindVariable(kernel, "c")).variance, Variance::kUniform);
}

TEST(UniformityTest, AtomicOperationsGiveEveryLaneAnotherValue) {
  EXPECT_EQ(Find("uint r = 0u; AtomicAdd(UNIFORM_BUFFER(counts)[0], 1u, r);"), "varying");
  EXPECT_EQ(Find("uint r = 0u; AtomicAdd(GetAtomicCounter(hits), 1u, r);"), "varying");
}

constexpr std::string_view kFunctions =
    "inline float Twice(float x)\n{\nreturn x * 2.0;\n}\n"
    "inline float First(float x, float y)\n{\nif (y > 3.0) return x;\nreturn 1.0;\n}\n"
    "inline int Index(int x, int y, int width)\n{\nreturn y * width + x;\n}\n"
    "inline void Grow(INOUT float x, float by)\n{\nx += by;\n}\n"
    "inline void Limit(INOUT float x, float by)\n{\nif (by > 1.0) return;\nx = 1.0;\n}\n";

TEST(UniformityTest, CallsAreAsTheirArguments) {
  EXPECT_EQ(FindAfterStart("float r = Twice(UNIFORM(f));", kFunctions), "uniform");
  EXPECT_EQ(FindAfterStart("float r = Twice(float(row));", kFunctions), "row");
  EXPECT_EQ(FindAfterStart("float r = Twice(a);", kFunctions), "varying");
  EXPECT_EQ(FindAfterStart("float b = Twice(a); float r = Twice(UNIFORM(f));", kFunctions), "uniform")
      << "a call with uniform arguments is one of its own";
  EXPECT_EQ(FindAfterStart("float r = First(1.0, a);", kFunctions), "varying") << "the result depends on a condition";
  EXPECT_EQ(FindAfterStart("int r = Index(int(i), int(row), int(u));", kFunctions), "linear 1");
}

TEST(UniformityTest, CallsChangeWhatTheyAreGiven) {
  EXPECT_EQ(FindAfterStart("float r = 1.0; Grow(r, UNIFORM(f));", kFunctions), "uniform");
  EXPECT_EQ(FindAfterStart("float r = 1.0; Grow(r, a);", kFunctions), "varying");
  EXPECT_EQ(FindAfterStart("float r = 1.0; if (a > 0.5) Grow(r, 1.0);", kFunctions), "varying");
  EXPECT_EQ(FindAfterStart("float r = 1.0; Limit(r, a);", kFunctions), "varying") << "some lanes return before";
  EXPECT_EQ(FindAfterStart("float r = 1.0; Limit(r, 0.5);", kFunctions), "uniform");
}

TEST(UniformityTest, FunctionsSayWhetherTheyAreCalledWide) {
  const AnalyzedKernel kernel =
      AnalyzeBody(Join({kStart, "float b = Twice(a); float c = First(1.0, 2.0);"}), kFunctions);
  EXPECT_TRUE(kernel.uniformity.isCalledWide[kernel.resolved.functions[0]]);
  EXPECT_FALSE(kernel.uniformity.isCalledWide[kernel.resolved.functions[1]]);
}

TEST(UniformityTest, EveryDifferenceHasAReasonThatEndsAtASource) {
  const AnalyzedKernel kernel =
      AnalyzeBody(Join({kStart, "float c = a * 2.0; float r = 0.0; if (c > 1.0) { r = 1.0; }"}));
  const auto reasons = Explain(kernel.tree, kernel.resolved, kernel.uniformity, FindVariable(kernel, "r"));
  ASSERT_GE(reasons.size(), 3u);
  EXPECT_EQ(reasons.front().text, "\"r\" differs between invocations");
  EXPECT_EQ(reasons.back().text, "the number of the invocation differs along x");
  EXPECT_EQ(kernel.sources.Locate(kernel.tree.nodes[reasons.back().node].offset).line, kBodyLine);
  EXPECT_TRUE(Explain(kernel.tree, kernel.resolved, kernel.uniformity, FindVariable(kernel, "u")).empty());
}

// Each variable takes the value of the one behind it: every sweep carries the difference one step further.
TEST(UniformityTest, AnalysesThatDoNotEndInTimeTakeEverythingForVarying) {
  std::string body = "float z0 = 0.0;", loop = "while (UNIFORM(f) > 1.0) { ";
  for (int i = 1; i < 200; ++i) {
    body += Join({"float z", std::to_string(i), " = 0.0; "});
    loop += Join({"z", std::to_string(i - 1), " = z", std::to_string(i), "; "});
  }
  const AnalyzedKernel kernel = AnalyzeBody(Join({body, loop, "z199 = UNIFORM_BUFFER(out)[0]; }"}));
  ASSERT_TRUE(kernel.IsUnderstood());
  EXPECT_EQ(Describe(kernel.uniformity.Get(FindVariable(kernel, "z0"))), "varying");
}

}  // namespace
}  // namespace ostra::kernellanguage
