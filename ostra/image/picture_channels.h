// Channels of pictures as texels of textures.
//
//   OSTRA_ASSIGN_OR_RETURN(const Image picture, ReadImage(file));
//   OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> texels, TakeChannels(picture, "rgb", TexelNumber::UInt8));
//
// Thread-safe.
#pragma once

#include <string_view>

#include "ostra/image/image.h"

namespace ostra {

enum class TexelNumber : Int32 { Float32, UInt8 };

// Tightly packed texels, row by row from the top: of each pixel the channels that the letters r, g, b and a name, in
// their order. Bytes are 0 to 255 for 0 to 1: clamped, rounded to the nearest step, 0 for a value that is not a number.
// Errors: illegal argument for other letters, for none and for more than 4; out of memory.
OSTRA_API Result<BaseArray<Byte>> TakeChannels(const ImageView& image, std::string_view channels, TexelNumber number);

// Whether red, green and blue are equal in all pixels.
OSTRA_API Bool IsGray(const ImageView& image);

}  // namespace ostra
