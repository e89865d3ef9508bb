// What runs wide, and what says that it does not.
#include "parallelprogram/kernellanguage/lane_code.h"

#include <gtest/gtest.h>

#include <map>

#include "kernel_source_files.h"
#include "kernel_text.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/plain_form.h"

namespace ostra::kernellanguage {
namespace {

constexpr const char* kOneStep =
    "one step of arithmetic on elements, of which the compiler makes the faster loop by itself";

// Why an understood kernel has no wide form; "" for one that has.
std::string FindRefusal(const AnalyzedKernel& kernel) {
  EXPECT_TRUE(kernel.IsUnderstood());
  const LaneCode code = PrintLaneCode(kernel, {.className = "Tested", .parameters = "Parameters"});
  EXPECT_EQ(code.text.empty(), code.refusal.has_value());
  return code.refusal ? code.refusal->reason : "";
}
std::string FindRefusal(std::string_view body) { return FindRefusal(AnalyzeBody(body)); }

TEST(LaneCodeTest, EveryUnderstoodKernelOfTheRepositoryRunsWideOrHasAKnownReason) {
  std::map<std::string, std::string> reasons;
  for (const auto& path : FindKernelFiles()) {
    const KernelSourceFile file(path);
    const auto kernel = AnalyzeKernel(file.source);
    ASSERT_TRUE(kernel.IsOk());
    if (!kernel->IsUnderstood()) continue;
    const std::string reason =
        FindUnprintable(*kernel) ? FindRefusal(AnalyzeText(PrintPlainForm(*kernel, {}).text)) : FindRefusal(*kernel);
    if (!reason.empty()) reasons[file.name] = reason;
  }
  // Such kernels have another form, which runs whole groups.
  std::erase_if(reasons,
                [](const auto& entry) { return entry.second == "invocations that exchange values in group memory"; });
  std::map<std::string, std::string> known = {
      {"net.ostra.kernels.reduction.krn",
       "a loop in which each invocation walks through elements of its own, which is slower in lanes"},
      {"net.example.sparseproduct.krn",
       "a loop in which each invocation walks through elements of its own, which is slower in lanes"},
      {"net.example.report.krn", "a value of type OstraReport that differs between invocations"},
      {"net.example.wide.krn", "a value of type OstraReport that differs between invocations"},
      {"net.example.hueshift.krn",
       "an element that is found by its number in something other than an array or a buffer"},
      {"net.example.julia.krn", "\"++\" inside an expression"},
      {"net.example.lifebits.krn", "an assignment inside an expression"},
  };
  for (const char* name :
       {"com.example.scale.krn", "net.example.ramp.krn", "net.example.scale.krn", "net.example.whole.krn",
        "net.ostra.bench.count.krn", "net.ostra.bench.step.krn", "net.ostra.kernels.index.krn",
        "net.ostra.kernels.saxpy.krn", "net.ostra.parity.gradient.krn", "net.ostra.test.declared.krn",
        "net.ostra.test.guarded.krn"})
    known[name] = kOneStep;
  EXPECT_EQ(reasons, known);
}

TEST(LaneCodeTest, LoopsThatWalkThroughElementsHaveToDoSomethingWithThem) {
  const std::string_view walk =
      "a loop in which each invocation walks through elements of its own, which is slower in lanes";
  const std::string start = "uint i = InGlobalInvocationID.x; float sum = 0.0;\n";
  const std::string end = "\nUNIFORM_BUFFER(out)[i] = sum;";
  const auto find = [&](const std::string& loop) { return FindRefusal(start + loop + end); };
  EXPECT_EQ(find("for (uint k = i * UNIFORM(n); k < 90u; k++) sum += UNIFORM_BUFFER(in)[k];"), walk);
  EXPECT_EQ(find("uint k = i * i; while (k < 90u) { sum += UNIFORM_BUFFER(in)[k + 1u]; k += 2u; }"), walk);
  // Enough to do.
  EXPECT_EQ(find("for (uint k = i * UNIFORM(n); k < 90u; k++)\n"
                 "{ float x = UNIFORM_BUFFER(in)[k]; sum += x * x * x + sqrt(x) * x - sum * (x + 1.0); }"),
            "");
  // Lanes load elements that lie beside each other; places that are new in each turn.
  EXPECT_EQ(find("for (uint k = 0u; k < 9u; k++) sum += UNIFORM_BUFFER(in)[i + k];"), "");
  EXPECT_EQ(find("for (uint k = 0u; k < 9u; k++) { uint at = (i * k) % 8u; sum += UNIFORM_BUFFER(in)[at]; }"), "");
}

TEST(LaneCodeTest, OneStepOnElementsIsLeftToTheCompiler) {
  const auto find = [](const std::string& body) { return FindRefusal("uint i = InGlobalInvocationID.x;\n" + body); };
  EXPECT_EQ(find("UNIFORM_BUFFER(out)[i] = 1.0;"), kOneStep);
  EXPECT_EQ(find("if (i < UNIFORM(n)) { float x = UNIFORM_BUFFER(in)[i]; UNIFORM_BUFFER(out)[i] = -x * x / 3.0; }"),
            kOneStep);
  EXPECT_EQ(find("if (i >= UNIFORM(n)) { return; }\nUNIFORM_BUFFER(out)[i] = float(i);"), kOneStep);
  // Elements that are picked up.
  EXPECT_EQ(find("UNIFORM_BUFFER(out)[i] = UNIFORM_BUFFER(in)[UNIFORM_BUFFER(counts)[i]];"), kOneStep);
  EXPECT_EQ(find("if (i < UNIFORM(n)) { UNIFORM_BUFFER(out)[i] = 0.5 * UNIFORM_BUFFER(in)[i * i] + 1.0; }"), kOneStep);
  // Results elsewhere; a condition that is no guard, a choice, a loop, a function, a division that lanes may not do.
  for (const char* body :
       {"UNIFORM_BUFFER(out)[2u * i] = 1.0;", "UNIFORM_BUFFER(out)[i * i] = UNIFORM_BUFFER(in)[i];",
        "if (i > UNIFORM(n)) { UNIFORM_BUFFER(out)[i] = 1.0; }",
        "if (i < UNIFORM(n)) { UNIFORM_BUFFER(out)[i] = 1.0; } else { UNIFORM_BUFFER(out)[i] = 2.0; }",
        "if (UNIFORM_BUFFER(in)[i] < 2.0) { UNIFORM_BUFFER(out)[i] = 1.0; }",
        "UNIFORM_BUFFER(out)[i] = i < 3u ? 1.0 : 2.0;", "for (uint k = 0u; k < 9u; k++) UNIFORM_BUFFER(out)[i] = 1.0;",
        "UNIFORM_BUFFER(out)[i] = sqrt(UNIFORM_BUFFER(in)[i]);", "UNIFORM_BUFFER(out)[i] = float(7u / (i + 1u));"}) {
    EXPECT_EQ(find(body), "") << body;
  }
}

// The wide form of a body.
LaneCode Print(std::string_view body) {
  const AnalyzedKernel kernel = AnalyzeBody(body);
  EXPECT_TRUE(kernel.IsUnderstood()) << body;
  LaneCode code = PrintLaneCode(kernel, {.className = "Tested", .parameters = "Parameters"});
  EXPECT_FALSE(code.refusal.has_value()) << body;
  return code;
}
Bool HasText(const LaneCode& code, std::string_view text) { return code.text.find(text) != std::string::npos; }

// Asked one by one for each of its members, the last struct would take minutes.
TEST(LaneCodeTest, StructsOfStructsAreLookedAtOnce) {
  std::string structs = "struct S0 { float a; };\n";
  for (int i = 1; i < 32; ++i) {
    const std::string inner = "S" + std::to_string(i - 1);
    structs += "struct S" + std::to_string(i) + " { " + inner + " a; " + inner + " b; };\n";
  }
  EXPECT_EQ(FindRefusal(AnalyzeBody("float x = UNIFORM(f) * 2.0; if (x > 1.0) { return; }", structs)), "");
}

TEST(LaneCodeTest, KernelsWhoseVariablesAreCalledLikePartsOfTheWideFormHaveNone) {
  for (const std::string name : {"All", "Select", "Increment", "kLaneCount"}) {
    const std::string body = "float " + name + " = UNIFORM(f); while (" + name + " < 9.0) { " + name + " = " + name +
                             " * 2.0; } UNIFORM_BUFFER(out)[InGlobalInvocationID.x] = " + name + ";";
    EXPECT_EQ(FindRefusal(body), "the name \"" + name + "\"");
  }
}

TEST(LaneCodeTest, OnlyVariablesThatAreReadBehindALoopAreKeptForTheLanesThatHaveLeftIt) {
  const std::string start = "uint i = InGlobalInvocationID.x; float x = float(i); float y = 1.0; uint n = 0u;\n";
  const std::string loop = "while (x < 9.0) { x = x + y; y = y * x; n++; }\n";
  const std::string end = "UNIFORM_BUFFER(counts)[i] = n;";
  const LaneCode plain = Print(start + loop + end);
  EXPECT_FALSE(HasText(plain, "x = Select("));
  EXPECT_FALSE(HasText(plain, "y = Select("));
  EXPECT_TRUE(HasText(plain, "n = Increment("));
  EXPECT_TRUE(HasText(Print(start + loop + "UNIFORM_BUFFER(out)[i] = y;" + end), "y = Select("));
  // A loop around it begins again with what is left.
  EXPECT_TRUE(HasText(Print(start + "for (int k = 0; k < 3; k++) { " + loop + " }" + end), "x = Select("));
  // Lanes that continue come back.
  EXPECT_TRUE(
      HasText(Print(start + "while (x < 9.0) { x += 1.0; if (x > 3.0) { y = 2.0; continue; } x += y; n++; }" + end),
              "y = Select("));
}

TEST(LaneCodeTest, WhatLanesStillCountTogetherEndsTheLoopForAllOfThem) {
  const std::string start = "uint i = InGlobalInvocationID.x; float x = float(i);\n";
  const std::string end = "UNIFORM_BUFFER(counts)[i] = n;";
  const LaneCode counted = Print(start + "uint n = 0u; while (n < 9u && x < 9.0) { x = x * x; n++; }" + end);
  EXPECT_TRUE(HasText(counted, "if (!static_cast<Bool>((ostraCount_n < 9u))) break;"));
  EXPECT_TRUE(HasText(counted, "(ostraCount_n++);"));
  EXPECT_TRUE(HasText(counted, "n = Increment("));
  const LaneCode behind = Print(start + "uint n = 2u; while (x < 9.0 && n < 9u) { x = x * x; n += 3u; }" + end);
  EXPECT_TRUE(HasText(behind, "if (!static_cast<Bool>((ostraCount_n < 9u))) break;"));
  EXPECT_TRUE(HasText(behind, "n = Select("));
  // Lanes begin with numbers of their own.
  EXPECT_FALSE(
      HasText(Print(start + "uint n = i * i; while (n < 99u && x < 9.0) { x = x * x; n++; }" + end), "Count_"));
}

TEST(LaneCodeTest, VectorsThatAreNotTakenApartStayInRows) {
  const std::string start = "uint i = InGlobalInvocationID.x; vec3 sum = vec3(0.0, 0.0, 0.0); float x = float(i);\n";
  const auto isInRows = [&](const std::string& body) {
    return HasText(Print(start + body + "\nUNIFORM_BUFFER(out)[i] = x * sqrt(x);"), "LaneRows<Vec3<Float32>> sum");
  };
  EXPECT_TRUE(isInRows("sum = sum * x + UNIFORM(v);"));
  EXPECT_TRUE(isInRows("if (x > 3.0) { sum = -sum; }"));
  EXPECT_FALSE(isInRows("sum = sum * x; x = sum.y;"));
  EXPECT_FALSE(isInRows("sum = sum * x; x = dot(sum, UNIFORM(v));"));
  EXPECT_FALSE(isInRows("sum = vec3(x, x, x);"));
}

TEST(LaneCodeTest, PositionsThatAreKeptWithinBoundsAreRuns) {
  const auto isClamped = [](const std::string& column) {
    return HasText(Print("int x = int(InGlobalInvocationID.x); int w = int(UNIFORM(n)); int column = " + column +
                         ";\nUNIFORM_BUFFER(out)[x] = sqrt(UNIFORM_BUFFER(in)[column + w]);"),
                   "LoadRun(ostraParameter_in.GetFirst(), (column + w)");
  };
  EXPECT_TRUE(isClamped("clamp(x - 1, 0, w - 1)"));
  EXPECT_TRUE(isClamped("min(max(x + 2, 0), w - 1)"));
  // Of another order, stride or bound.
  EXPECT_FALSE(isClamped("max(min(x + 2, w - 1), 0)"));
  EXPECT_FALSE(isClamped("clamp(2 * x, 0, w - 1)"));
  EXPECT_FALSE(isClamped("clamp(x, 0, x / 2)"));
  EXPECT_FALSE(isClamped("clamp(x, 0, w - 1); column = column / 2"));
}

TEST(LaneCodeTest, ShortLoopsOfArithmeticRunTwoVectorsAtATime) {
  const auto countNumbers = [](const std::string& body) {
    return Print("uint i = InGlobalInvocationID.x; float x = float(i);\n" + body +
                 "\nUNIFORM_BUFFER(out)[i] = x * sqrt(x);")
        .pairedNumbers;
  };
  const auto isPaired = [&](const std::string& body) { return countNumbers(body).has_value(); };
  EXPECT_TRUE(isPaired("while (x < 9.0) { x = x * 1.5 + 1.0; }"));
  EXPECT_TRUE(
      isPaired("for (uint k = 0u; k < UNIFORM(n); k++) { x += UNIFORM_BUFFER(in)[k]; if (x > 4.0) { break; } }"));
  // No loop; other ways, calls, elements and textures.
  EXPECT_FALSE(isPaired("x = x + 1.0;"));
  EXPECT_FALSE(isPaired("while (x < 9.0) { if (x > 4.0) { x += 1.0; } x += 2.0; }"));
  EXPECT_FALSE(isPaired("while (x < 9.0) { x += exp(x); }"));
  EXPECT_FALSE(
      isPaired("uint k = i * i; while (x < 9.0) { k += i * 3u; x += UNIFORM_BUFFER(in)[k % 7u] * x * x * x * x * x * x "
               "* x * x; }"));
  EXPECT_FALSE(isPaired("while (x < 9.0) { x += SampleTexture(image, vec2(x, x)).x; }"));
  // Those that are declared in the loop, and before it without being used there, need no register in the meantime.
  const auto expect = [&](const std::string& body, UInt32 all, UInt32 kept) {
    const auto numbers = countNumbers(body);
    ASSERT_TRUE(numbers);
    EXPECT_EQ(numbers->all, all) << body;
    EXPECT_EQ(numbers->kept, kept) << body;
  };
  expect("while (x < 9.0) { float y = x * 1.5; x = y + 1.0; }", 2, 1);
  expect("float z = x * x; vec2 w = vec2(z, x); while (x < 9.0) { x = x + w.x; } x = x * z;", 4, 3);
  expect(
      "vec4 a = vec4(x, x, x, x); vec4 b = a * x; vec4 c = a * b; vec4 d = b * c;\n"
      "while (x < 9.0) { x += dot(a, b) + dot(c, d); }",
      17, 17);
}

TEST(LaneCodeTest, LoopsWhosePositionsAreWithinBoundsLeaveClampOut) {
  const auto find = [](const std::string& loop) {
    const LaneCode code = Print("int x = int(InGlobalInvocationID.x); int w = int(UNIFORM(n)); float sum = 0.0;\n" +
                                loop + "\nUNIFORM_BUFFER(out)[x] = sqrt(sum);");
    const std::size_t begin = code.text.find("if (All(ostraActive) && ");
    return begin == std::string::npos ? "" : code.text.substr(begin, code.text.find('\n', begin) - begin);
  };
  const std::string sum = "sum += UNIFORM_BUFFER(in)[clamp(x + k - 2, 0, w - 1)];";
  EXPECT_EQ(find("for (int k = 0; k < 5; k++) { " + sum + " }"),
            "if (All(ostraActive) && static_cast<Int64>(x) + (-2) >= static_cast<Int64>(0) && "
            "static_cast<Int64>(x) + (2) + (kLaneCount - 1) <= static_cast<Int64>((w - 1))) {");
  EXPECT_EQ(
      find("for (int k = -w; k <= w; ++k) { int at = x - k; sum += UNIFORM_BUFFER(in)[clamp(at, -3, w)]; }"),
      "if (All(ostraActive) && static_cast<Int64>(x) + (0) - static_cast<Int64>(w) >= static_cast<Int64>((-3)) && "
      "static_cast<Int64>(x) + (0) - static_cast<Int64>((-w)) + (kLaneCount - 1) <= static_cast<Int64>(w)) {");
  EXPECT_NE(find("for (uint k = 0u; k < 3u; k++) { sum += UNIFORM_BUFFER(in)[clamp(InGlobalInvocationID.x + k, 0u, "
                 "UNIFORM(n))]; }"),
            "");
  // One test for all loops inside.
  EXPECT_NE(find("for (int j = 0; j < 2; j++) { for (int k = 0; k < 5; k++) { " + sum + " } }"), "");
  // Numbers, bounds and turns that the loop changes, and loops that lanes leave.
  EXPECT_EQ(find("for (int k = 0; k < 5; k++) { k += 1; " + sum + " }"), "");
  EXPECT_EQ(find("for (int k = 0; k < 5; k += 2) { " + sum + " }"), "");
  EXPECT_EQ(find("for (int k = 0; k < 5; k++) { w = w - 1; " + sum + " }"), "");
  EXPECT_EQ(
      find("int q = x; for (int k = 0; k < 5; k++) { q = x + 1; sum += UNIFORM_BUFFER(in)[clamp(q + k, 0, w)]; }"), "");
  EXPECT_EQ(find("for (int k = 0; k < 5; k++) { " + sum + " if (sum > 3.0) return; }"), "");
  EXPECT_EQ(find("for (int k = 0; k < 5; k++) { " + sum + " if (sum > 3.0) break; }"), "");
  EXPECT_EQ(find("for (int k = 0; k < 5; k++) { sum += UNIFORM_BUFFER(in)[clamp(x * 2 + k, 0, w)]; }"), "");
}

TEST(LaneCodeTest, PlacesThatCallsChangeMustNotOverlap) {
  const auto find = [](const std::string& call) {
    return FindRefusal(AnalyzeBody(Join({"int x = int(InGlobalInvocationID.x), y = 1;\n"
                                         "int list[3] = {x, 2, 3}, other[2] = {1, x};\n",
                                         call, "\nUNIFORM_BUFFER(out)[x / 2] = float(x + list[0]);"}),
                                   "inline int Change(INOUT int a, INOUT int b) { a = b; return a; }\n"
                                   "inline void Fill(INOUT int a[3], int x) { a[1] = x; }\n"));
  };
  EXPECT_EQ(find("Change(list[x % 3], x);"), "");
  EXPECT_EQ(find("Change(list[x % 3], other[x % 2]);"), "");
  EXPECT_EQ(find("Change(list[0], list[1]);"), "");
  EXPECT_EQ(find("Change(list[0], list[x % 3]);"),
            "two arguments that the function changes and that may be the same place");
  EXPECT_EQ(find("Fill(list, x);"), "an array that a function changes");
  EXPECT_EQ(find("if (x > 2) Fill(list, 2);"), "an array that a function changes");
  EXPECT_EQ(find("list[Change(x, y)] = x;"), "an assignment to a place that a call finds and changes others");
}

}  // namespace
}  // namespace ostra::kernellanguage
