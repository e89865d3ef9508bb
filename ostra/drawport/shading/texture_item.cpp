// Textures and images: their types, coordinates and the conversions of their texels.
#include "ostra/core/format.h"
#include "ostra/drawport/shading/shader_item.h"

OSTRA_UNIT("shader_assembly");

namespace ostra::shading {

namespace {

// How texels reach a shader.
enum class TexelClass { Float, Unorm, Signed, Unsigned };

struct TextureWords {
  TexelClass texelClass;
  std::string_view dimensions;  // "1D"
  std::string_view numbers;     // "float", "int" or "uint": what a texel is read as
  std::string_view format;      // "f32"
};

Result<TextureWords> Describe(const ShaderTexture& texture) {
  if (!texture.format) return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" has no pixel format.", texture.name);
  TextureWords words{TexelClass::Float, "2D", "float", "f32"};
  switch (texture.textureType) {
    case DrawportTextureType::Texture1D:
      words.dimensions = "1D";
      break;
    case DrawportTextureType::Texture2D:
      break;
    case DrawportTextureType::Texture3D:
      words.dimensions = "3D";
      break;
    default:
      return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" has the unknown type @.", texture.name,
                                    static_cast<Int32>(texture.textureType));
  }
  const PixelFormat& format = *texture.format;
  if (format.valueClass == PixelValueClass::FloatingPoint) {
    words.format = format.bitsPerChannel == 16 ? "f16" : "f32";
  } else if (format.valueClass == PixelValueClass::UnsignedInteger && format.bitsPerChannel < 32) {
    words.texelClass = TexelClass::Unorm;
    words.format = format.bitsPerChannel == 8 ? "u8" : "u16";
  } else if (format.bitsPerChannel == 32) {
    const Bool isSigned = format.valueClass == PixelValueClass::SignedInteger;
    words.texelClass = isSigned ? TexelClass::Signed : TexelClass::Unsigned;
    words.numbers = isSigned ? "int" : "uint";
    words.format = isSigned ? "s32" : "u32";
  } else {
    return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" has the pixel format \"@\", which shaders cannot read.",
                                  texture.name, format.id);
  }
  if (texture.hasLayers && (texture.isImage || texture.textureType == DrawportTextureType::Texture3D))
    return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" cannot have layers: only 1D and 2D textures without stores can.",
                                  texture.name);
  if (texture.isMultisampled &&
      (words.texelClass != TexelClass::Float || words.dimensions != "2D" || texture.isImage || texture.hasLayers))
    return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" cannot have several samples per pixel.", texture.name);
  return words;
}

void SelectSections(const ShaderTexture& texture, TexelClass texelClass, ShaderItem& item) {
  // By kind of texture and class of texels.
  constexpr std::string_view kOfTexels[3][3] = {
      {"texture float", "texture unorm", "texture integer"},
      {"layers float", "layers unorm", "layers integer"},
      {"image float", "image unorm", "image integer"},
  };
  constexpr std::string_view kOfKind[3] = {"texture", "texture layers", "image"};
  if (texture.isMultisampled) {
    item.sections[0] = "samples";
    return;
  }
  const int kind = texture.isImage ? 2 : texture.hasLayers ? 1 : 0;
  const int texels = texelClass == TexelClass::Float ? 0 : texelClass == TexelClass::Unorm ? 1 : 2;
  item.sections[0] = kOfKind[kind];
  item.sections[1] = kOfTexels[kind][texels];
}

std::string_view GetTypeOf(const Sections& sections, std::string_view numbers, Int count) {
  constexpr std::string_view kCounts[] = {"1", "2", "3", "4"};
  return sections.GetName(numbers, kCounts[count - 1]);
}

