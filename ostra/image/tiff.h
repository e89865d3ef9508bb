// TIFF pictures in memory. Files are read and written by ReadImage and WriteImage of ostra/image/image.h.
//
// They need libtiff when this library is built: without it every call gives an error that names the package.
// Thread-safe.
#pragma once

#include <string_view>

#include "ostra/image/image.h"

namespace ostra {

// Gray, colours or a palette, with or without alpha; integers of 1, 2, 4, 8, 16 and 32 bits, floats of 16, 32 and 64;
// in strips or tiles, channel by channel or pixel by pixel, with all compressions that the library has. `page` is the
// number of one of several pages, from 1; pages that are a mask or a smaller copy of another do not count. Errors:
// illegal argument for damaged files, for other kinds of pixels, and for a file of several pages where none is named.
OSTRA_API Result<Image> DecodeTiff(Block<const Byte> bytes, std::string_view page = {});

// By default 32-bit floats, red, green, blue and alpha: reading the result gives the same bits. With 8 or 16 bits
// values are rounded as by EncodePng. Compressed without loss. Errors: illegal argument for settings that TIFF does not
// know, and for 1 or 2 channels of a picture that is not gray; out of memory.
OSTRA_API Result<BaseArray<Byte>> EncodeTiff(const ImageView& image, const PictureSettings& settings = {});

}  // namespace ostra
