// How a channel becomes one of 256 or 65536 steps. Only for the files of this folder.
#pragma once

#include "ostra/core/types.h"

namespace ostra {

// 0 to 1 in the nearest of 255 steps; what lies outside becomes the nearest end, and NaN 0.
inline Byte ToPictureByte(Float32 value) {
  if (!(value > 0)) return 0;
  return value >= 1 ? 255 : static_cast<Byte>(value * 255 + 0.5f);
}

// The same in steps of 65535.
inline UInt16 ToPictureStep16(Float32 value) {
  if (!(value > 0)) return 0;
  return value >= 1 ? 65535 : static_cast<UInt16>(value * 65535 + 0.5f);
}

}  // namespace ostra
