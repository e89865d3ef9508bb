// Built where libjpeg was not found, in place of the tests of JPEG pictures.
#include "ostra/image/image.h"
#include "tests/image/missing_library.h"

namespace ostra {
namespace {

TEST(JpegMissingTest, JpegPicturesGiveAnErrorThatNamesThePackage) {
  ExpectMissing("libjpeg-dev", DecodeJpeg({}), EncodeJpeg(Image::Create(1, 1).GetValue()));
}

TEST(JpegTest, EverythingElse) { GTEST_SKIP() << "libjpeg-dev was not found when this was built"; }

}  // namespace
}  // namespace ostra
