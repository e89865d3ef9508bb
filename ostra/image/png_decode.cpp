#include <bit>

#include "ostra/core/format.h"
#include "ostra/image/image.h"
#include "ostra/image/png_session.h"

OSTRA_UNIT("png");

namespace ostra {

namespace {

constexpr std::string_view kDamaged = "the PNG picture is damaged";

struct Source {
  const Byte* next;
  std::size_t left;
};

// What the file says of its numbers.
PictureDescription Describe(png_const_structp png, png_const_infop info) {
  const Bool isPalette = png_get_color_type(png, info) == PNG_COLOR_TYPE_PALETTE;
  const Bool hasTransparency = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
  PictureDescription description;
  description.channels = (isPalette ? 3 : Int(png_get_channels(png, info))) + (hasTransparency ? 1 : 0);
  description.bits = isPalette ? 8 : png_get_bit_depth(png, info);
  description.isFloat = false;
  png_fixed_point gamma = 0;
  if (png_get_valid(png, info, PNG_INFO_iCCP)) {
    description.colors = PictureColors::Profile;
  } else if (png_get_valid(png, info, PNG_INFO_sRGB)) {
    description.colors = PictureColors::Srgb;
  } else if (png_get_gAMA_fixed(png, info, &gamma)) {
    description.colors = gamma == PNG_FP_1 ? PictureColors::Linear : PictureColors::Gamma;
    if (gamma != PNG_FP_1) description.gamma = static_cast<Float32>(gamma) / PNG_FP_1;
  }
  return description;
}

struct Layout {
  Int width, height;
  Int bitDepth;     // of a channel, as libpng hands it out: 8 or 16
  Int bitsInFile;   // of a pixel
  Int bytesPerRow;  // as libpng hands them out
  int passes;       // more than 1 for interlaced pictures
  PictureDescription description;
};

void ReadFromMemory(png_structp png, png_bytep target, std::size_t size) {
  auto* source = static_cast<Source*>(png_get_io_ptr(png));
  if (size > source->left) png_error(png, "the file ends too early");
  MemCopy(target, source->next, static_cast<Int>(size));
  source->next += size;
  source->left -= size;
}

// Reads everything before the pixels and asks for red, green, blue, alpha of 8 or 16 bits.
void ReadHeader(png_structp png, png_infop info, Source& source, Layout& layout) {
  png_set_read_fn(png, &source, ReadFromMemory);
  png_read_info(png, info);
  layout.width = png_get_image_width(png, info);
  layout.height = png_get_image_height(png, info);
  layout.bitsInFile = Int(png_get_channels(png, info)) * png_get_bit_depth(png, info);
  layout.description = Describe(png, info);
  png_set_expand(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, 0xFFFF, PNG_FILLER_AFTER);
  if constexpr (std::endian::native == std::endian::little) png_set_swap(png);
  layout.passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  layout.bitDepth = png_get_bit_depth(png, info);
  layout.bytesPerRow = static_cast<Int>(png_get_rowbytes(png, info));
}

// Refuses sizes that the file cannot hold, before memory is taken for them.
Result<void> CheckLayout(const Layout& layout, Int fileSize) {
  if (layout.width > kMaxImagePixels / layout.height)
    return OSTRA_ILLEGAL_ARGUMENT("a picture of @ x @ pixels is too large, the limit is @ pixels.", layout.width,
                                  layout.height, kMaxImagePixels);
  constexpr Int kMaxCompression = 1032;  // of the deflate format: 258 bytes for 2 bits
  if (layout.width * layout.height / 8 * layout.bitsInFile > fileSize * kMaxCompression)
    return OSTRA_ILLEGAL_ARGUMENT("@: @ bytes are too few for @ x @ pixels.", kDamaged, fileSize, layout.width,
                                  layout.height);
  if (layout.bytesPerRow != layout.width * 4 * layout.bitDepth / 8)
    return OSTRA_ILLEGAL_ARGUMENT("@: its rows have @ bytes.", kDamaged, layout.bytesPerRow);
  return OK;
}

template <class Value>
void Widen(const Value* source, Float32* target, Int count) {
  constexpr Float32 kMax = static_cast<Float32>(static_cast<Value>(~Value(0)));
  for (Int i = 0; i < count; ++i) target[i] = static_cast<Float32>(source[i]) / kMax;
}

void WidenRow(const Layout& layout, const Byte* row, Float32* target) {
  if (layout.bitDepth == 16)
    Widen(reinterpret_cast<const UInt16*>(row), target, 4 * layout.width);
  else
    Widen(row, target, 4 * layout.width);
}

}  // namespace

Result<Image> DecodePng(Block<const Byte> bytes) {
  Source source{bytes.GetFirst(), static_cast<std::size_t>(bytes.GetCount())};
  Layout layout{};
  PngSession session(PngSession::Direction::Read);
  if (!session.Run([&](png_structp png, png_infop info) { ReadHeader(png, info, source, layout); }))
    return session.MakeError(kDamaged);
  OSTRA_RETURN_IF_ERROR(CheckLayout(layout, bytes.GetCount()));
  OSTRA_ASSIGN_OR_RETURN(Image image, Image::Create(layout.width, layout.height));
  image.description = layout.description;
  // The rows of an interlaced picture are visited once for each pass, so that all of them are kept.
  const Bool isInterlaced = layout.passes > 1;
  BaseArray<Byte> stored;
  OSTRA_RETURN_IF_ERROR(stored.Resize(layout.bytesPerRow * (isInterlaced ? layout.height : 1)));
  const auto readPixels = [stored = stored.GetFirst(), pixels = image.rgba.GetFirst(), layout, isInterlaced](
                              png_structp png, png_infop) {
    for (int pass = 1; pass < layout.passes; ++pass)
      for (Int y = 0; y < layout.height; ++y) png_read_row(png, stored + y * layout.bytesPerRow, nullptr);
    for (Int y = 0; y < layout.height; ++y) {
      Byte* const row = stored + (isInterlaced ? y * layout.bytesPerRow : 0);
      png_read_row(png, row, nullptr);
      WidenRow(layout, row, pixels + y * 4 * layout.width);
    }
    png_read_end(png, nullptr);
  };
  if (!session.Run(readPixels)) return session.MakeError(kDamaged);
  return image;
}

}  // namespace ostra
