#include "apps/ostra/kernels/module_list.h"

#include <charconv>

#include "apps/ostra/kernels/cache_key.h"
#include "apps/ostra/kernels/dependencies.h"

namespace ostra::tool {

namespace {

// Names this form; another form gets another number.
constexpr std::string_view kFirstLine = "kernel module 2";

}  // namespace

std::string ModuleList::ToText() const {
  std::string text(kFirstLine);
  text += "\n" + module + "\n" + std::to_string(size) + "\n" + checksum + "\n";
  for (const std::string& header : headers) text += header + "\n";
  return text;
}

std::optional<ModuleList> ModuleList::Parse(std::string_view text) {
  std::vector<std::string> lines = SplitLines(text);
  if (lines.size() < 4 || lines[0] != kFirstLine) return std::nullopt;
  Int size = 0;
  const char* end = lines[2].data() + lines[2].size();
  if (const auto read = std::from_chars(lines[2].data(), end, size); read.ec != std::errc() || read.ptr != end)
    return std::nullopt;
  ModuleList list{std::move(lines[1]), size, std::move(lines[3]), {}};
  lines.erase(lines.begin(), lines.begin() + 4);
  list.headers = std::move(lines);
  return list;
}

std::string MakeChecksum(std::string_view bytes) {
  CacheKey key;
  key.Add(bytes);
  return key.ToText();
}

}  // namespace ostra::tool
