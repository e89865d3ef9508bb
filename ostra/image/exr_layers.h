// Pictures of several layers in OpenEXR files.
#pragma once

#include <string_view>

#include "ostra/image/image.h"

namespace ostra {

// The layer "diffuse" has the channels "diffuse.R", "diffuse.G", "diffuse.B" and perhaps "diffuse.A", or "diffuse.Y". A
// layer of one channel, and a channel that is named itself ("Z", "diffuse.R"), are gray. Without a name as DecodeExr.
// Errors: those of DecodeExr; illegal argument, with the names that there are, for a layer that the file does not have.
// Thread-safe.
OSTRA_API Result<Image> DecodeExrLayer(Block<const Byte> bytes, std::string_view layer);

}  // namespace ostra
