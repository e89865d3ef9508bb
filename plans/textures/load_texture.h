// The texels of a texture from files.
//
//   .png .exr ...        pictures (ostra/image/picture_format.h); several make the layers of a texture, or the slices
//   of a volume .npy                 arrays: axes from the slowest to x, then the channels; the layers stand before all
//   .csv .txt .raw .bin  texels one after the other, with the size that the settings say
//   zeros:SIZE ones:SIZE
#pragma once

#include <string>
#include <vector>

#include "ostra/core/base_array.h"
#include "plans/run/setting_names.h"
#include "plans/textures/texture_settings.h"

namespace ostra::plans {

struct TextureContents {
  BaseArray<Byte> texels;  // of all layers, as the layout says
  Extents size;            // of a layer; every axis of the texture is longer than one texel
  Int layers = 1;
  Extents sourceSize;              // as `size`, before axes were made longer
  std::vector<std::string> notes;  // what the user should know, as sentences
};

// The texels that `sources` name. An axis of one texel would make the texture one of fewer dimensions: its only row (or
// column, or slice) is doubled, and a note says so. Errors name the source and the reason: usage errors for what other
// settings would avoid, others for what is wrong with the files; out of memory.
Result<TextureContents> LoadTexture(std::string_view name, const std::vector<std::string>& sources,
                                    const TextureLayout& layout, const TextureSettings& settings,
                                    const SettingNames& names);

// How programs are told about loaded texels; without their address.
TextureBindData DescribeTexture(const TextureLayout& layout, const TextureSettings& settings,
                                const TextureContents& contents);

}  // namespace ostra::plans
