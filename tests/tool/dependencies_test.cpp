#include "parallelprogram/kernelruntime/dependencies.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ostra::kernelruntime {
namespace {

using testing::ElementsAre;

TEST(DependenciesTest, PrerequisitesAreListedWithoutLineEndsAndEscapes) {
  EXPECT_THAT(ParseDependencies("a.so: a.cpp b.h \\\n c.h \\\n  d.h\n"), ElementsAre("a.cpp", "b.h", "c.h", "d.h"));
  EXPECT_THAT(ParseDependencies("a.so: with\\ blank.h with$$dollar.h with\\#hash.h"),
              ElementsAre("with blank.h", "with$dollar.h", "with#hash.h"));
  EXPECT_THAT(ParseDependencies("a.so:"), ElementsAre());
  EXPECT_THAT(ParseDependencies(""), ElementsAre());
}

TEST(DependenciesTest, LinesThatAreEmptyAreLeftOut) { EXPECT_THAT(SplitLines("\na\n\nb"), ElementsAre("a", "b")); }

}  // namespace
}  // namespace ostra::kernelruntime
