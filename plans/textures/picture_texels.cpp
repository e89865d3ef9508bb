#include "plans/textures/picture_texels.h"

#include "ostra/image/picture_channels.h"
#include "plans/usage_error.h"

OSTRA_UNIT("picture_texels");

namespace ostra::plans {

namespace {

constexpr std::string_view kLetters = "rgba";

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

}  // namespace

Result<BaseArray<Byte>> TakeChannels(const Image& image, const TextureLayout& layout, std::string_view channels) {
  if (channels.empty()) {
    OSTRA_ASSIGN_OR_RETURN(channels, ChooseChannels(image, layout));
  }
  return TakeChannels(image, channels, layout.format == TextureFormat::U8 ? TexelNumber::UInt8 : TexelNumber::Float32);
}

}  // namespace ostra::plans
