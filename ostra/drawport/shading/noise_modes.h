// How shader text chooses a noise by its mode (ostra/render/noise_table.inl).
#pragma once

#include <string_view>

#include "ostra/core/types.h"

namespace ostra::shading {

// NoiseOfMode(mode, key, depth, x, y, z, w), for modes that are known when a shader runs.
extern const std::string_view kNoiseOfMode;

// The name of the function of a mode that is known before.
std::string_view GetNoiseFunction(Int32 mode);

}  // namespace ostra::shading
