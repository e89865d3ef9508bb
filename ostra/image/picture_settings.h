// What the kinds of files can do of what is asked of them. Only for the files of this folder.
#pragma once

#include <initializer_list>
#include <string_view>

#include "ostra/image/image.h"

namespace ostra {

struct PictureAbilities {
  std::string_view name;            // of the format
  std::initializer_list<Int> bits;  // of a channel
  std::initializer_list<Int> channels;
  Bool hasQuality = false;
};

// Errors, without the name of the file: illegal argument for what is not 0 and not among the abilities, and for 1 or 2
// channels of a picture that is not gray.
OSTRA_HIDDEN Result<void> CheckPictureSettings(const ImageView& image, const PictureSettings& settings,
                                               const PictureAbilities& abilities);

}  // namespace ostra
