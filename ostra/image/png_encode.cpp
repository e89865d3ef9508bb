#include "ostra/core/format.h"
#include "ostra/image/image.h"
#include "ostra/image/memory_sink.h"
#include "ostra/image/picture_byte.h"
#include "ostra/image/png_session.h"

OSTRA_UNIT("png");

namespace ostra {

namespace {

void WriteToMemory(png_structp png, png_bytep data, std::size_t size) {
  if (!static_cast<MemorySink*>(png_get_io_ptr(png))->Write(data, static_cast<Int>(size)))
    png_error(png, "out of memory");
}

void WritePicture(png_structp png, png_infop info, const ImageView& image, Byte* row, MemorySink& sink) {
  png_set_write_fn(png, &sink, WriteToMemory, nullptr);
  png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  // A low level: pictures of computations are written often and read once.
  png_set_compression_level(png, 3);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height), 8,
               PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  const Int valuesPerRow = 4 * image.width;
  for (Int y = 0; y < image.height; ++y) {
    const Float32* source = image.rgba.GetFirst() + y * valuesPerRow;
    for (Int i = 0; i < valuesPerRow; ++i) row[i] = ToPictureByte(source[i]);
    png_write_row(png, row);
  }
  png_write_end(png, nullptr);
}

}  // namespace

Result<BaseArray<Byte>> EncodePng(const ImageView& image) {
  OSTRA_CHECK_ARGUMENT(image.width > 0 && image.height > 0 && image.rgba.GetCount() == 4 * image.width * image.height);
  BaseArray<Byte> row;
  OSTRA_RETURN_IF_ERROR(row.Resize(4 * image.width));
  MemorySink sink;
  PngSession session(PngSession::Direction::Write);
  const auto write = [&image, first = row.GetFirst(), &sink](png_structp png, png_infop info) {
    WritePicture(png, info, image, first, sink);
  };
  const Bool isWritten = session.Run(write);
  if (sink.IsOutOfMemory()) return OSTRA_OUT_OF_MEMORY();
  if (!isWritten) return session.MakeError("the picture cannot be written as PNG");
  return sink.Take();
}

}  // namespace ostra
