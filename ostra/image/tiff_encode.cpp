#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/image/picture_byte.h"
#include "ostra/image/picture_settings.h"
#include "ostra/image/tiff.h"
#include "ostra/image/tiff_session.h"

OSTRA_UNIT("tiff");

namespace ostra {

namespace {

constexpr std::string_view kFailed = "the picture cannot be written as TIFF";
constexpr Int kStripBytes = Int(1) << 20;  // about: a strip has whole rows

struct Form {
  Int channels, bits, rowBytes, rowsPerStrip;
};

Form MakeForm(const ImageView& image, const PictureSettings& settings) {
  Form form{};
  form.channels = settings.channels == 0 ? 4 : settings.channels;
  form.bits = settings.bits == 0 ? 32 : settings.bits;
  form.rowBytes = image.width * form.channels * form.bits / 8;
  form.rowsPerStrip = std::clamp(kStripBytes / form.rowBytes, Int(1), image.height);
  return form;
}

Bool SetFields(TIFF* tiff, const ImageView& image, const Form& form) {
  const Bool isGray = form.channels < 3;
  const uint16_t alpha[] = {EXTRASAMPLE_UNASSALPHA};
  Bool isSet = TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(image.width)) &&
               TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(image.height)) &&
               TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(form.bits)) &&
               TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(form.channels)) &&
               TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, form.bits == 32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT) &&
               TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, isGray ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB) &&
               TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
               TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(form.rowsPerStrip));
  if (form.channels % 2 == 0) isSet = isSet && TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, alpha);
  if (!isSet || !TIFFIsCODECConfigured(COMPRESSION_ADOBE_DEFLATE)) return isSet;
  // A low level: pictures of computations are written often and read once.
  return TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE) &&
         TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, 3) &&
         TIFFSetField(tiff, TIFFTAG_PREDICTOR, form.bits == 32 ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
}

template <class Value, class Convert>
Byte* Store(const Float32* pixel, Int channels, Byte* target, const Convert& convert) {
  for (Int c = 0; c < channels; ++c, target += sizeof(Value)) {
    const Value value = convert(pixel[channels == 2 && c == 1 ? 3 : c]);
    MemCopy(target, &value, sizeof(Value));
  }
  return target;
}

void PackPixels(const Float32* pixel, Int count, const Form& form, Byte* target) {
  for (Int i = 0; i < count; ++i, pixel += 4)
    target = form.bits == 8    ? Store<Byte>(pixel, form.channels, target, ToPictureByte)
             : form.bits == 16 ? Store<UInt16>(pixel, form.channels, target, ToPictureStep16)
                               : Store<Float32>(pixel, form.channels, target, [](Float32 value) { return value; });
}

Bool WriteStrips(TIFF* tiff, const ImageView& image, const Form& form, Byte* strip) {
  for (Int y = 0; y < image.height; y += form.rowsPerStrip) {
    const Int rows = std::min(form.rowsPerStrip, image.height - y);
    PackPixels(image.rgba.GetFirst() + 4 * y * image.width, rows * image.width, form, strip);
    const auto index = static_cast<uint32_t>(y / form.rowsPerStrip);
    if (TIFFWriteEncodedStrip(tiff, index, strip, rows * form.rowBytes) < 0) return false;
  }
  return TIFFWriteDirectory(tiff) != 0;
}

}  // namespace

Result<BaseArray<Byte>> EncodeTiff(const ImageView& image, const PictureSettings& settings) {
  OSTRA_CHECK_ARGUMENT(image.width > 0 && image.height > 0 && image.rgba.GetCount() == 4 * image.width * image.height);
  OSTRA_RETURN_IF_ERROR(CheckPictureSettings(image, settings, {"TIFF", {8, 16, 32}, {1, 2, 3, 4}}));
  const Form form = MakeForm(image, settings);
  BaseArray<Byte> strip;
  OSTRA_RETURN_IF_ERROR(strip.Resize(form.rowsPerStrip * form.rowBytes));
  MemorySink sink;
  TiffSession session(sink);
  const Bool isWritten = session.Get() && SetFields(session.Get(), image, form) &&
                         WriteStrips(session.Get(), image, form, strip.GetFirst());
  session.Close();
  if (sink.IsOutOfMemory()) return OSTRA_OUT_OF_MEMORY();
  if (!isWritten) return session.MakeError(kFailed);
  return sink.Take();
}

}  // namespace ostra
