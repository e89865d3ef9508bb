#include "ostra/core/lexer.h"

#include <string>
#include <vector>

#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

using testing::ElementsAre;

// Every symbol up to the end as "NAME text".
std::vector<std::string> ReadAll(std::string_view text) {
  Lexer lexer;
  lexer.Init(*String::Create(text));
  std::vector<std::string> symbols;
  while (lexer.ReadNextSymbol())
    symbols.push_back(std::string(GetName(lexer.GetSymbol())) + " " + std::string(lexer.GetText()));
  EXPECT_EQ(lexer.GetSymbol(), LEXERSYMBOL::NONE);
  return symbols;
}

TEST(LexerTest, EverySymbolHasItsNameAndText) {
  EXPECT_THAT(ReadAll("name 12 ( ) [ ] , *"),
              ElementsAre("IDENTIFIER name", "NUMBER 12", "PARENTHESE_OPEN (", "PARENTHESE_CLOSE )",
                          "SQUAREBRACKET_OPEN [", "SQUAREBRACKET_CLOSE ]", "COMMA ,", "CHARACTER *"));
  EXPECT_EQ(GetName(LEXERSYMBOL::NONE), "NONE");
}

TEST(LexerTest, SymbolsNeedNoBlanksBetweenThem) {
  EXPECT_THAT(ReadAll("RWStructuredBuffer<Float32> v[4],"),
              ElementsAre("IDENTIFIER RWStructuredBuffer", "CHARACTER <", "IDENTIFIER Float32", "CHARACTER >",
                          "IDENTIFIER v", "SQUAREBRACKET_OPEN [", "NUMBER 4", "SQUAREBRACKET_CLOSE ]", "COMMA ,"));
}

TEST(LexerTest, UnderscoresAndDigitsBelongToNames) {
  EXPECT_THAT(ReadAll("__THREAD _ a1b2 x_9"),
              ElementsAre("IDENTIFIER __THREAD", "IDENTIFIER _", "IDENTIFIER a1b2", "IDENTIFIER x_9"));
}

TEST(LexerTest, ANumberEndsWithItsDigits) {
  EXPECT_THAT(ReadAll("4u 0x10 2.5 -3"), ElementsAre("NUMBER 4", "IDENTIFIER u", "NUMBER 0", "IDENTIFIER x10",
                                                     "NUMBER 2", "CHARACTER .", "NUMBER 5", "CHARACTER -", "NUMBER 3"));
}

TEST(LexerTest, AllWhiteSpaceIsSkipped) {
  EXPECT_THAT(ReadAll(" \t\r\n\v\fa\r\n \tb "), ElementsAre("IDENTIFIER a", "IDENTIFIER b"));
  EXPECT_THAT(ReadAll(" \n"), ElementsAre());
  EXPECT_THAT(ReadAll(""), ElementsAre());
}

TEST(LexerTest, AnyOtherByteIsACharacterOfItsOwn) {
  EXPECT_THAT(ReadAll("&&"), ElementsAre("CHARACTER &", "CHARACTER &"));
  EXPECT_THAT(ReadAll(std::string_view("\0\xC3\xA9", 3)),
              ElementsAre(std::string("CHARACTER \0", 11), "CHARACTER \xC3", "CHARACTER \xA9"));
}

TEST(LexerTest, TheEndOfTheTextIsAnErrorThatComesAgain) {
  Lexer lexer;
  lexer.Init("a "_s);
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(lexer.ReadNextSymbol(),
                IsErrorWith(kIllegalArgumentError, "The text ends where a symbol is expected: \"a \"."));
    EXPECT_EQ(lexer.GetSymbol(), LEXERSYMBOL::NONE);
    EXPECT_EQ(lexer.GetText(), "");
  }
  EXPECT_THAT(lexer.ReadNextSymbolExpected(LEXERSYMBOL::COMMA),
              IsErrorWith(kIllegalArgumentError, "The text ends where a symbol is expected: \"a \"."));
}

TEST(LexerTest, AnUnexpectedSymbolIsNamedWithItsPlace) {
  Lexer lexer;
  lexer.Init("f )"_s);
  EXPECT_THAT(lexer.ReadNextSymbolExpected(LEXERSYMBOL::IDENTIFIER), IsOk());
  EXPECT_THAT(
      lexer.ReadNextSymbolExpected(LEXERSYMBOL::PARENTHESE_OPEN),
      IsErrorWith(kIllegalArgumentError, "Expected PARENTHESE_OPEN, got PARENTHESE_CLOSE at position 2 of \"f )\"."));
  EXPECT_EQ(lexer.GetSymbol(), LEXERSYMBOL::PARENTHESE_CLOSE);
}

TEST(LexerTest, WordsAndNumbersAreGivenAsValues) {
  Lexer lexer;
  lexer.Init("values 2147483647 007"_s);
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_EQ(lexer.GetIdent().GetValue(), "values");
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_EQ(lexer.GetInt().GetValue(), 2147483647);
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_EQ(lexer.GetInt().GetValue(), 7);
}

TEST(LexerTest, AskingForAValueOfAnotherSymbolIsAnError) {
  Lexer lexer;
  lexer.Init("name 1"_s);
  EXPECT_THAT(lexer.GetIdent(), IsErrorWith(kIllegalStateError, "The symbol NONE is no IDENTIFIER."));
  EXPECT_THAT(lexer.GetInt(), IsErrorWith(kIllegalStateError, "The symbol NONE is no NUMBER."));
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_THAT(lexer.GetInt(), IsErrorWith(kIllegalStateError, "The symbol IDENTIFIER is no NUMBER."));
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_THAT(lexer.GetIdent(), IsErrorWith(kIllegalStateError, "The symbol NUMBER is no IDENTIFIER."));
}

TEST(LexerTest, ANumberThatDoesNotFitIsAnError) {
  for (const char* number : {"2147483648", "99999999999999999999999999"}) {
    Lexer lexer;
    lexer.Init(*String::Create(number));
    ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
    EXPECT_THAT(lexer.GetInt(), IsErrorWith(kIllegalArgumentError,
                                            "The number " + std::string(number) + " is larger than 2147483647."));
  }
}

TEST(LexerTest, ALexerCanBeUsedAgain) {
  Lexer lexer;
  lexer.Init("a b"_s);
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  lexer.Init("c"_s);
  EXPECT_EQ(lexer.GetSymbol(), LEXERSYMBOL::NONE);
  ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_EQ(lexer.GetIdent().GetValue(), "c");
}

TEST(LexerTest, WordsOutliveTheLexer) {
  String word;
  {
    Lexer lexer;
    lexer.Init(*String::Create("a word that is kept"));
    ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
    ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
    word = *lexer.GetIdent();
  }
  EXPECT_EQ(word, "word");
}

TEST(LexerTest, ReadingAllocatesNothing) {
  Lexer lexer;
  lexer.Init("one two (3)"_s);
  const Int before = AllocationFaults::GetCount();
  for (int i = 0; i < 5; ++i) ASSERT_THAT(lexer.ReadNextSymbol(), IsOk());
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

TEST(LexerTest, ErrorsWithoutMemoryAreOutOfMemory) {
  Lexer lexer;
  lexer.Init("a"_s);
  const FailingAllocation failure(1);
  EXPECT_THAT(lexer.ReadNextSymbolExpected(LEXERSYMBOL::COMMA), IsErrorOfKind(kOutOfMemoryError));
}

}  // namespace
}  // namespace ostra
