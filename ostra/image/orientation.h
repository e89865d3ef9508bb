// Pictures that a camera has stored turned. Only for the files of this folder.
#pragma once

#include "ostra/image/image.h"

namespace ostra {

// The picture upright; its description has the orientation that it had. `orientation` is EXIF's: 1 (upright) to 8.
// Error: out of memory.
OSTRA_HIDDEN Result<Image> TurnUpright(Image image, Int orientation);

}  // namespace ostra
