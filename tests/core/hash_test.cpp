#include "ostra/core/hash.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace ostra {
namespace {

TEST(HashTest, IsKnownAtCompileTimeAndEqualAtRunTime) {
  constexpr UInt64 compiled = HashText("net.ostra.registry.classes");
  std::string text = "net.ostra.registry.classes";
  EXPECT_EQ(HashText(text), compiled);
}

TEST(HashTest, SimilarTextsAndNumbersHashDifferently) {
  std::set<UInt64> hashes;
  for (int i = 0; i < 10000; ++i) {
    hashes.insert(HashText("buffer" + std::to_string(i)));
    hashes.insert(MixHash(static_cast<UInt64>(i)));
  }
  EXPECT_EQ(hashes.size(), 20000u);
}

TEST(HashTest, TheOrderOfAPairCounts) { EXPECT_NE(CombineHash(1, 2), CombineHash(2, 1)); }

}  // namespace
}  // namespace ostra
