// What cameras write beside pictures. Only for the files of this folder.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/export.h"

namespace ostra {

struct ExifNotes {
  Int orientation = 1;  // 1 to 8
  Bool isSrgb = false;
};

// The notes in a block of EXIF, which begins with "II" or "MM". What is missing or damaged is left as it is above.
OSTRA_HIDDEN ExifNotes ReadExif(Block<const Byte> bytes);

}  // namespace ostra
