#include "apps/ostra/names/nearest_name.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace ostra::tool {
namespace {

TEST(NearestNameTest, TheDistanceCountsInsertedRemovedReplacedAndExchangedLetters) {
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

TEST(NearestNameTest, TheDistanceIsSymmetricAndBoundedByTheLength) {
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

TEST(NearestNameTest, OnlyANameThatIsCloseIsSuggested) {
  const std::vector<std::string> names = {"radius", "image", "result", "width"};
  EXPECT_EQ(FindNearestName("radus", names), "radius");
  EXPECT_EQ(FindNearestName("reslut", names), "result");
  EXPECT_EQ(FindNearestName("wdth", names), "width");
  EXPECT_EQ(FindNearestName("temperature", names), "");
  EXPECT_EQ(SuggestName("radus", names), "; did you mean \"radius\"?");
  EXPECT_EQ(SuggestName("temperature", names), "; there are \"radius\", \"image\", \"result\" and \"width\"");
  EXPECT_EQ(SuggestName("x", {}), "; there are none");
}

}  // namespace
}  // namespace ostra::tool
