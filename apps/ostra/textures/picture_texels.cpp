#include "apps/ostra/textures/picture_texels.h"

#include <algorithm>

#include "apps/ostra/tool_error.h"

OSTRA_UNIT("picture_texels");

namespace ostra::tool {

namespace {

constexpr std::string_view kLetters = "rgba";

Bool IsGray(const Image& image) {
  const Float32* pixel = image.rgba.GetFirst();
  for (Int i = image.width * image.height; i > 0; --i, pixel += 4)
    if (pixel[0] != pixel[1] || pixel[0] != pixel[2]) return false;
  return true;
}

// One channel of a picture without colours is its brightness; two could be any.
Result<std::string_view> ChooseChannels(const Image& image, const TextureLayout& layout) {
  if (layout.channels == 2)
    return OSTRA_USAGE_ERROR(
        "a picture has the channels r, g, b and a, and the texture takes 2: say which, such as "
        "channels=rg");
  if (layout.channels == 1 && !IsGray(image))
    return OSTRA_ILLEGAL_ARGUMENT(
        "a picture with colours has 3 channels, and the texture takes 1: say which, such as "
        "channels=g");
  return kLetters.substr(0, static_cast<std::size_t>(layout.channels));
}

// As pictures are written: the nearest step, and 0 for what is no number.
Byte ToByte(Float32 value) { return static_cast<Byte>(value > 0 ? std::min(value, 1.0f) * 255 + 0.5f : 0); }

}  // namespace

Result<BaseArray<Byte>> TakeChannels(const Image& image, const TextureLayout& layout, std::string_view channels) {
  if (channels.empty()) {
    OSTRA_ASSIGN_OR_RETURN(channels, ChooseChannels(image, layout));
  }
  const Bool isByte = layout.format == TextureFormat::U8;
  const Int pixelCount = image.width * image.height;
  BaseArray<Byte> texels;
  OSTRA_RETURN_IF_ERROR(texels.Resize(pixelCount * layout.GetTexelType().GetSize()));
  Byte* target = texels.GetFirst();
  for (Int i = 0; i < pixelCount; ++i) {
    for (const char letter : channels) {
      const Float32 value = image.rgba[4 * i + static_cast<Int>(kLetters.find(letter))];
      if (isByte) {
        *target++ = ToByte(value);
      } else {
        MemCopy(target, &value, sizeof(value));
        target += sizeof(value);
      }
    }
  }
  return texels;
}

}  // namespace ostra::tool
