// Built where libtiff was not found, in place of the tests of TIFF pictures.
#include "ostra/image/tiff.h"
#include "tests/image/missing_library.h"

namespace ostra {
namespace {

TEST(TiffMissingTest, TiffPicturesGiveAnErrorThatNamesThePackage) {
  ExpectMissing("libtiff-dev", DecodeTiff({}), EncodeTiff(Image::Create(1, 1).GetValue()));
}

TEST(TiffTest, EverythingElse) { GTEST_SKIP() << "libtiff-dev was not found when this was built"; }

}  // namespace
}  // namespace ostra
