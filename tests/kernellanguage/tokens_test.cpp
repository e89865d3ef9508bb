// Tokens of one file.
#include "parallelprogram/kernellanguage/tokens.h"

#include <gtest/gtest.h>

namespace ostra::kernellanguage {
namespace {

std::string Spell(std::string_view text) {
  LexerTrouble trouble;
  std::string all;
  for (const Token& token : ReadTokens(text, 0, trouble)) {
    if (!all.empty()) all += token.isFirstInLine ? '\n' : ' ';
    all += token.text;
  }
  return all;
}

LexerTrouble::Kind FindTrouble(std::string_view text) {
  LexerTrouble trouble;
  ReadTokens(text, 0, trouble);
  return trouble.kind;
}

TEST(TokensTest, TheLongestOperatorIsTaken) {
  EXPECT_EQ(Spell("a<<=b>>c>=d->e::f++ +g"), "a <<= b >> c >= d -> e :: f ++ + g");
}

TEST(TokensTest, NumbersHaveTheirPointsExponentsAndSuffixes) {
  EXPECT_EQ(Spell("1.5e-3f .5 0x1p3 2u 1'000 3.x"), "1.5e-3f .5 0x1p3 2u 1'000 3.x");
  EXPECT_EQ(Spell("1+2-3"), "1 + 2 - 3");
}

TEST(TokensTest, CommentsBlanksAndAByteOrderMarkAreLeftOut) {
  EXPECT_EQ(Spell("\xef\xbb\xbf"
                  "a /* b */ c // d\ne"),
            "a c\ne");
  EXPECT_EQ(Spell("a\r\nb\r\n"), "a\nb");
  EXPECT_EQ(Spell("// no line end"), "");
}

TEST(TokensTest, AContinuedLineGoesOn) { EXPECT_EQ(Spell("a \\\nb \\ \t\r\nc\nd"), "a b c\nd"); }

TEST(TokensTest, QuotesEndWithTheirLine) { EXPECT_EQ(Spell("\"a\\\"b\" 'c\nd"), "\"a\\\"b\" 'c\nd"); }

TEST(TokensTest, OffsetsCountFromTheBeginOfTheFile) {
  LexerTrouble trouble;
  const auto tokens = ReadTokens("a bc", 100, trouble);
  ASSERT_EQ(tokens.size(), 2u);
  EXPECT_EQ(tokens[0].offset, 100u);
  EXPECT_EQ(tokens[1].offset, 102u);
  EXPECT_TRUE(tokens[1].isAfterSpace);
}

TEST(TokensTest, TroubleIsNamed) {
  using Kind = LexerTrouble::Kind;
  EXPECT_EQ(FindTrouble("a /* b"), Kind::kOpenComment);
  EXPECT_EQ(FindTrouble("// a \\\nb"), Kind::kContinuedComment);
  EXPECT_EQ(FindTrouble("wo\\\nrd"), Kind::kSplitWord);
  EXPECT_EQ(FindTrouble("#define A(x) \\\n x"), Kind::kNone);
}

TEST(TokensTest, BytesThatCppHasNoUseForAreTokens) {
  EXPECT_EQ(Spell(std::string_view("a\0b@", 4)), std::string_view("a \0 b @", 7));
}

TEST(TokensTest, TheNumberOfTokensHasALimit) {
  EXPECT_EQ(FindTrouble(std::string(kMaxTokens, ';')), LexerTrouble::Kind::kNone);
  EXPECT_EQ(FindTrouble(std::string(kMaxTokens + 1, ';')), LexerTrouble::Kind::kTooManyTokens);
}

}  // namespace
}  // namespace ostra::kernellanguage
