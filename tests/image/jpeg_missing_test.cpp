// Built where libjpeg was not found, in place of the tests of JPEG pictures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ostra/image/image.h"

namespace ostra {
namespace {

using testing::HasSubstr;

TEST(JpegMissingTest, JpegPicturesGiveAnErrorThatNamesThePackage) {
  const auto read = DecodeJpeg({});
  ASSERT_FALSE(read.IsOk());
  EXPECT_THAT(std::string(read.GetError().GetMessage().GetView()), HasSubstr("install the package libjpeg-dev"));
  const auto written = EncodeJpeg(Image::Create(1, 1).GetValue());
  ASSERT_FALSE(written.IsOk());
  EXPECT_THAT(std::string(written.GetError().GetMessage().GetView()), HasSubstr("install the package libjpeg-dev"));
}

TEST(JpegTest, EverythingElse) { GTEST_SKIP() << "libjpeg-dev was not found when this was built"; }

}  // namespace
}  // namespace ostra
