#include "plans/names/nearest_name.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ostra::tool {

using namespace plans;
namespace {

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
