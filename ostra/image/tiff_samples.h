// Numbers of TIFF pictures as floats. Only for the files of this folder.
#pragma once

#include "ostra/image/tiff_layout.h"

namespace ostra {

// Samples of a row as floats: integers divided by their largest value, or by 1 for a palette. `row` has
// `count` of them, in the order of bytes of this machine, those of less than 8 bits from the highest bit down.
OSTRA_HIDDEN void WidenTiffSamples(const TiffLayout& layout, const Byte* row, Int count, Float32* target);

}  // namespace ostra
