#include "ostra/image/pixel_format.h"

#include <iterator>

#include "ostra/core/format.h"
#include "ostra/image/pixel_format_search.h"

OSTRA_UNIT("pixelformat");

namespace ostra {

namespace {

constexpr PixelValueClass kUnsigned = PixelValueClass::UnsignedInteger;
constexpr PixelValueClass kSigned = PixelValueClass::SignedInteger;
constexpr PixelValueClass kFloat = PixelValueClass::FloatingPoint;

// There is no signed 16-bit format, and no signed 8-bit one with three or four channels: devices lack them.
constinit const PixelFormat kPixelFormats[] = {
    {"net.ostra.image.pixelformat.dynamic.redu8"_id, 1, 8, kUnsigned},
    {"net.ostra.image.pixelformat.dynamic.reds8"_id, 1, 8, kSigned},
    {"net.ostra.image.pixelformat.dynamic.redu16"_id, 1, 16, kUnsigned},
    {"net.ostra.image.pixelformat.dynamic.redu32"_id, 1, 32, kUnsigned},
    {"net.ostra.image.pixelformat.dynamic.reds32"_id, 1, 32, kSigned},
    {"net.ostra.image.pixelformat.dynamic.redf16"_id, 1, 16, kFloat},
    {"net.ostra.image.pixelformat.dynamic.redf32"_id, 1, 32, kFloat},
    {"net.ostra.image.pixelformat.dynamic.redgreenu8"_id, 2, 8, kUnsigned},
    {"net.ostra.image.pixelformat.dynamic.redgreens8"_id, 2, 8, kSigned},
    {"net.ostra.image.pixelformat.dynamic.redgreenu16"_id, 2, 16, kUnsigned},
    {"net.ostra.image.pixelformat.dynamic.redgreenu32"_id, 2, 32, kUnsigned},
    {"net.ostra.image.pixelformat.dynamic.redgreens32"_id, 2, 32, kSigned},
    {"net.ostra.image.pixelformat.dynamic.redgreenf16"_id, 2, 16, kFloat},
    {"net.ostra.image.pixelformat.dynamic.redgreenf32"_id, 2, 32, kFloat},
    {"net.ostra.image.pixelformat.rgb.u8"_id, 3, 8, kUnsigned},
    {"net.ostra.image.pixelformat.rgb.u16"_id, 3, 16, kUnsigned},
    {"net.ostra.image.pixelformat.rgb.u32"_id, 3, 32, kUnsigned},
    {"net.ostra.image.pixelformat.rgb.s32"_id, 3, 32, kSigned},
    {"net.ostra.image.pixelformat.rgb.f16"_id, 3, 16, kFloat},
    {"net.ostra.image.pixelformat.rgb.f32"_id, 3, 32, kFloat},
    {"net.ostra.image.pixelformat.rgba.u8"_id, 4, 8, kUnsigned},
    {"net.ostra.image.pixelformat.rgba.u16"_id, 4, 16, kUnsigned},
    {"net.ostra.image.pixelformat.rgba.u32"_id, 4, 32, kUnsigned},
    {"net.ostra.image.pixelformat.rgba.s32"_id, 4, 32, kSigned},
    {"net.ostra.image.pixelformat.rgba.f16"_id, 4, 16, kFloat},
    {"net.ostra.image.pixelformat.rgba.f32"_id, 4, 32, kFloat},
};
static_assert(std::size(kPixelFormats) == kPixelFormatCount);

}  // namespace

Block<const PixelFormat> GetPixelFormats() { return {kPixelFormats, kPixelFormatCount}; }

Result<PixelFormatRef> GetPixelFormat(const Id& id) {
  for (const PixelFormat& format : kPixelFormats)
    if (format.id == id) return &format;
  return OSTRA_ILLEGAL_ARGUMENT("There is no pixel format @.", id);
}

PixelFormatRef FindPixelFormat(Int channels, const PixelChannel& channel) {
  for (const PixelFormat& format : kPixelFormats)
    if (format.channels == channels && PixelChannel{format.valueClass, format.bitsPerChannel} == channel)
      return &format;
  return nullptr;
}

}  // namespace ostra
