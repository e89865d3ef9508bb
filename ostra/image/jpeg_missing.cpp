// In place of jpeg_decode.cpp and jpeg_encode.cpp where libjpeg was not found.
#include "ostra/core/format.h"
#include "ostra/image/image.h"

OSTRA_UNIT("jpeg");

namespace ostra {

namespace {

Error MakeMissingError() {
  return OSTRA_ILLEGAL_ARGUMENT("JPEG pictures need libjpeg: install the package libjpeg-dev and build ostra again.");
}

}  // namespace

Result<Image> DecodeJpeg(Block<const Byte>) { return MakeMissingError(); }

Result<BaseArray<Byte>> EncodeJpeg(const ImageView&, const PictureSettings&) { return MakeMissingError(); }

}  // namespace ostra
