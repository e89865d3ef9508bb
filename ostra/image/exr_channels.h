// Which channels of an OpenEXR file make the picture. Only for the files of this folder.
#pragma once

#include <OpenEXR/ImfForward.h>

#include <string>
#include <string_view>

#include "ostra/image/image.h"

namespace ostra {

struct ExrChannels {
  std::string names[4];  // of red, green, blue and alpha; all but the last are the same when it is gray
  Bool isGray = false;
  Bool hasAlpha = false;
};

// The channels R, G, B and A, or Y and A, of `layer`, or those without a layer when it is empty. A layer of one
// channel, and a channel that is named itself, are gray. Throws std::bad_alloc. Errors: illegal argument, with what
// there is, for channels that are missing or are stored at a lower resolution.
OSTRA_HIDDEN Result<ExrChannels> ChooseExrChannels(const Imf::ChannelList& channels, std::string_view layer);

}  // namespace ostra
