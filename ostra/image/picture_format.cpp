#include "ostra/image/picture_format.h"

#include <algorithm>

namespace ostra {

namespace {

constexpr PictureFormat kFormats[] = {
    {"PNG", {"png"}, {"\x89PNG\r\n\x1A\n"}, DecodePng, EncodePng},
    {"OpenEXR", {"exr"}, {"\x76\x2F\x31\x01"}, DecodeExr, EncodeExr},
    {"JPEG", {"jpg", "jpeg"}, {"\xFF\xD8\xFF"}, DecodeJpeg, EncodeJpeg},
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

}  // namespace ostra
