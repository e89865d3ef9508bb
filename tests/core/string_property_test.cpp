// The same random operations on a String and on a std::string, side by side.
#include <random>
#include <string>

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

class StringPropertyTest : public testing::TestWithParam<UInt32> {
 protected:
  StringPropertyTest() : _random(GetParam()) {}

  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(_random); }

  // Few different characters, so that searches hit.
  std::string MakeText(std::size_t maxSize) {
    std::string text(Below(maxSize + 1), ' ');
    for (char& character : text) character = "ab ,\n"[Below(5)];
    return text;
  }

  std::mt19937 _random;
};

Int ToPosition(std::size_t position) { return position == std::string::npos ? NOT_FOUND : static_cast<Int>(position); }

TEST_P(StringPropertyTest, SearchesAgree) {
  for (int i = 0; i < 500; ++i) {
    const std::string expected = MakeText(40);
    const String text = *String::Create(expected);
    const std::string part = MakeText(3);
    const std::size_t start = Below(expected.size() + 1);
    ASSERT_EQ(text.Find(part, static_cast<Int>(start)), ToPosition(expected.find(part, start)));
    ASSERT_EQ(text.FindLast(part), ToPosition(expected.rfind(part)));
    ASSERT_EQ(text.Contains(part), expected.find(part) != std::string::npos);
    ASSERT_EQ(text.StartsWith(part), expected.starts_with(part));
    ASSERT_EQ(text.EndsWith(part), expected.ends_with(part));
    ASSERT_EQ(text < *String::Create(part), expected < part);
    ASSERT_EQ(text == *String::Create(part), expected == part);
  }
}

TEST_P(StringPropertyTest, ChangesAgree) {
  std::string expected;
  String text;
  for (int i = 0; i < 500; ++i) {
    const std::size_t position = Below(expected.size() + 1);
    if (Below(3) == 0) {
      const std::size_t count = Below(expected.size() - position + 1);
      expected.erase(position, count);
      ASSERT_THAT(text.Erase(static_cast<Int>(position), static_cast<Int>(count)), IsOk());
    } else {
      const std::string part = MakeText(6);
      expected.insert(position, part);
      ASSERT_THAT(text.Insert(static_cast<Int>(position), part), IsOk());
    }
    ASSERT_EQ(text.GetView(), expected);
    ASSERT_EQ(text.GetHashCode(), HashText(expected));
    const std::size_t count = Below(12);
    ASSERT_EQ(text.SubString(static_cast<Int>(position), static_cast<Int>(count)).GetView(),
              std::string_view(expected).substr(std::min(position, expected.size()), count));
  }
}

TEST_P(StringPropertyTest, JoiningThePiecesOfASplitTextGivesTheTextBack) {
  for (int i = 0; i < 300; ++i) {
    const std::string expected = MakeText(60);
    const std::string separator = MakeText(2);
    const auto pieces = *String::Create(expected)->Split(separator);
    for (const String& piece : pieces) ASSERT_TRUE(separator.empty() || !piece.Contains(separator));
    ASSERT_EQ(String::Join(pieces, separator)->GetView(), expected);
  }
}

TEST_P(StringPropertyTest, TrimmingTwiceIsTrimmingOnceAndLeavesNoWhiteSpaceAtTheEnds) {
  for (int i = 0; i < 300; ++i) {
    const String trimmed = String::Create(MakeText(12))->Trim();
    ASSERT_EQ(trimmed.Trim(), trimmed);
    if (trimmed.IsEmpty()) continue;
    ASSERT_EQ(std::string_view(" \n").find(trimmed[0]), std::string_view::npos);
    ASSERT_EQ(std::string_view(" \n").find(trimmed[trimmed.GetCount() - 1]), std::string_view::npos);
  }
}

TEST_P(StringPropertyTest, NumbersSurviveTheWayThroughTheirText) {
  std::uniform_int_distribution<Int> numbers(INT64_MIN, INT64_MAX);
  for (int i = 0; i < 500; ++i) {
    const Int number = numbers(_random) >> Below(64);
    ASSERT_EQ(*String::Create(std::to_string(number))->ToInt(), number);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, StringPropertyTest, testing::Values(1u, 2u, 3u, 4u));

}  // namespace
}  // namespace ostra
