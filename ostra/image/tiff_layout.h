// How the pixels of a TIFF picture lie in its file. Only for the files of this folder.
#pragma once

#include <tiffio.h>

#include "ostra/image/image.h"

namespace ostra {

struct TiffLayout {
  Int width = 0, height = 0;
  Int samples = 0;  // of a pixel
  Int bits = 0;     // of a sample
  Bool isFloat = false;
  Bool isGray = false;
  Bool isInverted = false;  // 0 is white
  Bool hasAlpha = false;
  Bool isTiled = false;
  Int planes = 1;                       // 1: the samples of a pixel lie together
  Int blockWidth = 0, blockHeight = 0;  // of a strip or tile, in pixels
  Int rowBytes = 0, blockBytes = 0;     // of a strip or tile
  const UInt16* palette[3] = {};        // of the library, for red, green and blue; null for none
  PictureDescription description = {};
  Int orientation = 1;  // as EXIF counts them
};

// The layout of the current page. Errors: illegal argument for what is not supported, too large or damaged, and for
// sizes that `fileSize` bytes cannot hold.
OSTRA_HIDDEN Result<TiffLayout> ReadTiffLayout(TIFF* tiff, Int fileSize);

}  // namespace ostra
