#include "ostra/core/split_text.h"

namespace ostra {

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

}  // namespace ostra
