// Pictures as texels.
#pragma once

#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/image/image.h"
#include "plans/textures/texture_layout.h"

namespace ostra::plans {

// The channels of all pixels that the letters in `channels` name; without letters the first ones. Textures of bytes get
// 0 to 255 for 0 to 1. Errors, without the name of the file: a usage error where it is not clear which channels are
// meant; illegal argument for a picture with colours where one channel is wanted; out of memory.
Result<BaseArray<Byte>> TakeChannels(const Image& image, const TextureLayout& layout, std::string_view channels);

}  // namespace ostra::plans
