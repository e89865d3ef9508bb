// The line that rules rewrite, beside a std::string.
#include "parallelprogram/shaderparser/line_text.h"

#include <random>
#include <string>

#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

TEST(LineTextTest, IsEmptyAtFirst) {
  LineText line;
  EXPECT_EQ(line.GetCount(), 0);
  EXPECT_EQ(line.GetView(), "");
  EXPECT_EQ(line.Find("x", 0), NOT_FOUND);
  EXPECT_EQ(line.Find("", 0), 0);
  EXPECT_THAT(line.Erase(0, 3), IsOk());
  EXPECT_THAT(line.Replace(5, 1, "ab"), IsOk());
  EXPECT_EQ(line.GetView(), "ab");
}

TEST(LineTextTest, WhatLiesBeyondTheEndIsNotCounted) {
  LineText line;
  ASSERT_THAT(line.Assign("abcdef"), IsOk());
  EXPECT_EQ(line.Find("a", 7), NOT_FOUND);
  EXPECT_EQ(line.Find("", 6), 6);
  ASSERT_THAT(line.Replace(4, 100, "x"), IsOk());
  EXPECT_EQ(line.GetView(), "abcdx");
  EXPECT_EQ(line.ViewFrom(3), "dx");
  EXPECT_EQ(line.ViewFrom(9), "");
}

TEST(LineTextTest, DoesWhatAStringDoes) {
  for (UInt32 seed = 0; seed < 20; ++seed) {
    std::mt19937 random(seed);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const auto makeText = [&](std::size_t most) {
      std::string text(below(most + 1), ' ');
      for (char& c : text) c = "ab)("[below(4)];
      return text;
    };
    LineText line;
    std::string expected;
    for (int step = 0; step < 3000; ++step) {
      const std::size_t position = below(expected.size() + 1);
      const auto place = static_cast<Int>(position);
      if (step % 200 == 0) {
        expected = makeText(1000);
        ASSERT_THAT(line.Assign(expected), IsOk());
      } else if (below(2) == 0) {
        const std::size_t count = below(5);
        const std::string text = makeText(below(10) == 0 ? 300 : 6);
        expected.replace(position, count, text);
        ASSERT_THAT(line.Replace(place, static_cast<Int>(count), text), IsOk());
      } else {
        const std::string part = makeText(3);
        const std::size_t found = expected.find(part, position), last = expected.rfind(part);
        ASSERT_EQ(line.Find(part, place), found == std::string::npos ? NOT_FOUND : static_cast<Int>(found));
        ASSERT_EQ(line.FindLast(part), last == std::string::npos ? NOT_FOUND : static_cast<Int>(last));
        ASSERT_EQ(line.ViewFrom(place), std::string_view(expected).substr(position));
      }
      ASSERT_EQ(line.GetCount(), static_cast<Int>(expected.size()));
    }
    ASSERT_EQ(line.GetView(), expected);
  }
}

TEST(LineTextTest, WorkFromLeftToRightGrowsWithTheLengthOnly) {
  std::string text;
  for (int i = 0; i < 10000; ++i) text += "abcdefghij";
  LineText line;
  ASSERT_THAT(line.Assign(text), IsOk());
  Int replaced = 0;
  for (Int at = line.Find("def", 0); at != NOT_FOUND; at = line.Find("def", at), ++replaced)
    ASSERT_THAT(line.Replace(at, 3, "x"), IsOk());
  EXPECT_EQ(replaced, 10000);
  EXPECT_LT(line.GetWork(), 5 * static_cast<Int>(text.size()));
}

TEST(LineTextTest, StaysAsItIsWhenThereIsNoMemory) {
  const std::string longText(2000, 'x');
  LineText line;
  ASSERT_THAT(line.Assign("abc"), IsOk());
  const FailingAllocation failure(1);
  EXPECT_THAT(line.Replace(1, 1, longText), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_EQ(line.GetView(), "abc");
}

}  // namespace
}  // namespace ostra::test
