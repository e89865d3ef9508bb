// How a texture is read, as the option --texture says it:
//
//   --texture image:wrap=repeat,srgb=true          KEY=VALUE after the name, with commas between
//   --texture volume:size=64x64x64,wrap=border/border/clamp,border=1
//
//   wrap         repeat, clamp or border, for all axes or one after the other: repeat/clamp. Without it: clamp
//   border       the value beyond the edges with wrap=border: R/G/B/A, a number for each channel. Without it: 0
//   coordinates  normalized (0 to 1 over the texture) or texels. Without it: normalized
//   srgb         true: texels are decoded from the sRGB curve. Without it: false
//   size         WIDTHxHEIGHTxDEPTH of the texels in the file, where the file does not say it
//   layers       how many layers the file holds, one after the other. Without it: 1
//   channels     which channels of a picture are taken, such as rgb, a or bgra
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "plans/textures/texture_layout.h"
#include "plans/values/extents.h"

namespace ostra::plans {

struct TextureSettings {
  TextureWrapMode wrapModes[3] = {TextureWrapMode::CLAMP, TextureWrapMode::CLAMP, TextureWrapMode::CLAMP};
  Float32 border[4] = {0, 0, 0, 0};
  Bool isNormalized = true;
  Bool isSrgb = false;
  Extents size;                              // unknown: as the file says
  Int layers = 0;                            // 0: one for each file
  std::string channels;                      // empty: the first ones
  std::set<std::string, std::less<>> given;  // the keys that were set
};

// Adds what "KEY=VALUE,..." says about a texture with the given layout. Errors: usage errors, without the name of the
// texture: unknown keys with the nearest one, keys that are given twice or mean nothing for such a texture, and values
// that are none.
Result<void> AddTextureSettings(std::string_view text, const TextureLayout& layout, TextureSettings& settings);

// What can be said only when everything is known. Error: usage error.
Result<void> CheckTextureSettings(const TextureLayout& layout, const TextureSettings& settings);

}  // namespace ostra::plans
