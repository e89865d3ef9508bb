#include "ostra/core/string.h"

#include <string>

#include "ostra/core/base_array.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

String Make(std::string_view text) { return *String::Create(text); }

TEST(StringTest, LiteralsAllocateNothing) {
  const Int before = AllocationFaults::GetCount();
  const String text = "blur.krn"_s;
  const String part = text.SubString(0, 4);
  EXPECT_EQ(part, "blur");
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

TEST(StringTest, AnEmptyTextNeedsNoMemory) {
  const FailingAllocation failure(1);
  EXPECT_THAT(String::Create(""), IsOk());
  EXPECT_TRUE(Make("").IsEmpty());
  EXPECT_EQ(String(), "");
}

TEST(StringTest, ZeroBytesBelongToTheText) {
  const String text = Make(std::string_view("a\0b", 3));
  EXPECT_EQ(text.GetCount(), 3);
  EXPECT_EQ(text[1], '\0');
  EXPECT_NE(text, Make("a"));
}

TEST(StringTest, CopiesAndPartsShareTheMemoryAndOutliveTheirSource) {
  String part;
  {
    const String text = Make("net.ostra.blur.krn");
    part = text.SubString(10, 4);
    EXPECT_EQ(part.GetView().data(), text.GetView().data() + 10);
  }
  EXPECT_EQ(part, "blur");
}

TEST(StringTest, PartsAreClippedToTheText) {
  const String text = "abcdef"_s;
  EXPECT_EQ(text.SubString(4), "ef");
  EXPECT_EQ(text.SubString(4, 100), "ef");
  EXPECT_EQ(text.SubString(100), "");
  EXPECT_EQ(text.SubString(-5, 2), "ab");
  EXPECT_EQ(text.SubString(2, 0), "");
}

TEST(StringTest, SearchingSaysWhereOrThatThereIsNothing) {
  const String text = "one, two, three"_s;
  EXPECT_EQ(text.Find(", "), 3);
  EXPECT_EQ(text.Find(", ", 4), 8);
  EXPECT_EQ(text.FindLast(", "), 8);
  EXPECT_EQ(text.Find("four"), NOT_FOUND);
  EXPECT_EQ(text.FindLast("four"), NOT_FOUND);
  EXPECT_EQ(text.Find("one", -1), NOT_FOUND);
  EXPECT_EQ(text.Find("one", 99), NOT_FOUND);
  EXPECT_TRUE(text.Contains("two"));
  EXPECT_TRUE(text.StartsWith("one") && !text.StartsWith("two"));
  EXPECT_TRUE(text.EndsWith("three") && !text.EndsWith("a longer text than the text itself"));
}

TEST(StringTest, TrimmingTakesWhiteSpaceOffTheEndsOnly) {
  const String text = " \t a b\r\n"_s;
  EXPECT_EQ(text.Trim(), "a b");
  EXPECT_EQ(text.TrimLeft(), "a b\r\n");
  EXPECT_EQ(" \n\v\f "_s.Trim(), "");
}

TEST(StringTest, PositionsOutsideTheTextAreRefusedAndChangeNothing) {
  String text = Make("abc");
  EXPECT_THAT(text.Insert(4, "x"), IsErrorWith(kIllegalArgumentError, "Position 4 is outside a text of 3 bytes."));
  EXPECT_THAT(text.Insert(-1, "x"), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(text.Erase(1, 3), IsErrorWith(kIllegalArgumentError, "Range 1 + 3 is outside a text of 3 bytes."));
  EXPECT_THAT(text.Erase(0, -1), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(text, "abc");
}

TEST(StringTest, ChangingATextLeavesItsCopiesAsTheyWere) {
  String text = Make("abc");
  const String copy = text;
  ASSERT_THAT(text.Insert(1, "--"), IsOk());
  ASSERT_THAT(text.Append(text), IsOk());
  EXPECT_EQ(text, "a--bca--bc");
  ASSERT_THAT(text.Erase(0, 5), IsOk());
  EXPECT_EQ(text, "a--bc");
  EXPECT_EQ(copy, "abc");
}

TEST(StringTest, SplittingGivesEmptyPiecesToo) {
  const auto pieces = *",a,,b,"_s.Split(",");
  ASSERT_EQ(pieces.GetCount(), 5);
  EXPECT_EQ(pieces[0], "");
  EXPECT_EQ(pieces[1], "a");
  EXPECT_EQ(pieces[2], "");
  EXPECT_EQ(pieces[3], "b");
  EXPECT_EQ(pieces[4], "");
  EXPECT_EQ("abc"_s.Split("")->GetCount(), 1);
  EXPECT_EQ(""_s.Split(",")->GetCount(), 1);
}

TEST(StringTest, WholeTextsBecomeNumbers) {
  EXPECT_EQ(*"0"_s.ToInt(), 0);
  EXPECT_EQ(*"-42"_s.ToInt(), -42);
  EXPECT_EQ(*"+7"_s.ToInt(), 7);
  EXPECT_EQ(*"9223372036854775807"_s.ToInt(), INT64_MAX);
  EXPECT_EQ(*"-9223372036854775808"_s.ToInt(), INT64_MIN);
}

TEST(StringTest, TextsThatAreNoNumbersAreRefusedWithTheText) {
  EXPECT_THAT("12a"_s.ToInt(), IsErrorWith(kIllegalArgumentError, "\"12a\" is not an integer."));
  for (const String& text : {""_s, " 1"_s, "1 "_s, "+"_s, "+-1"_s, "--1"_s, "0x10"_s, "9223372036854775808"_s})
    EXPECT_THAT(text.ToInt(), IsErrorOfKind(kIllegalArgumentError)) << text.GetView();
}

TEST(StringTest, OrderComparesBytes) {
  EXPECT_TRUE("abc"_s < "abd"_s);
  EXPECT_TRUE("ab"_s < "abc"_s);
  EXPECT_TRUE("abc"_s == std::string_view("abc"));
  EXPECT_TRUE("Z"_s < "a"_s);
}

TEST(CStringTest, EndsWithAZeroByteAlsoWhenItsSourceDoesNot) {
  const CString text = *CString::Create(std::string_view("radius=3", 6));
  EXPECT_EQ(std::string(text.GetCString()), "radius");
  EXPECT_EQ(text, CString("radius"));
  EXPECT_EQ(text.GetHashCode(), "radius"_s.GetHashCode());
  EXPECT_EQ(std::string(CString().GetCString()), "");
}

}  // namespace
}  // namespace ostra
