#include "tests/image/sample_files.h"

#include <png.h>

#include <cstdlib>

namespace ostra {

namespace {

constexpr Int kPaletteAlphaCount = 8;

void SetPalette(png_structp png, png_infop info, Int bits) {
  std::vector<png_color> palette;
  for (Int i = 0; i < (Int(1) << bits); ++i)
    palette.push_back({static_cast<png_byte>(SampleAt(i, 0, 0, 8)), static_cast<png_byte>(SampleAt(i, 0, 1, 8)),
                       static_cast<png_byte>(SampleAt(i, 0, 2, 8))});
  png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
  std::vector<png_byte> alpha;
  for (Int i = 0; i < kPaletteAlphaCount && i < (Int(1) << bits); ++i)
    alpha.push_back(static_cast<png_byte>(SampleAt(i, 1, 0, 8)));
  png_set_tRNS(png, info, alpha.data(), static_cast<int>(alpha.size()), nullptr);
}

// One row as the file stores it: samples packed from the highest bit on, larger ones with the high byte first.
std::vector<png_byte> MakeRow(const PngKind& kind, Int width, Int y) {
  std::vector<png_byte> row(static_cast<std::size_t>((width * kind.channels * kind.bits + 7) / 8));
  Int bit = 0;
  for (Int x = 0; x < width; ++x)
    for (Int channel = 0; channel < kind.channels; ++channel)
      for (Int i = kind.bits - 1; i >= 0; --i, ++bit)
        if ((SampleAt(x, y, channel, kind.bits) >> i) & 1)
          row[static_cast<std::size_t>(bit / 8)] |= static_cast<png_byte>(0x80 >> (bit % 8));
  return row;
}

}  // namespace

std::vector<PngKind> GetPngKinds() {
  std::vector<PngKind> kinds;
  for (const Bool isInterlaced : {false, true}) {
    for (const Int bits : {1, 2, 4, 8, 16}) kinds.push_back({"gray", PNG_COLOR_TYPE_GRAY, 1, bits, isInterlaced});
    for (const Int bits : {1, 2, 4, 8}) kinds.push_back({"palette", PNG_COLOR_TYPE_PALETTE, 1, bits, isInterlaced});
    for (const Int bits : {8, 16}) {
      kinds.push_back({"gray and alpha", PNG_COLOR_TYPE_GRAY_ALPHA, 2, bits, isInterlaced});
      kinds.push_back({"rgb", PNG_COLOR_TYPE_RGB, 3, bits, isInterlaced});
      kinds.push_back({"rgba", PNG_COLOR_TYPE_RGB_ALPHA, 4, bits, isInterlaced});
    }
  }
  return kinds;
}

std::string MakePng(const PngKind& kind, Int width, Int height) {
  std::string bytes;
  png_structp png = png_create_write_struct(
      PNG_LIBPNG_VER_STRING, nullptr, [](png_structp, png_const_charp) { std::abort(); }, nullptr);
  png_infop info = png_create_info_struct(png);
  const auto write = [](png_structp self, png_bytep data, std::size_t size) {
    static_cast<std::string*>(png_get_io_ptr(self))->append(reinterpret_cast<const char*>(data), size);
  };
  png_set_write_fn(png, &bytes, write, nullptr);
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
               static_cast<int>(kind.bits), kind.colorType,
               kind.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  if (kind.colorType == PNG_COLOR_TYPE_PALETTE) SetPalette(png, info, kind.bits);
  png_write_info(png, info);
  const int passes = png_set_interlace_handling(png);
  for (int pass = 0; pass < passes; ++pass)
    for (Int y = 0; y < height; ++y) png_write_row(png, MakeRow(kind, width, y).data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return bytes;
}

std::vector<Float32> ExpectedPngPixel(const PngKind& kind, Int x, Int y) {
  const auto largest = static_cast<Float32>((1u << kind.bits) - 1);
  const auto value = [&](Int channel) { return static_cast<Float32>(SampleAt(x, y, channel, kind.bits)) / largest; };
  if (kind.colorType == PNG_COLOR_TYPE_PALETTE) {
    const Int index = SampleAt(x, y, 0, kind.bits);
    const auto color = [index](Int channel) { return static_cast<Float32>(SampleAt(index, 0, channel, 8)) / 255.0f; };
    const Float32 alpha = index < kPaletteAlphaCount ? static_cast<Float32>(SampleAt(index, 1, 0, 8)) / 255.0f : 1.0f;
    return {color(0), color(1), color(2), alpha};
  }
  switch (kind.channels) {
    case 1:
      return {value(0), value(0), value(0), 1};
    case 2:
      return {value(0), value(0), value(0), value(1)};
    case 3:
      return {value(0), value(1), value(2), 1};
    default:
      return {value(0), value(1), value(2), value(3)};
  }
}

}  // namespace ostra