// The types of its sampler and its image.
Result<void> SetTypes(const ShaderTexture& texture, const TextureWords& words, const Sections& sections,
                      ShaderItem& item) {
  const auto getType = [&](std::string_view kind) -> Result<std::string_view> {
    OSTRA_ASSIGN_OR_RETURN(const String part, Format("@.@", words.numbers, words.dimensions));
    return sections.GetName(kind, part);
  };
  OSTRA_ASSIGN_OR_RETURN(const std::string_view sampler, getType(texture.hasLayers ? "layers" : "sampler"));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("sampler", sampler));
  OSTRA_ASSIGN_OR_RETURN(std::string_view image, getType("image"));
  if (words.texelClass == TexelClass::Unorm) {
    OSTRA_ASSIGN_OR_RETURN(const String part, Format("unorm.@", words.dimensions));
    const std::string_view unorm = sections.GetName("image", part);
    if (!unorm.empty()) image = unorm;
  }
  OSTRA_RETURN_IF_ERROR(item.SetStatic("image", image));
  return OK;
}

}  // namespace

std::string_view GetFilling(Int channels, Bool isInteger) {
  constexpr std::string_view kFloats[] = {", 0.0, 0.0, 1.0", ", 0.0, 1.0", ", 1.0", ""};
  constexpr std::string_view kIntegers[] = {", 0, 0, 1", ", 0, 1", ", 1", ""};
  return (isInteger ? kIntegers : kFloats)[channels - 1];
}

Result<void> AddTextureItem(const ShaderTexture& texture, const Sections& sections, BaseArray<ShaderItem>& items) {
  OSTRA_ASSIGN_OR_RETURN(const TextureWords words, Describe(texture));
  const Int channels = texture.format->channels;
  const Bool isInteger = words.texelClass == TexelClass::Signed || words.texelClass == TexelClass::Unsigned;
  ShaderItem item;
  SelectSections(texture, words.texelClass, item);
  item.origin = texture.origin;
  OSTRA_RETURN_IF_ERROR(item.Set("name", texture.name));
  OSTRA_RETURN_IF_ERROR(item.Set("binding", texture.binding));
  OSTRA_RETURN_IF_ERROR(item.Set("count", channels));
  OSTRA_ASSIGN_OR_RETURN(const String wrap, MakeWrapUniformName(texture.name));
  OSTRA_RETURN_IF_ERROR(item.Set("wrap", wrap));
  OSTRA_ASSIGN_OR_RETURN(item.place, Format("place @", words.dimensions));
  OSTRA_ASSIGN_OR_RETURN(item.extent, Format(texture.hasLayers ? "extent layers @" : "extent @", words.dimensions));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("dimensions", words.dimensions));
  for (const std::string_view key : {"coordinates", "layered coordinates", "texel", "layered texel", "unsigned texel",
                                     "loaded texel", "loaded layered texel"})
    OSTRA_RETURN_IF_ERROR(item.SetStatic(key, sections.GetName(key, words.dimensions)));
  OSTRA_RETURN_IF_ERROR(SetTypes(texture, words, sections, item));
  OSTRA_ASSIGN_OR_RETURN(const String format, Format("@.@", words.format, channels));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("format", sections.GetName("format", format)));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("value", GetTypeOf(sections, "float", channels)));
  const std::string_view fetched = words.texelClass == TexelClass::Unorm ? "uint" : words.numbers;
  OSTRA_RETURN_IF_ERROR(item.SetStatic("fetched", GetTypeOf(sections, fetched, channels)));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("four", GetTypeOf(sections, words.numbers, 4)));
  OSTRA_RETURN_IF_ERROR(
      item.SetStatic("channels", std::string_view("xyzw").substr(0, static_cast<std::size_t>(channels))));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("scale", words.format == "u8" ? "255.0" : "65535.0"));
  OSTRA_RETURN_IF_ERROR(item.SetStatic("filling", GetFilling(channels, isInteger)));
  OSTRA_RETURN_IF_ERROR(items.Append(std::move(item)));
  return OK;
}

}  // namespace ostra::shading
