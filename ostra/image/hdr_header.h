// The text at the begin of Radiance HDR files. Only for the files of this folder.
#pragma once

#include "ostra/image/image.h"

namespace ostra {

// Scan lines of equal length, one after the other.
struct HdrLayout {
  Int lineCount = 0;
  Int lineLength = 0;   // in pixels
  Int orientation = 1;  // as EXIF counts them: where lines and pixels begin
  Int pixelStart = 0;   // in bytes from the begin of the file
};

// Errors: illegal argument for what is no header, for other pixels than RGBE and for sizes that the rest of the file
// cannot hold.
OSTRA_HIDDEN Result<HdrLayout> ReadHdrHeader(Block<const Byte> bytes);

}  // namespace ostra
