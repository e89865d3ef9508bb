#include "ostra/image/picture_settings.h"

#include <algorithm>
#include <string>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/image/picture_channels.h"

OSTRA_UNIT("image");

namespace ostra {

namespace {

// "8", "8 and 16", "1, 2 and 4"
std::string List(std::initializer_list<Int> numbers) {
  std::string text;
  for (const Int* number = numbers.begin(); number != numbers.end(); ++number)
    text += (text.empty() ? "" : number + 1 == numbers.end() ? " and " : ", ") + std::to_string(*number);
  return text;
}

Result<void> Check(std::string_view name, std::string_view setting, Int value, std::initializer_list<Int> possible) {
  if (value == 0 || std::find(possible.begin(), possible.end(), value) != possible.end()) return OK;
  if (possible.size() == 0) return OSTRA_ILLEGAL_ARGUMENT("@ pictures have no choice of @.", name, setting);
  return OSTRA_ILLEGAL_ARGUMENT("@ pictures cannot have @ @: possible are @.", name, value, setting, List(possible));
}

}  // namespace

Result<void> CheckPictureSettings(const ImageView& image, const PictureSettings& settings,
                                  const PictureAbilities& abilities) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<void> {
    if (settings.quality != 0 && !abilities.hasQuality)
      return OSTRA_ILLEGAL_ARGUMENT("@ pictures have no quality: it is for JPEG.", abilities.name);
    OSTRA_RETURN_IF_ERROR(Check(abilities.name, "bits", settings.bits, abilities.bits));
    OSTRA_RETURN_IF_ERROR(Check(abilities.name, "channels", settings.channels, abilities.channels));
    if ((settings.channels == 1 || settings.channels == 2) && !IsGray(image))
      return OSTRA_ILLEGAL_ARGUMENT("the picture has colours, which @ channels do not hold.", settings.channels);
    return OK;
  });
}

}  // namespace ostra
