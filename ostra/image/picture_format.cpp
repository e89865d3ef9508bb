#include "ostra/image/picture_format.h"

#include <algorithm>

#include "ostra/image/exr_layers.h"
#include "ostra/image/hdr.h"
#include "ostra/image/tiff.h"

namespace ostra {

namespace {

using namespace std::string_view_literals;

// Of what has no layers.
template <Result<Image> (*DECODE)(Block<const Byte>)>
Result<Image> DecodeWhole(Block<const Byte> bytes, std::string_view) {
  return DECODE(bytes);
}

constexpr PictureFormat kFormats[] = {
    {"PNG", {"png"}, {"\x89PNG\r\n\x1A\n"}, false, DecodeWhole<DecodePng>, EncodePng},
    {"OpenEXR", {"exr"}, {"\x76\x2F\x31\x01"}, true, DecodeExrLayer, EncodeExr},
    {"JPEG", {"jpg", "jpeg"}, {"\xFF\xD8\xFF"}, false, DecodeWhole<DecodeJpeg>, EncodeJpeg},
    {"TIFF", {"tif", "tiff"}, {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}, true, DecodeTiff, EncodeTiff},
    {"Radiance HDR", {"hdr"}, {"#?RADIANCE", "#?RGBE"}, false, DecodeWhole<DecodeHdr>, EncodeHdr},
};

Bool IsSameSuffix(std::string_view text, std::string_view suffix) {
  const auto isSame = [](char a, char lower) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == lower; };
  return std::equal(text.begin(), text.end(), suffix.begin(), suffix.end(), isSame);
}

}  // namespace

std::span<const PictureFormat> GetPictureFormats() { return kFormats; }

const PictureFormat* FindPictureFormat(Block<const Byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.GetFirst()),
                              static_cast<std::size_t>(bytes.GetCount()));
  for (const PictureFormat& format : kFormats)
    for (const std::string_view start : format.starts)
      if (!start.empty() && text.starts_with(start)) return &format;
  return nullptr;
}

const PictureFormat* FindPictureFormat(const Url& url) {
  const String text = url.GetSuffix();
  if (text.IsEmpty()) return nullptr;
  for (const PictureFormat& format : kFormats)
    for (const std::string_view suffix : format.suffixes)
      if (!suffix.empty() && IsSameSuffix(text.GetView(), suffix)) return &format;
  return nullptr;
}

PictureSource SplitPictureSource(const Url& url) {
  if (IsPictureFile(url)) return {url, {}};
  const std::string_view text = url.GetView();
  for (std::size_t mark = text.find('#'); mark < text.size() - 1; mark = text.find('#', mark + 1)) {
    const Url file(url.GetText().SubString(0, static_cast<Int>(mark)));
    if (IsPictureFile(file)) return {file, url.GetText().SubString(static_cast<Int>(mark) + 1)};
  }
  return {url, {}};
}

}  // namespace ostra
