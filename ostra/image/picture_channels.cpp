#include "ostra/image/picture_channels.h"

#include "ostra/core/format.h"
#include "ostra/image/picture_byte.h"

OSTRA_UNIT("picture_channels");

namespace ostra {
namespace {

constexpr std::string_view kLetters = "rgba";

}  // namespace

Result<BaseArray<Byte>> TakeChannels(const ImageView& image, std::string_view channels, TexelNumber number) {
  const Int channelCount = static_cast<Int>(channels.size());
  if (channelCount < 1 || channelCount > 4 || channels.find_first_not_of(kLetters) != std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("\"@\" does not name channels of a picture: one to four of r, g, b and a do.",
                                  channels);
  const Bool isByte = number == TexelNumber::UInt8;
  const Int pixelCount = image.width * image.height;
  BaseArray<Byte> texels;
  OSTRA_RETURN_IF_ERROR(texels.Resize(pixelCount * channelCount * (isByte ? 1 : Int(sizeof(Float32)))));
  Byte* target = texels.GetFirst();
  for (Int i = 0; i < pixelCount; ++i) {
    for (const char letter : channels) {
      const Float32 value = image.rgba[4 * i + static_cast<Int>(kLetters.find(letter))];
      if (isByte) {
        *target++ = ToPictureByte(value);
      } else {
        MemCopy(target, &value, sizeof(value));
        target += sizeof(value);
      }
    }
  }
  return texels;
}

Bool IsGray(const ImageView& image) {
  const Float32* pixel = image.rgba.GetFirst();
  for (Int i = image.width * image.height; i > 0; --i, pixel += 4)
    if (pixel[0] != pixel[1] || pixel[0] != pixel[2]) return false;
  return true;
}

}  // namespace ostra
