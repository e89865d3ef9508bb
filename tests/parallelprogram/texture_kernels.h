// Kernel classes that take textures.
#pragma once

#include "ostra/io/url.h"
#include "parallelprogram/textures/sampler_types.h"

namespace ostra::test {

// Takes samplers of every kind as "any" and shows the last one in SeenSampler().
inline constexpr const char* kAnySampler = "net.ostra.test.anysampler";
// Writes the texels of "image" (2D, RGBA, linear) into "result", one row after the other; reads each in two ways.
inline constexpr const char* kCopyTexture = "net.ostra.test.copytexture";

const TextureSamplerDataHelper*& SeenSampler();

Url GetTextureKernelFile(const char* name);

// Makes the classes known, once per process; after RegisterClasses().
Result<void> RegisterTextureKernels();

}  // namespace ostra::test
