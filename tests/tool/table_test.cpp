#include "apps/ostra/output/table.h"

#include <gtest/gtest.h>

namespace ostra::tool {
namespace {

TEST(TableTest, ColumnsAreAlignedAndLinesEndWithTheirLastCell) {
  EXPECT_EQ(FormatTable({{"a", "bb", "c"}, {"dddd", "e"}, {"", "f", "g"}}), "a     bb  c\ndddd  e\n      f   g\n");
}

TEST(TableTest, LettersOfSeveralBytesCountOnce) {
  EXPECT_EQ(FormatTable({{"\xC3\xA4", "x"}, {"bb", "y"}}), "\xC3\xA4   x\nbb  y\n");
}

TEST(TableTest, NoRowsAreNoText) { EXPECT_EQ(FormatTable({}), ""); }

}  // namespace
}  // namespace ostra::tool
