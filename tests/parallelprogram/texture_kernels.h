// Kernel classes that take textures.
#pragma once

#include <array>

#include "ostra/io/url.h"
#include "parallelprogram/textures/sampler_types.h"

namespace ostra::test {

// Takes samplers of every kind as "any" and shows the last one in SeenSampler().
inline constexpr const char* kAnySampler = "net.ostra.test.anysampler";
// Takes samplers of every kind as "one", "two" and "three" and shows the last ones in SeenSamplers().
inline constexpr const char* kThreeSamplers = "net.ostra.test.threesamplers";
// Writes the texels of "image" (2D, RGBA, linear) into "result", one row after the other; reads each in two ways.
inline constexpr const char* kCopyTexture = "net.ostra.test.copytexture";

const TextureSamplerDataHelper*& SeenSampler();

using ThreeSamplers = std::array<const TextureSamplerDataHelper*, 3>;
ThreeSamplers& SeenSamplers();

Url GetTextureKernelFile(const char* name);

// Makes the classes known, once per process; after RegisterClasses().
Result<void> RegisterTextureKernels();

}  // namespace ostra::test
