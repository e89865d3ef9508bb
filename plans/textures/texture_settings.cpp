#include "plans/textures/texture_settings.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "plans/names/nearest_name.h"
#include "plans/usage_error.h"
#include "plans/values/scalar_type.h"
#include "plans/values/text.h"

OSTRA_UNIT("texture_settings");

namespace ostra::plans {

namespace {

template <class T>
Result<T> ParseNumber(std::string_view text) {
  T value{};
  OSTRA_RETURN_IF_ERROR(FindScalarType(GetDataType<T>())->parse(text, &value));
  return value;
}

// The number of the word among `words`.
Result<Int> ParseWord(std::string_view text, const std::vector<std::string>& words) {
  const auto found = std::find(words.begin(), words.end(), text);
  if (found == words.end()) return OSTRA_USAGE_ERROR("\"@\" is not known@", text, SuggestName(text, words));
  return static_cast<Int>(found - words.begin());
}

// The words stand in the order of the modes.
Result<void> ParseWrapModes(std::string_view text, const TextureLayout& layout, TextureSettings& settings) {
  const std::vector<std::string_view> parts = SplitText(text, '/');
  const Int count = static_cast<Int>(parts.size());
  if (count != 1 && count != layout.dimensions)
    return OSTRA_USAGE_ERROR("\"@\" has @ modes, and the texture has @ axes", text, count, layout.dimensions);
  for (Int axis = 0; axis < layout.dimensions; ++axis) {
    const std::string_view part = parts[static_cast<std::size_t>(count == 1 ? 0 : axis)];
    OSTRA_ASSIGN_OR_RETURN(const Int mode, ParseWord(part, {"repeat", "clamp", "border"}));
    settings.wrapModes[axis] = static_cast<TextureWrapMode>(mode);
  }
  return OK;
}

Result<void> ParseBorder(std::string_view text, const TextureLayout& layout, TextureSettings& settings) {
  const std::vector<std::string_view> parts = SplitText(text, '/');
  if (static_cast<Int>(parts.size()) != layout.channels)
    return OSTRA_USAGE_ERROR("\"@\" has @ numbers, and the texture has @ channels", text, parts.size(),
                             layout.channels);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(settings.border[i], ParseNumber<Float32>(parts[i]));
  }
  return OK;
}

Result<void> ParseCoordinates(std::string_view text, const TextureLayout&, TextureSettings& settings) {
  OSTRA_ASSIGN_OR_RETURN(const Int word, ParseWord(text, {"texels", "normalized"}));
  settings.isNormalized = word == 1;
  return OK;
}

Result<void> ParseSrgb(std::string_view text, const TextureLayout&, TextureSettings& settings) {
  OSTRA_ASSIGN_OR_RETURN(settings.isSrgb, ParseNumber<Bool>(text));
  return OK;
}

Result<void> ParseSize(std::string_view text, const TextureLayout& layout, TextureSettings& settings) {
  OSTRA_ASSIGN_OR_RETURN(settings.size, ParseExtents(text));
  const Int sides = static_cast<Int>(SplitText(text, 'x').size());
  if (sides != layout.dimensions)
    return OSTRA_USAGE_ERROR("\"@\" has @ sides, and the texture has @ axes", text, sides, layout.dimensions);
  return OK;
}

Result<void> ParseLayers(std::string_view text, const TextureLayout&, TextureSettings& settings) {
  OSTRA_ASSIGN_OR_RETURN(settings.layers, ParseNumber<Int32>(text));
  if (settings.layers < 1) return OSTRA_USAGE_ERROR("\"@\" is no number of layers: there is at least 1", text);
  return OK;
}

Result<void> ParseChannels(std::string_view text, const TextureLayout& layout, TextureSettings& settings) {
  settings.channels = text;
  const Bool isKnown = text.find_first_not_of("rgba") == std::string_view::npos;
  if (!isKnown || static_cast<Int>(text.size()) != layout.channels)
    return OSTRA_USAGE_ERROR("\"@\" must be @ of the letters r, g, b and a, one for each channel of the texture", text,
                             layout.channels);
  return OK;
}

struct Key {
  const char* name;
  Result<void> (*parse)(std::string_view, const TextureLayout&, TextureSettings&);
};

constexpr Key kKeys[] = {
    {"wrap", ParseWrapModes}, {"border", ParseBorder}, {"coordinates", ParseCoordinates}, {"srgb", ParseSrgb},
    {"size", ParseSize},      {"layers", ParseLayers}, {"channels", ParseChannels},
};

Result<const Key&> FindKey(std::string_view name) {
  std::vector<std::string> names;
  for (const Key& key : kKeys) {
    if (key.name == name) return key;
    names.emplace_back(key.name);
  }
  return OSTRA_USAGE_ERROR("there is no setting \"@\"@", name, SuggestName(name, names));
}

}  // namespace

Result<void> AddTextureSettings(std::string_view text, const TextureLayout& layout, TextureSettings& settings) {
  for (const std::string_view part : SplitText(text, ',')) {
    const std::size_t mark = part.find('=');
    const std::string_view name = TrimText(part.substr(0, mark));
    if (mark == std::string_view::npos || name.empty())
      return OSTRA_USAGE_ERROR("a setting is KEY=VALUE, but got \"@\"", part);
    OSTRA_ASSIGN_OR_RETURN(const Key& key, FindKey(name));
    if (!settings.given.emplace(name).second) return OSTRA_USAGE_ERROR("\"@\" is set twice", name);
    const auto parsed = key.parse(TrimText(part.substr(mark + 1)), layout, settings);
    if (!parsed) return OSTRA_USAGE_ERROR("@: @", name, parsed.GetError());
  }
  return OK;
}

// A setting without a meaning is a mistake that nothing else would show.
Result<void> CheckTextureSettings(const TextureLayout& layout, const TextureSettings& settings) {
  const auto isGiven = [&](std::string_view name) { return settings.given.count(name) > 0; };
  if (layout.filter == TextureFilter::POINT && isGiven("coordinates"))
    return OSTRA_USAGE_ERROR("coordinates: a @ texture is read at the numbers of its texels", layout.name);
  if (layout.format == TextureFormat::U8 && isGiven("srgb"))
    return OSTRA_USAGE_ERROR("srgb: a @ texture gives its bytes as they are", layout.name);
  // A byte keeps the low bits of the whole part.
  if (layout.format == TextureFormat::U8)
    for (Int i = 0; i < layout.channels; ++i)
      if (const Float32 value = settings.border[i]; !(value >= 0 && value <= 255 && value == std::floor(value)))
        return OSTRA_USAGE_ERROR("border: @ is no texel of a @ texture, which are whole numbers from 0 to 255", value,
                                 layout.name);
  const Bool hasBorder =
      std::count(std::begin(settings.wrapModes), std::end(settings.wrapModes), TextureWrapMode::BORDER) > 0;
  if (isGiven("border") && !hasBorder) return OSTRA_USAGE_ERROR("border: only wrap=border shows a border");
  return OK;
}

}  // namespace ostra::plans
