// Jumps, labels and ends of functions.
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

}  // namespace
}  // namespace ostra::kernellanguage
