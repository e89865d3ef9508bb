#include "ostra/core/compiler_line.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace ostra {
namespace {

using enum SourceSeverity;

void Expect(std::string_view line, SourceSeverity severity, std::string_view file, Int number, Int column,
            std::string_view text) {
  const auto read = ReadCompilerLine(line);
  ASSERT_TRUE(read) << line;
  EXPECT_EQ(read->severity, severity) << line;
  EXPECT_EQ(read->file, file) << line;
  EXPECT_EQ(read->line, number) << line;
  EXPECT_EQ(read->column, column) << line;
  EXPECT_EQ(read->text, text) << line;
}

TEST(CompilerLineTest, ReadsMessagesOfCppCompilers) {
  Expect("a/b.krn:12:5: error: 'x' was not declared", kError, "a/b.krn", 12, 5, "'x' was not declared");
  Expect("b.krn:12: fatal error: no.h: No such file", kError, "b.krn", 12, 0, "no.h: No such file");
  Expect("b.krn:1:2: warning: unused [-Wunused]", kWarning, "b.krn", 1, 2, "unused [-Wunused]");
  Expect("c++: fatal error: no input files", kError, "c++", 0, 0, "no input files");
  Expect("a:3:b.krn:4:5: error: x", kError, "a:3:b.krn", 4, 5, "x");
}

TEST(CompilerLineTest, TheFirstKindOfALineIsItsKind) {
  Expect("b.krn:1:2: note: in 'g(): error: x'", kNote, "b.krn", 1, 2, "in 'g(): error: x'");
  Expect("b.krn:1:2: error: said: note: y", kError, "b.krn", 1, 2, "said: note: y");
}

TEST(CompilerLineTest, ReadsMessagesOfGlslang) {
  Expect("ERROR: 0:12: 'x' : undeclared identifier", kError, "0", 12, 0, "'x' : undeclared identifier");
  Expect("WARNING: 0:3: odd", kWarning, "0", 3, 0, "odd");
  Expect("ERROR: Linking compute stage: Missing entry point", kError, "", 0, 0,
         "Linking compute stage: Missing entry point");
  Expect("(12): error at column 1, HLSL parsing failed.", kError, "", 12, 1, "HLSL parsing failed.");
}

TEST(CompilerLineTest, OtherLinesAreNone) {
  for (const char* line : {"", "  x = y;", "    ^", "In file included from a.h:1:", "a.krn: In function 'f':", "(12)",
                           "1 error generated.", "(x): error at column 1, y"})
    EXPECT_FALSE(ReadCompilerLine(line)) << line;
}

TEST(CompilerLineTest, AnyLineIsReadAndItsPartsLieInIt) {
  const char* const pieces[] = {"ERROR: ", "WARNING: ", "0:",       "(",       "): error at column ",  ", ",
                                ":",       ": error: ", ": note: ", "12",      "99999999999999999999", "-1",
                                " ",       "a.krn",     "\xff",     ": fatal", ": warning: ",          ""};
  std::mt19937 random(7);
  Int count = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string line;
    for (auto length = random() % 8; length > 0; --length) line += pieces[random() % std::size(pieces)];
    const auto read = ReadCompilerLine(line);
    if (!read) continue;
    ++count;
    EXPECT_GE(read->line, 0) << line;
    EXPECT_GE(read->column, 0) << line;
    for (const std::string_view part : {read->file, read->text}) {
      const Bool isInside =
          part.empty() || (part.data() >= line.data() && part.data() + part.size() <= line.data() + line.size());
      EXPECT_TRUE(isInside) << line;
    }
  }
  EXPECT_GT(count, 1000);
}

}  // namespace
}  // namespace ostra
