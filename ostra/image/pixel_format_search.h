// Pixel formats by what they are made of, for code that knows channels and numbers but no names.
//
//   PixelFormatRef format = FindPixelFormat(4, kFloat32Channel);      // "net.ostra.image.pixelformat.rgba.f32"
#pragma once

#include "ostra/image/pixel_format.h"

namespace ostra {

// The numbers of one channel.
struct PixelChannel {
  PixelValueClass valueClass = PixelValueClass::UnsignedInteger;
  Int bits = 0;

  friend constexpr Bool operator==(const PixelChannel&, const PixelChannel&) = default;
};

inline constexpr PixelChannel kFloat32Channel{PixelValueClass::FloatingPoint, 32};
inline constexpr PixelChannel kFloat16Channel{PixelValueClass::FloatingPoint, 16};
inline constexpr PixelChannel kUInt32Channel{PixelValueClass::UnsignedInteger, 32};
inline constexpr PixelChannel kUInt16Channel{PixelValueClass::UnsignedInteger, 16};
inline constexpr PixelChannel kUInt8Channel{PixelValueClass::UnsignedInteger, 8};
inline constexpr PixelChannel kInt32Channel{PixelValueClass::SignedInteger, 32};
inline constexpr PixelChannel kInt8Channel{PixelValueClass::SignedInteger, 8};

// Null when there is no such format. Thread-safe.
OSTRA_API PixelFormatRef FindPixelFormat(Int channels, const PixelChannel& channel);

}  // namespace ostra
