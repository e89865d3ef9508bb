#include "ostra/core/nearest_word.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "ostra/core/memory.h"
#include "ostra/core/text_characters.h"

namespace ostra {
namespace {

TEST(NearestWordTest, TheDistanceCountsInsertedRemovedReplacedAndExchangedLetters) {
  EXPECT_EQ(GetEditDistance("", ""), 0);
  EXPECT_EQ(GetEditDistance("radius", "radius"), 0);
  EXPECT_EQ(GetEditDistance("radius", "Radius"), 0);
  EXPECT_EQ(GetEditDistance("radius", "radus"), 1);
  EXPECT_EQ(GetEditDistance("radius", "radiuss"), 1);
  EXPECT_EQ(GetEditDistance("radius", "radios"), 1);
  EXPECT_EQ(GetEditDistance("radius", "raduis"), 1);
  EXPECT_EQ(GetEditDistance("abc", ""), 3);
  EXPECT_EQ(GetEditDistance("kitten", "sitting"), 3);
}

TEST(NearestWordTest, TheDistanceIsSymmetricAndBoundedByTheLength) {
  std::mt19937 random(5);
  const auto makeWord = [&] {
    std::string word;
    for (std::size_t i = random() % 8; i > 0; --i) word += static_cast<char>('a' + random() % 3);
    return word;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::string a = makeWord(), b = makeWord();
    const Int distance = GetEditDistance(a, b);
    ASSERT_EQ(distance, GetEditDistance(b, a)) << a << " " << b;
    ASSERT_EQ(distance == 0, a == b);
    ASSERT_LE(distance, static_cast<Int>(std::max(a.size(), b.size())));
    ASSERT_GE(distance, std::abs(static_cast<Int>(a.size()) - static_cast<Int>(b.size())));
  }
}

TEST(NearestWordTest, OfEndlessWordsOnlyTheBeginningCountsAndNothingIsAllocated) {
  const std::string first(5000, 'a'), second = std::string(127, 'a') + "b";
  const Int before = AllocationFaults::GetCount();
  EXPECT_EQ(GetEditDistance(first, second), 1);
  EXPECT_EQ(GetEditDistance(first, ""), 128);
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

TEST(NearestWordTest, TheFirstOfTheNearestBelowTheLimitIsKept) {
  NearestWord nearest("reslut", 2);
  nearest.Try("rest");
  EXPECT_EQ(nearest.Get(), "");
  nearest.Try("result");
  nearest.Try("resut");
  EXPECT_EQ(nearest.Get(), "result");
  nearest.Try("Reslut");
  EXPECT_EQ(nearest.Get(), "Reslut");
}

TEST(NearestWordTest, NamesAreMadeOfAsciiLettersDigitsAndUnderscores) {
  std::string words;
  for (int c = -128; c < 128; ++c)
    if (IsWordCharacter(static_cast<char>(c))) words += static_cast<char>(c);
  EXPECT_EQ(words, "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz");
  EXPECT_FALSE(IsWordStart('7'));
  EXPECT_TRUE(IsWordStart('_'));
}

}  // namespace
}  // namespace ostra
