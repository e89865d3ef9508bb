// The support code of the shading languages: data files of this folder and the noises, put into the library when it is
// built. See README.md for their form.
#pragma once

#include <string_view>

namespace ostra::shading {

extern const std::string_view kCommon;
extern const std::string_view kGlsl;
extern const std::string_view kHlsl;
extern const std::string_view kMetal;
// All files of ostra/render/noise, in the order of their use. noise_modes.h has the function that chooses one.
extern const std::string_view kNoise;

}  // namespace ostra::shading
