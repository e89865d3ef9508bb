// Unusual files: large, deep, cut off. Each ends with a result, errors or a reason.
#include <gtest/gtest.h>

#include <random>

#include "kernel_source_files.h"
#include "kernel_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::size_t kHuge = 10u << 20;

std::string Repeat(std::string_view piece, std::size_t size) {
  std::string text;
  while (text.size() < size) text += piece;
  return text;
}

TEST(LimitsTest, TextsOfTenMegabytesEndWithAReason) {
  constexpr std::string_view kPieces[] = {"(",  "{",   "a = a * 2.0;\n", "float b;\n", "/ ", "\"", "#if 1\n",
                                          "{}", "1.0,"};
  for (const std::string_view piece : kPieces) {
    const AnalyzedKernel kernel = AnalyzeBody(Repeat(piece, kHuge));
    EXPECT_FALSE(kernel.IsUnderstood()) << piece;
    EXPECT_TRUE(!kernel.notUnderstood || !FormatNotUnderstood(kernel.sources, *kernel.notUnderstood).empty());
  }
  EXPECT_EQ(AnalyzeBody(std::string(kHuge, '\0')).notUnderstood->reason, "more than 2000000 tokens");
  EXPECT_EQ(ListErrors(AnalyzeBody("/*" + std::string(kHuge, 'x'))), "14:1: this comment is not closed: */ is missing");
}

TEST(LimitsTest, LongLinesAndNamesAreRead) {
  const std::string name(kHuge, 'a');
  const AnalyzedKernel kernel = AnalyzeBody(Join({"float ", name, " = 1.0; ", name, " = true;\n"}));
  EXPECT_TRUE(kernel.IsUnderstood());
}

TEST(LimitsTest, ManyStatementsFunctionsAndCallsTakeTimeInProportion) {
  std::string functions = "inline float F0(float x)\n{\nreturn x;\n}\n";
  for (int i = 1; i < 20000; ++i) {
    const std::string before = std::to_string(i - 1);
    functions +=
        Join({"inline float F", std::to_string(i), "(float x)\n{\nreturn F", before, "(x) + F", before, "(x);\n}\n"});
  }
  const AnalyzedKernel calls = AnalyzeBody("UNIFORM_BUFFER(out)[0] = F19999(UNIFORM_BUFFER(out)[1]);", functions);
  EXPECT_TRUE(calls.IsUnderstood()) << ListErrors(calls);
  const AnalyzedKernel statements = AnalyzeBody(Join({"float a = 1.0;\n", Repeat("a = a * 2.0 + 1.0;\n", 1u << 20)}));
  EXPECT_TRUE(statements.IsUnderstood());
}

// Each variable takes the value of the one behind it, so that every sweep of the analysis changes only one.
TEST(LimitsTest, UniformityThatSpreadsSlowlyEnds) {
  std::string declarations, loop = "while (UNIFORM(n) > 1u) {\n";
  for (int i = 0; i < 30000; ++i) {
    declarations += Join({"float z", std::to_string(i), " = 0.0;\n"});
    if (i > 0) loop += Join({"z", std::to_string(i - 1), " = z", std::to_string(i), ";\n"});
  }
  const AnalyzedKernel kernel = AnalyzeBody(Join({declarations, loop, "z29999 = UNIFORM_BUFFER(out)[0]; }"}));
  ASSERT_TRUE(kernel.IsUnderstood());
  EXPECT_EQ(kernel.uniformity.Get(FindVariable(kernel, "z0")).variance, Variance::kVarying);
}

TEST(LimitsTest, KernelsThatEndAnywhereGetAnAnswer) {
  for (const auto& path : FindKernelFiles()) {
    const std::string text = ReadWholeFile(path);
    for (std::size_t size = 0; size < text.size(); size += 11) AnalyzeText(text.substr(0, size));
  }
}

TEST(LimitsTest, KernelsWithMissingAndDoubledPiecesGetAnAnswer) {
  std::mt19937 random(23);
  for (const auto& path : FindKernelFiles()) {
    const std::string text = ReadWholeFile(path);
    for (int i = 0; i < 60; ++i) {
      std::string changed = text;
      const std::size_t from = random() % changed.size(), count = random() % 20;
      if (i % 2)
        changed.erase(from, count);
      else
        changed.insert(random() % changed.size(), changed.substr(from, count));
      const AnalyzedKernel kernel = AnalyzeText(changed);
      EXPECT_TRUE(kernel.errors.empty() || !FormatDiagnostics(kernel.sources, kernel.errors).empty());
    }
  }
}

}  // namespace
}  // namespace ostra::kernellanguage
