// Pictures as 32-bit floats, read from and written to files.
//
//   OSTRA_ASSIGN_OR_RETURN(Image picture, ReadImage(Url("cat.png"_s)));
//   picture.rgba[4 * (y * picture.width + x)];              // red of the pixel at (x, y), y counted from the top
//   OSTRA_RETURN_IF_ERROR(WriteImage(Url("copy.exr"_s), picture));
//
// Values are those of the file: nothing is converted by a gamma curve or a colour profile. Stored integers are divided
// by their largest value, so 8-bit 255 is 1. Missing alpha is 1; a picture without colour has equal red, green and
// blue. All functions are thread-safe. None of them lets a damaged file do harm: it gives an error that says what is
// wrong.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/io/url.h"

namespace ostra {

// Larger pictures are refused before memory is asked for: 2 GiB of pixels.
inline constexpr Int kMaxImagePixels = Int(1) << 27;

struct Image {
  Int width = 0;            // in pixels
  Int height = 0;           // in pixels
  BaseArray<Float32> rgba;  // 4 * width * height values, row by row from the top

  // A black, transparent picture. Errors: illegal argument for a side below 1 or too many pixels; out of memory.
  OSTRA_API static Result<Image> Create(Int width, Int height);
};

// The pixels of a picture where they lie. Made from an Image, or from memory of the caller that outlives the view.
struct ImageView {
  ImageView(const Image& image)  // NOLINT(google-explicit-constructor)
      : width(image.width), height(image.height), rgba(image.rgba.GetBlock()) {}
  ImageView(Int width, Int height, Block<const Float32> rgba) : width(width), height(height), rgba(rgba) {}

  Int width, height;
  Block<const Float32> rgba;  // as in Image, without gaps
};

// The picture in a PNG or OpenEXR file; the first bytes tell which. Errors: file errors as ReadFileToMemory gives them;
// illegal argument for damaged and unknown files, with the name of the file; out of memory.
OSTRA_API Result<Image> ReadImage(const Url& url);

// Writes a picture whole or not at all, as the suffix says: "png" or "exr". Errors: file errors as WriteFileAtomically
// gives them; illegal argument for other suffixes; out of memory.
OSTRA_API Result<void> WriteImage(const Url& url, const ImageView& image);

// The same on bytes in memory. PNG of every kind is read: 1 to 16 bits, gray, palette, transparent, interlaced.
OSTRA_API Result<Image> DecodePng(Block<const Byte> bytes);
// 8 bits per channel, red, green, blue, alpha. Values are clamped to 0 ... 1 and rounded to the nearest step; a value
// that is not a number becomes 0.
OSTRA_API Result<BaseArray<Byte>> EncodePng(const ImageView& image);

// OpenEXR with 16- or 32-bit values in the channels R, G, B and A, or Y alone. The picture is the data window.
OSTRA_API Result<Image> DecodeExr(Block<const Byte> bytes);
// 32-bit float channels R, G, B and A: reading the result gives the same bits.
OSTRA_API Result<BaseArray<Byte>> EncodeExr(const ImageView& image);

}  // namespace ostra
