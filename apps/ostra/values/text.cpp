#include "apps/ostra/values/text.h"

#include "apps/ostra/tool_error.h"

OSTRA_UNIT("values");

namespace ostra::tool {

std::string_view TrimText(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::vector<std::string_view> SplitText(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  while (true) {
    const std::size_t end = text.find(separator);
    pieces.push_back(TrimText(text.substr(0, end)));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

Result<std::pair<std::string_view, std::string_view>> SplitAssignment(std::string_view option, std::string_view text) {
  const std::size_t mark = text.find('=');
  if (mark == std::string_view::npos || mark == 0)
    return OSTRA_USAGE_ERROR("@ needs name=value, but got \"@\"", option, text);
  return std::pair(TrimText(text.substr(0, mark)), text.substr(mark + 1));
}

}  // namespace ostra::tool
