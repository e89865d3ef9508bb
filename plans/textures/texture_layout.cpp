#include "plans/textures/texture_layout.h"

#include "ostra/math/data_types.h"
#include "parallelprogram/textures/sampler_types.h"

namespace ostra::plans {

namespace {

#define OSTRA_DESCRIBE_LAYOUT(dimensions, channels, element, filter, Element, count, lowerFilter)   \
  TextureLayout{GetDataType<TextureSamplerObj_##dimensions##D_##channels##_##element##_##filter>(), \
                #dimensions "D " #channels " " #element " " #filter,                                \
                dimensions,                                                                         \
                count,                                                                              \
                TextureFormat::element,                                                             \
                TextureFilter::filter},

const auto& GetLayouts() {
  static const TextureLayout layouts[] = {OSTRA_FOR_EACH_SAMPLER_TYPE(OSTRA_DESCRIBE_LAYOUT)};
  return layouts;
}

}  // namespace

DataType TextureLayout::GetTexelType() const {
  if (format == TextureFormat::U8) return GetDataType<UInt8>();
  switch (channels) {
    case 1:
      return GetDataType<Float32>();
    case 2:
      return GetDataType<Vector2d32>();
    case 3:
      return GetDataType<Vector32>();
    default:
      return GetDataType<Vector4d32>();
  }
}

static Bool CanBeMade(TextureFormat format) { return format == TextureFormat::F32 || format == TextureFormat::U8; }

const TextureLayout* FindTextureLayout(DataType type) {
  for (const TextureLayout& layout : GetLayouts())
    if (layout.sampler == type) return CanBeMade(layout.format) ? &layout : nullptr;
  return nullptr;
}

const TextureLayout* FindTextureLayout(Int dimensions, Int channels, TextureFormat format, TextureFilter filter) {
  if (format == TextureFormat::F16) format = TextureFormat::F32;
  for (const TextureLayout& layout : GetLayouts())
    if (layout.dimensions == dimensions && layout.channels == channels && layout.format == format &&
        layout.filter == filter)
      return CanBeMade(format) ? &layout : nullptr;
  return nullptr;
}

const TextureLayout* FindTextureLayout(const ShaderTextureEntry& entry) {
  const Int dimensions = entry.textureType == kShaderTexture1D ? 1 : entry.textureType == kShaderTexture2D ? 2 : 3;
  const PixelFormat& format = *entry.format;
  const TextureFilter filter = entry.linear ? TextureFilter::LINEAR : TextureFilter::POINT;
  if (format.valueClass == PixelValueClass::FloatingPoint)
    return FindTextureLayout(dimensions, format.channels, TextureFormat::F32, filter);
  const Bool isByte = format.valueClass == PixelValueClass::UnsignedInteger && format.bitsPerChannel == 8;
  return isByte ? FindTextureLayout(dimensions, format.channels, TextureFormat::U8, filter) : nullptr;
}

}  // namespace ostra::plans
