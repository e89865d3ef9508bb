#include "parallelprogram/shaderparser/source_lines.h"

#include <algorithm>

namespace ostra {

Result<SourceLines> SplitLines(std::string_view text) {
  SourceLines lines;
  OSTRA_RETURN_IF_ERROR(lines.Reserve(std::count(text.begin(), text.end(), '\n') + 1));
  std::size_t start = 0;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', start)) {
    OSTRA_RETURN_IF_ERROR(lines.Append(text.substr(start, end - start)));
    start = end + 1;
  }
  OSTRA_RETURN_IF_ERROR(lines.Append(text.substr(start)));
  return lines;
}

std::string_view TrimLeft(std::string_view line) {
  constexpr auto isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  std::size_t start = 0;
  while (start < line.size() && isBlank(line[start])) ++start;
  return line.substr(start);
}

SourceWords::SourceWords(std::string_view line) {
  while (true) {
    const std::size_t end = line.find(' ');
    if (_count < kKept) _words[_count] = line.substr(0, end);
    ++_count;
    if (end == std::string_view::npos) return;
    line.remove_prefix(end + 1);
  }
}

}  // namespace ostra
