// How much of a new texture has been filled, and in which blocks the rest is.
#include "ostra/drawport_vulkan/texture_rows.h"

#include <gtest/gtest.h>

#include <vector>

namespace ostra::test {
namespace {

using vulkan::CountRows;
using vulkan::FindFillEnd;
using vulkan::GetRows;

constexpr DrawportExtent kWhole = {8, 4, 3};

TEST(TextureRowsTest, RowsAndSlicesThatFollowContinueAFill) {
  EXPECT_EQ(CountRows(kWhole), 12);
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 0, 0}, {8, 4, 3}}, 0), 12);
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 0, 0}, {8, 2, 1}}, 0), 2);
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 2, 0}, {8, 2, 1}}, 2), 4);
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 0, 1}, {8, 4, 2}}, 4), 12);
}

TEST(TextureRowsTest, OtherBlocksDoNot) {
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 1, 0}, {8, 1, 1}}, 0), -1) << "leaves a row out";
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 0, 0}, {8, 1, 1}}, 1), -1) << "was filled before";
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 0, 0}, {7, 1, 1}}, 0), -1) << "leaves texels out";
  EXPECT_EQ(FindFillEnd(kWhole, {{1, 0, 0}, {7, 1, 1}}, 0), -1);
  EXPECT_EQ(FindFillEnd(kWhole, {{0, 0, 0}, {8, 3, 2}}, 0), -1) << "leaves rows of the first slice out";
}

TEST(TextureRowsTest, BlocksOfRowsCoverTheRestOnce) {
  for (Int begin = 0; begin < 12; ++begin) {
    for (Int most = 1; most < 14; ++most) {
      std::vector<int> covered(12);
      for (Int row = begin; row < 12;) {
        const DrawportRegion rows = GetRows(kWhole, row, most);
        ASSERT_GE(CountRows(rows.extent), 1);
        ASSERT_LE(CountRows(rows.extent), most);
        ASSERT_EQ(FindFillEnd(kWhole, rows, row), row + CountRows(rows.extent))
            << "begin " << begin << " most " << most;
        for (Int i = 0; i < CountRows(rows.extent); ++i) ++covered[static_cast<std::size_t>(row + i)];
        row += CountRows(rows.extent);
      }
      for (Int row = 0; row < 12; ++row) ASSERT_EQ(covered[static_cast<std::size_t>(row)], row >= begin);
    }
  }
}

}  // namespace
}  // namespace ostra::test
