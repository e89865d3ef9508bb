#include "apps/ostra/languageserver/file_uri.h"

#include <charconv>

#include "ostra/core/text_characters.h"
#include "ostra/core/types.h"

namespace ostra::tool {

namespace {

constexpr std::string_view kScheme = "file://";

Bool IsPlain(char c) { return IsWordCharacter(c) || std::string_view("-.~/").find(c) != std::string_view::npos; }

}  // namespace

std::string MakePath(std::string_view uri) {
  if (!uri.starts_with(kScheme)) return std::string(uri);
  uri.remove_prefix(kScheme.size());
  uri.remove_prefix(std::min(uri.find('/'), uri.size()));  // the name of a machine
  std::string path;
  for (std::size_t i = 0; i < uri.size(); ++i) {
    unsigned byte = 0;
    const char* const digits = uri.data() + i + 1;
    if (uri[i] == '%' && i + 2 < uri.size() && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      path += static_cast<char>(byte);
      i += 2;
    } else {
      path += uri[i];
    }
  }
  return path;
}

std::string MakeUri(std::string_view path) {
  if (!path.starts_with('/')) return std::string(path);
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string uri(kScheme);
  for (const char c : path) {
    const auto byte = static_cast<UInt8>(c);
    if (IsPlain(c))
      uri += c;
    else
      uri.append({'%', kDigits[byte >> 4], kDigits[byte & 15]});
  }
  return uri;
}

}  // namespace ostra::tool
