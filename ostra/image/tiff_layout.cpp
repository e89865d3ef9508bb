#include "ostra/image/tiff_layout.h"

#include <algorithm>

#include "ostra/core/format.h"

OSTRA_UNIT("tiff");

namespace ostra {

namespace {

constexpr std::string_view kDamaged = "the TIFF picture is damaged";

// A number that has a default; 0 when it has none and the file does not say it.
template <class Value>
Int GetNumber(TIFF* tiff, uint32_t tag) {
  Value value = 0;
  return TIFFGetFieldDefaulted(tiff, tag, &value) ? static_cast<Int>(value) : 0;
}

Result<void> CheckSamples(Int format, const TiffLayout& layout) {
  constexpr Int kIntegerBits[] = {1, 2, 4, 8, 16, 32}, kFloatBits[] = {16, 32, 64};
  if (format != SAMPLEFORMAT_UINT && format != SAMPLEFORMAT_VOID && format != SAMPLEFORMAT_IEEEFP)
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF picture has signed or complex numbers, which are not supported.");
  const Bool isKnown =
      layout.isFloat
          ? std::find(std::begin(kFloatBits), std::end(kFloatBits), layout.bits) != std::end(kFloatBits)
          : std::find(std::begin(kIntegerBits), std::end(kIntegerBits), layout.bits) != std::end(kIntegerBits);
  if (!isKnown)
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF picture has @ of @ bits, which are not supported.",
                                  layout.isFloat ? "floats" : "integers", layout.bits);
  return OK;
}

// What the samples mean.
Result<void> ReadMeaning(TIFF* tiff, TiffLayout& layout) {
  uint16_t photometric = 0;
  if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric))
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF picture does not say what its channels mean.");
  layout.isInverted = photometric == PHOTOMETRIC_MINISWHITE;
  layout.isGray = photometric == PHOTOMETRIC_MINISBLACK || layout.isInverted;
  const Bool isPalette = photometric == PHOTOMETRIC_PALETTE;
  const Bool isJpeg = GetNumber<uint16_t>(tiff, TIFFTAG_COMPRESSION) == COMPRESSION_JPEG;
  if (photometric == PHOTOMETRIC_YCBCR && isJpeg) {
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
  } else if (!layout.isGray && !isPalette && photometric != PHOTOMETRIC_RGB) {
    return OSTRA_ILLEGAL_ARGUMENT(
        "the TIFF picture has colours of the kind @ (as the format counts them): gray, RGB and palettes are supported.",
        photometric);
  }
  const Int colors = layout.isGray || isPalette ? 1 : 3;
  if (layout.samples < colors || layout.samples > colors + (isPalette ? 0 : 1))
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF picture has @ channels where @@ are supported.", layout.samples, colors,
                                  isPalette       ? ""
                                  : layout.isGray ? " and 2"
                                                  : " and 4");
  layout.hasAlpha = layout.samples > colors;
  if (!isPalette) return OK;
  uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
  if (layout.isFloat || layout.bits > 16 || !TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue))
    return OSTRA_ILLEGAL_ARGUMENT("@: its palette is missing or has too many colours.", kDamaged);
  layout.palette[0] = red;
  layout.palette[1] = green;
  layout.palette[2] = blue;
  return OK;
}

// How many bytes of pixels a byte of the file can give at most.
Int GetMaxCompression(Int compression) {
  switch (compression) {
    case COMPRESSION_NONE:
      return 1;
    case COMPRESSION_PACKBITS:
      return 128;
    case COMPRESSION_LZW:
      return 4096;
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
      return 1032;
    default:
      return Int(1) << 20;
  }
}

