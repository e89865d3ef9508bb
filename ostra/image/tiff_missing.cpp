// In place of tiff_decode.cpp and tiff_encode.cpp where libtiff was not found.
#include "ostra/core/format.h"
#include "ostra/image/tiff.h"

OSTRA_UNIT("tiff");

namespace ostra {

namespace {

Error MakeMissingError() {
  return OSTRA_ILLEGAL_ARGUMENT("TIFF pictures need libtiff: install the package libtiff-dev and build ostra again.");
}

}  // namespace

Result<Image> DecodeTiff(Block<const Byte>, std::string_view) { return MakeMissingError(); }

Result<BaseArray<Byte>> EncodeTiff(const ImageView&, const PictureSettings&) { return MakeMissingError(); }

}  // namespace ostra
