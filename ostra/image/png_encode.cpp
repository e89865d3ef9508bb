#include "ostra/core/format.h"
#include "ostra/image/image.h"
#include "ostra/image/memory_sink.h"
#include "ostra/image/picture_byte.h"
#include "ostra/image/picture_settings.h"
#include "ostra/image/png_session.h"

OSTRA_UNIT("png");

namespace ostra {

namespace {

void WriteToMemory(png_structp png, png_bytep data, std::size_t size) {
  if (!static_cast<MemorySink*>(png_get_io_ptr(png))->Write(data, static_cast<Int>(size)))
    png_error(png, "out of memory");
}

struct Layout {
  Int channels, bits;
};

int GetColorType(Int channels) {
  constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                            PNG_COLOR_TYPE_RGB_ALPHA};
  return kTypes[channels - 1];
}

// A row of the file: of each pixel the channels that are stored.
void PackRow(const Float32* source, Int width, const Layout& layout, Byte* row) {
  for (Int x = 0; x < width; ++x, source += 4)
    for (Int c = 0; c < layout.channels; ++c) {
      const Float32 value = source[layout.channels == 2 && c == 1 ? 3 : c];
      if (layout.bits == 8) {
        *row++ = ToPictureByte(value);
      } else {
        const UInt16 step = ToPictureStep16(value);
        *row++ = static_cast<Byte>(step >> 8);
        *row++ = static_cast<Byte>(step);
      }
    }
}

void WritePicture(png_structp png, png_infop info, const ImageView& image, const Layout& layout, Byte* row,
                  MemorySink& sink) {
  png_set_write_fn(png, &sink, WriteToMemory, nullptr);
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  // A low level: pictures of computations are written often and read once.
  png_set_compression_level(png, 3);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height),
               static_cast<int>(layout.bits), GetColorType(layout.channels), PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (Int y = 0; y < image.height; ++y) {
    PackRow(image.rgba.GetFirst() + y * 4 * image.width, image.width, layout, row);
    png_write_row(png, row);
  }
  png_write_end(png, nullptr);
}

}  // namespace

Result<BaseArray<Byte>> EncodePng(const ImageView& image, const PictureSettings& settings) {
  OSTRA_CHECK_ARGUMENT(image.width > 0 && image.height > 0 && image.rgba.GetCount() == 4 * image.width * image.height);
  OSTRA_RETURN_IF_ERROR(CheckPictureSettings(image, settings, {"PNG", {8, 16}, {1, 2, 3, 4}}));
  const Layout layout{settings.channels == 0 ? 4 : settings.channels, settings.bits == 0 ? 8 : settings.bits};
  BaseArray<Byte> row;
  OSTRA_RETURN_IF_ERROR(row.Resize(image.width * layout.channels * layout.bits / 8));
  MemorySink sink;
  PngSession session(PngSession::Direction::Write);
  const auto write = [&image, layout, first = row.GetFirst(), &sink](png_structp png, png_infop info) {
    WritePicture(png, info, image, layout, first, sink);
  };
  const Bool isWritten = session.Run(write);
  if (sink.IsOutOfMemory()) return OSTRA_OUT_OF_MEMORY();
  if (!isWritten) return session.MakeError("the picture cannot be written as PNG");
  return sink.Take();
}

}  // namespace ostra
