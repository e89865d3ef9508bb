// Pixel formats: what one pixel of a texture or picture is made of.
//
//   OSTRA_ASSIGN_OR_RETURN(PixelFormatRef format, GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
//   format->channels;         // 4
//   format->bitsPerChannel;   // 32
//
// There is one object per format, so two references are the same format exactly when they are equal. All formats live
// as long as the process. Thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"

namespace ostra {

// How the bits of a channel are read.
enum class PixelValueClass : Int32 { UnsignedInteger, SignedInteger, FloatingPoint };

struct PixelFormat {
  const Id id;
  const Int channels;        // 1 to 4
  const Int bitsPerChannel;  // 8, 16 or 32
  const PixelValueClass valueClass;

  constexpr PixelFormat(Id theId, Int theChannels, Int theBitsPerChannel, PixelValueClass theValueClass)
      : id(std::move(theId)), channels(theChannels), bitsPerChannel(theBitsPerChannel), valueClass(theValueClass) {}
  PixelFormat(const PixelFormat&) = delete;

  Int GetBytesPerPixel() const { return channels * bitsPerChannel / 8; }
};

// Null means no format.
using PixelFormatRef = const PixelFormat*;

inline constexpr Int kPixelFormatCount = 26;

// All formats: by channels, then from small to large values as their IDs are listed.
OSTRA_API Block<const PixelFormat> GetPixelFormats();

// Error: illegal argument when there is no format of this ID.
OSTRA_API Result<PixelFormatRef> GetPixelFormat(const Id& id);

}  // namespace ostra
