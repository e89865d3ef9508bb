// Radiance HDR pictures in memory: red, green and blue with 8 bits each and an exponent of 8 bits that they share.
// Files are read and written by ReadImage and WriteImage of ostra/image/image.h.
//
// A byte b with the exponent e is b * 2^(e - 136): 1 is stored as 1. Thread-safe.
#pragma once

#include "ostra/image/image.h"

namespace ostra {

// Flat, with runs of pixels, or with runs of each channel, and rows and columns in any of the eight orders, which are
// turned upright. Values are those of the file: its EXPOSURE is not divided out. Errors: illegal argument for damaged
// files and for colours of another kind (XYZ); out of memory.
OSTRA_API Result<Image> DecodeHdr(Block<const Byte> bytes);

// Without alpha. Each channel is off by at most 1/256 of the largest one of its pixel; negative values and NaN become
// 0, what is above 1.69e38 that number. Runs of each channel are packed. Errors: illegal argument for settings that are
// not 0; out of memory.
OSTRA_API Result<BaseArray<Byte>> EncodeHdr(const ImageView& image, const PictureSettings& settings = {});

}  // namespace ostra
