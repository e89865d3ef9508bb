// Texture types of declarations and the pixel formats that they name.
#include <algorithm>
#include <array>

#include "ostra/image/pixel_format_search.h"
#include "parallelprogram/shaderparser/input_declarations.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

struct ComponentName {
  std::string_view name;  // in texture types
  PixelChannel channel;
};

constexpr ComponentName kComponents[] = {{"F32", kFloat32Channel}, {"F16", kFloat16Channel}, {"U8", kUInt8Channel},
                                         {"U16", kUInt16Channel},  {"U32", kUInt32Channel},  {"S32", kInt32Channel}};

Result<PixelFormatRef> FindFormat(std::size_t channels, std::string_view component) {
  for (const ComponentName& known : kComponents) {
    if (known.name != component) continue;
    if (const PixelFormatRef format = FindPixelFormat(static_cast<Int>(channels), known.channel)) return format;
  }
  return OSTRA_ILLEGAL_ARGUMENT("wrong combination of numChannels and format string");
}

// "2D" is read as the number that it is without its second character. 0 for what no texture has.
Result<Int32> FindTextureType(std::string_view dimension) {
  const std::string_view rest = dimension.substr(std::min<std::size_t>(2, dimension.size()));
  OSTRA_ASSIGN_OR_RETURN(const String digits, String::Concatenate(dimension.substr(0, 1), rest));
  const auto number = digits.ToInt();
  if (!number) return 0;
  return *number == 1 ? kShaderTexture1D : *number == 2 ? kShaderTexture2D : *number == 3 ? kShaderTexture3D : 0;
}

}  // namespace

Result<Bool> ReadTextureType(std::string_view type, ShaderTextureEntry& entry) {
  std::array<std::string_view, 5> parts;
  std::size_t count = 0;
  for (std::size_t end = 0; end != std::string_view::npos; ++count) {
    if (count == parts.size()) return false;
    end = type.find('_');
    parts[count] = type.substr(0, end);
    type.remove_prefix(end == std::string_view::npos ? 0 : end + 1);
  }
  if (count != parts.size()) return false;
  OSTRA_ASSIGN_OR_RETURN(entry.textureType, FindTextureType(parts[1]));
  OSTRA_ASSIGN_OR_RETURN(entry.format, FindFormat(parts[2].size(), parts[3]));
  const Bool isPoint = parts[4].find("POINT") != std::string_view::npos;
  entry.linear = !isPoint && parts[4].find("LINEAR") != std::string_view::npos;
  return entry.textureType != 0 && (isPoint || entry.linear);
}

}  // namespace ostra
