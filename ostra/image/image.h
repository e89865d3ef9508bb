// Pictures as 32-bit floats, read from and written to files.
//
//   OSTRA_ASSIGN_OR_RETURN(Image picture, ReadImage(Url("cat.png"_s)));
//   picture.rgba[4 * (y * picture.width + x)];              // red of the pixel at (x, y), y counted from the top
//   OSTRA_RETURN_IF_ERROR(WriteImage(Url("copy.exr"_s), picture));
//
// Values are those of the file: nothing is converted by a gamma curve or a colour profile; `description` has what the
// file says of its colours. Stored integers are divided by their largest value, so 8-bit 255 is 1. Missing alpha is 1;
// a picture without colour has equal red, green and blue. A picture that a camera has stored turned is turned upright.
// All functions are thread-safe. None of them lets a damaged file do harm: it gives an error that says what is wrong.
//
// JPEG needs libjpeg when this library is built: without it these files give an error that names the package.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/io/url.h"

namespace ostra {

// Larger pictures are refused before memory is asked for: 2 GiB of pixels.
inline constexpr Int kMaxImagePixels = Int(1) << 27;

// What a file says of the meaning of its colours.
enum class PictureColors : Int32 {
  Unsaid,   // nothing; most programs take 8-bit pictures without a word for sRGB
  Linear,   // proportional to light
  Srgb,     // the curve of sRGB
  Gamma,    // a power of light; `gamma` says which
  Profile,  // an ICC profile, which is not looked into
};

// How a picture is stored in its file.
struct PictureDescription {
  const char* format = "";  // such as "PNG"
  Int channels = 4;         // 1: gray, 2: gray and alpha, 3: red, green, blue, 4: with alpha
  Int bits = 32;            // of a channel
  Bool isFloat = true;
  PictureColors colors = PictureColors::Unsaid;
  Float32 gamma = 0;    // of PictureColors::Gamma: what light is raised to, such as 1 / 2.2
  Int orientation = 1;  // as EXIF counts them, 1 to 8, before the picture was turned upright
};

struct Image {
  Int width = 0;            // in pixels
  Int height = 0;           // in pixels
  BaseArray<Float32> rgba;  // 4 * width * height values, row by row from the top
  PictureDescription description = {};

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

// How a picture is written; 0 is the default of the kind of file. What the kind of file cannot do is an error.
struct PictureSettings {
  Int quality = 0;   // of JPEG: 1 (smallest file) to 100 (nearest to the picture); by default kDefaultJpegQuality
  Int bits = 0;      // of a channel: 8 or 16 for PNG, by default 8; 16 or 32 for OpenEXR, by default 32
  Int channels = 0;  // 1: gray, 2: gray and alpha, 3: red, green, blue, 4: with alpha; by default all that there are
};

inline constexpr Int kDefaultJpegQuality = 90;

// The picture in a file; its first bytes tell what it is. Errors: file errors as ReadFileToMemory gives them; illegal
// argument for damaged and unknown files, with the name of the file; out of memory.
OSTRA_API Result<Image> ReadImage(const Url& url);

// Writes a picture whole or not at all, as the suffix says (ostra/image/picture_format.h). Errors: file errors as
// WriteFileAtomically gives them; illegal argument for other suffixes, and for settings that do not suit; out of
// memory.
OSTRA_API Result<void> WriteImage(const Url& url, const ImageView& image, const PictureSettings& settings = {});

// The same on bytes in memory. PNG of every kind is read: 1 to 16 bits, gray, palette, transparent, interlaced.
OSTRA_API Result<Image> DecodePng(Block<const Byte> bytes);
// By default 8 bits per channel, red, green, blue, alpha. Values are clamped to 0 ... 1 and rounded to the nearest
// step; a value that is not a number becomes 0. Errors: illegal argument for settings that PNG does not know, and for 1
// or 2 channels of a picture that is not gray; out of memory.
OSTRA_API Result<BaseArray<Byte>> EncodePng(const ImageView& image, const PictureSettings& settings = {});

// OpenEXR with 16- or 32-bit values in the channels R, G, B and A, or Y alone. The picture is the data window.
OSTRA_API Result<Image> DecodeExr(Block<const Byte> bytes);
// By default 32-bit float channels R, G, B and A: reading the result gives the same bits. With 16 bits halves, rounded
// to the nearest; above 65504 they are infinite. One channel is Y, two are Y and A. Errors: illegal argument for a
// quality, for other settings, and for 1 or 2 channels of a picture that is not gray; out of memory.
OSTRA_API Result<BaseArray<Byte>> EncodeExr(const ImageView& image, const PictureSettings& settings = {});

// JPEG, progressive or not: gray, or colours, which are stored as YCbCr or RGB. CMYK is refused.
OSTRA_API Result<Image> DecodeJpeg(Block<const Byte> bytes);
// Gray where all pixels are, else colours at full resolution; without alpha. Values are rounded as by EncodePng.
// Errors: illegal argument for a quality outside of 1 to 100, for settings that JPEG does not know, and for a side
// above 65500; out of memory.
OSTRA_API Result<BaseArray<Byte>> EncodeJpeg(const ImageView& image, const PictureSettings& settings = {});

}  // namespace ostra
