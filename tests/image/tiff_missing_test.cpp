// Built where libtiff was not found, in place of the tests of TIFF pictures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/image/tiff.h"

namespace ostra {
namespace {

using testing::HasSubstr;

TEST(TiffMissingTest, TiffPicturesGiveAnErrorThatNamesThePackage) {
  const auto read = DecodeTiff({});
  ASSERT_FALSE(read.IsOk());
  EXPECT_THAT(std::string(read.GetError().GetMessage().GetView()), HasSubstr("install the package libtiff-dev"));
  const auto written = EncodeTiff(Image::Create(1, 1).GetValue());
  ASSERT_FALSE(written.IsOk());
  EXPECT_THAT(std::string(written.GetError().GetMessage().GetView()), HasSubstr("install the package libtiff-dev"));
}

TEST(TiffTest, EverythingElse) { GTEST_SKIP() << "libtiff-dev was not found when this was built"; }

}  // namespace
}  // namespace ostra