Result<void> ReadBlocks(TIFF* tiff, TiffLayout& layout) {
  layout.isTiled = TIFFIsTiled(tiff) != 0;
  layout.planes = GetNumber<uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE ? layout.samples : 1;
  if (layout.isTiled) {
    layout.blockWidth = GetNumber<uint32_t>(tiff, TIFFTAG_TILEWIDTH);
    layout.blockHeight = GetNumber<uint32_t>(tiff, TIFFTAG_TILELENGTH);
    layout.rowBytes = TIFFTileRowSize(tiff);
    layout.blockBytes = TIFFTileSize(tiff);
  } else {
    layout.blockWidth = layout.width;
    layout.blockHeight = std::min(GetNumber<uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), layout.height);
    layout.rowBytes = TIFFScanlineSize(tiff);
    layout.blockBytes = TIFFStripSize(tiff);
  }
  if (layout.blockWidth < 1 || layout.blockHeight < 1 || layout.blockWidth > kMaxImagePixels / layout.blockHeight)
    return OSTRA_ILLEGAL_ARGUMENT("@: its tiles have @ x @ pixels.", kDamaged, layout.blockWidth, layout.blockHeight);
  const Int samples = layout.samples / layout.planes;
  if (layout.rowBytes != (layout.blockWidth * samples * layout.bits + 7) / 8 ||
      layout.blockBytes < layout.rowBytes * layout.blockHeight)
    return OSTRA_ILLEGAL_ARGUMENT("@: its rows have @ bytes.", kDamaged, layout.rowBytes);
  return OK;
}

// Refuses sizes that the file cannot hold, before memory is taken for them.
Result<void> CheckSize(TIFF* tiff, const TiffLayout& layout, Int fileSize) {
  const Int ratio = GetMaxCompression(GetNumber<uint16_t>(tiff, TIFFTAG_COMPRESSION));
  const Int pictureBytes = layout.width * layout.height * layout.samples / 8 * layout.bits;
  // Tiles at the edges are larger than the picture, strips are not.
  const Int largest = std::max(pictureBytes, layout.isTiled ? layout.blockBytes : 0);
  if (largest / ratio > fileSize)
    return OSTRA_ILLEGAL_ARGUMENT("@: @ bytes are too few for @ x @ pixels.", kDamaged, fileSize, layout.width,
                                  layout.height);
  return OK;
}

void Describe(TIFF* tiff, TiffLayout& layout) {
  layout.description.channels = layout.palette[0] ? 3 : layout.samples;
  layout.description.bits = layout.palette[0] ? 16 : layout.bits;
  layout.description.isFloat = layout.isFloat;
  uint32_t size = 0;
  void* profile = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &profile)) layout.description.colors = PictureColors::Profile;
  layout.orientation = GetNumber<uint16_t>(tiff, TIFFTAG_ORIENTATION);
}

}  // namespace

Result<TiffLayout> ReadTiffLayout(TIFF* tiff, Int fileSize) {
  TiffLayout layout;
  layout.width = GetNumber<uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
  layout.height = GetNumber<uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
  if (layout.width < 1 || layout.height < 1)
    return OSTRA_ILLEGAL_ARGUMENT("@: its size is @ x @.", kDamaged, layout.width, layout.height);
  if (layout.width > kMaxImagePixels / layout.height)
    return OSTRA_ILLEGAL_ARGUMENT("a picture of @ x @ pixels is too large, the limit is @ pixels.", layout.width,
                                  layout.height, kMaxImagePixels);
  if (GetNumber<uint32_t>(tiff, TIFFTAG_IMAGEDEPTH) > 1)
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF picture is a volume, which is not supported.");
  layout.samples = GetNumber<uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
  layout.bits = GetNumber<uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
  const Int format = GetNumber<uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
  layout.isFloat = format == SAMPLEFORMAT_IEEEFP;
  OSTRA_RETURN_IF_ERROR(CheckSamples(format, layout));
  OSTRA_RETURN_IF_ERROR(ReadMeaning(tiff, layout));
  OSTRA_RETURN_IF_ERROR(ReadBlocks(tiff, layout));
  OSTRA_RETURN_IF_ERROR(CheckSize(tiff, layout, fileSize));
  Describe(tiff, layout);
  return layout;
}

}  // namespace ostra
